// Directories, files and environment variables.
#pragma once

#include <cstdio>
#include <optional>
#include <string>

namespace platform {

/// "\\" on Windows, "/" elsewhere.
const char* pathSeparator();

/// True for every character that separates the parts of a path here.
bool isPathSeparator(char character);

/// Where logs go unless the environment says otherwise, with its final separator.
const char* defaultLogDirectory();

/// The directory of machine-wide settings, without a final separator: the Windows directory, "/etc".
std::string windowsDirectory();

/// Empty if the variable does not exist; an empty text if it exists and is empty.
std::optional<std::string> environmentVariable(const char* name);

/// Makes one level. True if the directory was made or something of that name stood there already.
bool makeDirectory(const std::string& path);

/// Makes a file writable for its owner; failure is nobody's concern.
void clearReadOnly(const std::string& path);

enum class LogOpening { Append, Empty };

/// Opens a log file for reading and appending ("a+"), or emptied for writing ("w"), shared with other
/// processes that read and write it. POSIX: created for the user alone, closed in child processes,
/// and only a regular file is taken, never a symbolic link. Null if it can't be opened.
std::FILE* openLogFile(const std::string& path, LogOpening opening);

} // namespace platform
