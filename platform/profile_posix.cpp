#include "platform/profile.h"

#include "platform/file_reading.h"
#include "text/ascii.h"
#include "text/numbers.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace platform {

namespace {

constexpr std::size_t LONGEST_TEXT = 127;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
// The end-of-file character of old editors counts as a blank too.
constexpr std::string_view BLANKS = " \t\v\f\x1A";

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
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
            inSection = sameWord(trimmed(line.substr(1, sectionEnd - 1)), section);
            continue;
        }
        const std::size_t equals = line.find('=');
        if (inSection && equals != std::string_view::npos && sameWord(trimmed(line.substr(0, equals)), key))
            return unquoted(trimmed(line.substr(equals + 1)));
    }
    return std::nullopt;
}

} // namespace

Profile::Profile(const std::string& path) : m_source(readFile(path).value_or("")) {}

std::int32_t Profile::number(const char* section, const char* key) const
{
    const std::optional<std::string_view> value = findValue(m_source, section, key);
    return value ? leadingNumber(*value) : -1;
}

std::string Profile::text(const char* section, const char* key) const
{
    return std::string(findValue(m_source, section, key).value_or("").substr(0, LONGEST_TEXT));
}

} // namespace platform
