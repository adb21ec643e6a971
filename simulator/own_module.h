// What the link must know of the process that it lives in.
#pragma once

namespace simulator {

/// Keeps this module in memory to the end of the process: the link's thread runs in it.
void keepOwnModuleLoaded();

/// True once the process is ending and its other threads are gone without having left a word.
bool otherThreadsAreGone();

} // namespace simulator
