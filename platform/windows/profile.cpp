#include "platform/profile.h"

#include <windows.h>

namespace platform {

// Beyond plain decimal numbers it's Windows that decides: a number out of range wraps round, "0x1F"
// may count as 31, and an empty value as absent.
std::int32_t profileInt(const char* section, const char* key, const std::string& path)
{
    return static_cast<std::int32_t>(GetPrivateProfileIntA(section, key, -1, path.c_str()));
}

std::string profileString(const char* section, const char* key, const std::string& path)
{
    char value[128] = "";
    GetPrivateProfileStringA(section, key, nullptr, value, sizeof value, path.c_str());
    return value;
}

} // namespace platform
