#include "platform/files.h"

#include <windows.h>

#include <share.h>

#include <vector>

namespace platform {

const char* pathSeparator()
{
    return "\\";
}

bool isPathSeparator(char character)
{
    return character == '\\' || character == '/';
}

const char* defaultLogDirectory()
{
    return "c:\\temp\\";
}

std::string windowsDirectory()
{
    std::vector<char> buffer(32767);
    const UINT length = GetWindowsDirectoryA(buffer.data(), static_cast<UINT>(buffer.size()));
    return length < buffer.size() ? std::string(buffer.data(), length) : std::string();
}

std::optional<std::string> environmentVariable(const char* name)
{
    std::string value(MAX_PATH, '\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
        if (length == 0 && GetLastError() != ERROR_SUCCESS)
            return std::nullopt;
        if (length < value.size()) {
            value.resize(length);
            return value;
        }
        // Too short: "length" is the size needed, until another thread sets a longer value.
        value.resize(length);
    }
}

bool makeDirectory(const std::string& path)
{
    return CreateDirectoryA(path.c_str(), nullptr) != 0 || GetLastError() == ERROR_ALREADY_EXISTS;
}

void clearReadOnly(const std::string& path)
{
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesA(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
}

std::FILE* openLogFile(const std::string& path, LogOpening opening)
{
    // "N": a child process that inherited the file would keep it in use.
    return _fsopen(path.c_str(), opening == LogOpening::Append ? "a+N" : "wN", _SH_DENYNO);
}

} // namespace platform
