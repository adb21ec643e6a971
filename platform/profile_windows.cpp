#include "platform/profile.h"

#include "platform/file_reading.h"
#include "text/numbers.h"

#include <windows.h>

#include <limits>

namespace platform {

namespace {

bool isTooBig(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA file;
    return GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &file) &&
           (file.nFileSizeHigh > 0 || file.nFileSizeLow > LARGEST_FILE);
}

} // namespace

Profile::Profile(const std::string& path) : m_source(isTooBig(path) ? "" : path) {}

std::int32_t Profile::number(const char* section, const char* key) const
{
    if (m_source.empty())
        return -1;
    // Windows wraps numbers around that don't fit, where every other number of ours stops at the limit.
    const std::int32_t number = leadingNumber(text(section, key));
    using Limits = std::numeric_limits<std::int32_t>;
    if (number == Limits::max() || number == Limits::min())
        return number;
    return static_cast<std::int32_t>(GetPrivateProfileIntA(section, key, -1, m_source.c_str()));
}

std::string Profile::text(const char* section, const char* key) const
{
    if (m_source.empty()) // Windows would read its own settings
        return {};
    char value[128] = "";
    GetPrivateProfileStringA(section, key, nullptr, value, sizeof value, m_source.c_str());
    return value;
}

} // namespace platform
