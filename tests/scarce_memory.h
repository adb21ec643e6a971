// Memory that runs out, for the thread that says so.
#pragma once

/// How many allocations the thread has left; negative: no end.
extern thread_local int allocationsLeft;
