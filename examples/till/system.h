// What the till asks of the system.
#pragma once

/// True if standard output is a terminal that understands colour sequences, which it is made to do.
bool standardOutputShowsColour();

/// Where the library's logs go unless the environment says otherwise.
const char* defaultLogDirectory();
