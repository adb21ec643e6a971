#include "platform/files.h"

#include <windows.h>

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

const char* lineEnd()
{
    return "\r\n";
}

AppendFile AppendFile::open(const std::string& path)
{
    // With the right to append and not the right to write, every write goes to the end of the file in one
    // piece. Handles are not inherited: a child process would keep the file in use.
    AppendFile file;
    const HANDLE handle =
        CreateFileA(path.c_str(), GENERIC_READ | FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE && GetFileType(handle) == FILE_TYPE_DISK)
        file.m_handle = reinterpret_cast<std::intptr_t>(handle);
    else if (handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
    return file;
}

void AppendFile::empty(const std::string& path)
{
    const HANDLE handle = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      nullptr, TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
}

std::string AppendFile::beginning(std::size_t most) const
{
    std::string text(most, '\0');
    OVERLAPPED start{};
    DWORD got = 0;
    if (ReadFile(reinterpret_cast<HANDLE>(m_handle), text.data(), static_cast<DWORD>(text.size()), &got,
                 &start) == 0)
        got = 0;
    text.resize(got);
    return text;
}

void AppendFile::append(std::string_view text) const
{
    DWORD written = 0;
    WriteFile(reinterpret_cast<HANDLE>(m_handle), text.data(), static_cast<DWORD>(text.size()), &written,
              nullptr);
}

void AppendFile::close()
{
    if (isOpen())
        CloseHandle(reinterpret_cast<HANDLE>(release()));
}

} // namespace platform
