// Reading of INI files as the Windows profile functions read them: sections and keys without regard
// to case, blanks round names and values trimmed, a quoted value unquoted, ";" lines skipped, the
// first of two equal keys wins.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// The number at the start of the key's value, 0 if there is none, and -1 for a key that is absent.
std::int32_t profileInt(const char* section, const char* key, const std::string& path);

/// The key's value, at most 127 characters of it; empty for a key that is absent.
std::string profileString(const char* section, const char* key, const std::string& path);

} // namespace platform
