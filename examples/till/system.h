// What the till asks of the system.
#pragma once

#include <string>

/// True if standard output is a terminal that understands colour sequences, which it is made to do.
bool standardOutputShowsColour();

/// Where the library's logs go unless the environment says otherwise.
const char* defaultLogDirectory();

/// For this process, the libraries in it included.
void setEnvironment(const char* name, const std::string& value);
