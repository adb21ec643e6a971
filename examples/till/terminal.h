// What the till asks of the terminal.
#pragma once

/// True if standard output is a terminal that understands colour sequences, which it is made to do.
bool standardOutputShowsColour();
