// The directory of a test's process, made before the library's objects are built, since their first line
// opens the log. The log goes to "logs" in it; it is the current directory, and no settings are found there.
#pragma once

#include <string>

namespace scratch {

/// "name" in the directory.
std::string path(const std::string& name);

/// Writes a file, replacing what it holds. The path.
std::string write(const std::string& name, const std::string& content);

/// All of a file; empty if there is none.
std::string read(const std::string& name);

/// All of a file of the project's sources, with plain line ends.
std::string source(const std::string& name);

} // namespace scratch
