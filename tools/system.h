// What the tool needs of the operating system.
#pragma once

#include "tools/calendar.h"

#include <cstddef>
#include <string>

namespace tllog {

/// Where the library writes its logs unless told otherwise.
std::string defaultLogDirectory();

/// Columns of the terminal behind standard output; 0 if it is none.
std::size_t terminalWidth();

/// True if standard error is a terminal.
bool errorsGoToTerminal();

/// Has the terminal take colours; false if it can't.
bool enableColours();

/// Keeps the output's line ends as they are written.
void plainLineEnds();

Time localNow();

/// "Linux" or "Windows"
const char* systemName();

} // namespace tllog
