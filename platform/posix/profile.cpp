#include "platform/profile.h"

#include "platform/decimal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace platform {

namespace {

// No settings file is that big: whatever is there instead isn't worth the memory.
constexpr off_t LARGEST_FILE = 4 * 1024 * 1024;
constexpr std::size_t LONGEST_TEXT = 127;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
// The end-of-file character of old editors counts as a blank too.
constexpr std::string_view BLANKS = " \t\v\f\x1A";

std::string readFile(const std::string& path)
{
    std::string text;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0)
        return text;
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= LARGEST_FILE) {
        text.resize(static_cast<std::size_t>(status.st_size));
        std::size_t filled = 0;
        ssize_t got = 1;
        while (filled < text.size() && got > 0) {
            got = read(descriptor, text.data() + filled, text.size() - filled);
            filled += got > 0 ? static_cast<std::size_t>(got) : 0;
        }
        text.resize(filled);
    }
    close(descriptor);
    return text;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

// Not tolower: the application may have set a locale with other ideas.
char folded(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool sameName(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return folded(a) == folded(b); });
}

std::string_view unquoted(std::string_view value)
{
    const bool quoted =
        value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::optional<std::string_view> findValue(std::string_view text, std::string_view section,
                                          std::string_view key)
{
    if (text.starts_with(BYTE_ORDER_MARK))
        text.remove_prefix(BYTE_ORDER_MARK.size());
    bool inSection = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line = trimmed(line.substr(0, line.find('\0')));
        if (line.empty() || line.front() == ';')
            continue;
        const std::size_t sectionEnd = line.front() == '[' ? line.rfind(']') : std::string_view::npos;
        if (sectionEnd != std::string_view::npos) {
            if (inSection) {
                // A second section of the same name doesn't count.
                return std::nullopt;
            }
            inSection = sameName(trimmed(line.substr(1, sectionEnd - 1)), section);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (inSection && equals != std::string_view::npos && sameName(trimmed(line.substr(0, equals)), key))
            return unquoted(trimmed(line.substr(equals + 1)));
    }
    return std::nullopt;
}

} // namespace

std::int32_t profileInt(const char* section, const char* key, const std::string& path)
{
    const std::string text = readFile(path);
    const std::optional<std::string_view> value = findValue(text, section, key);
    return value ? leadingDecimal(*value) : -1;
}

std::string profileString(const char* section, const char* key, const std::string& path)
{
    const std::string text = readFile(path);
    return std::string(findValue(text, section, key).value_or("").substr(0, LONGEST_TEXT));
}

} // namespace platform
