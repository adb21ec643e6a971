// Reading of the files that people write for the library: settings and language.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// Whatever is larger is none of these files, and not worth the time and the memory.
constexpr std::int64_t LARGEST_FILE = 4 * 1024 * 1024;

/// True if "path" is a file that can be opened for reading. Directories and pipes are not.
bool canRead(const std::string& path);

/// All of a file that can be read and isn't larger than LARGEST_FILE.
std::optional<std::string> readFile(const std::string& path);

} // namespace platform
