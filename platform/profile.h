// Reading of INI files as the Windows profile functions read them: sections and keys without regard
// to case, blanks round names and values trimmed, a quoted value unquoted, ";" lines skipped, the
// first of two equal keys wins.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// One file. What isn't there, isn't a file or is larger than any settings file reads as one without keys.
class Profile {
public:
    explicit Profile(const std::string& path);

    /// The number at the start of the key's value, 0 if there is none, and -1 for a key that is absent.
    std::int32_t number(const char* section, const char* key) const;

    /// The key's value, at most 127 characters of it; empty for a key that is absent.
    std::string text(const char* section, const char* key) const;

private:
    std::string m_source; // POSIX: the file's content. Windows, which reads by itself: its path.
};

} // namespace platform
