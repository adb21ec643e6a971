#include "platform/file_reading.h"

#include <windows.h>

namespace platform {

namespace {

/// A file on a disk, open for reading.
class OpenFile {
public:
    explicit OpenFile(const std::string& path)
        : m_handle(CreateFileA(path.c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile()
    {
        if (m_handle != INVALID_HANDLE_VALUE)
            CloseHandle(m_handle);
    }

    explicit operator bool() const
    {
        return m_handle != INVALID_HANDLE_VALUE && GetFileType(m_handle) == FILE_TYPE_DISK;
    }

    /// -1 if it can't be told.
    std::int64_t size() const
    {
        LARGE_INTEGER size;
        return GetFileSizeEx(m_handle, &size) ? size.QuadPart : -1;
    }

    /// At most "size" bytes of it.
    std::string text(std::int64_t size) const
    {
        std::string text(static_cast<std::size_t>(size), '\0');
        std::size_t filled = 0;
        DWORD got = 1;
        while (filled < text.size() && got > 0) {
            if (!ReadFile(m_handle, text.data() + filled, static_cast<DWORD>(text.size() - filled), &got,
                          nullptr))
                break;
            filled += got;
        }
        text.resize(filled);
        return text;
    }

private:
    HANDLE m_handle;
};

} // namespace

bool canRead(const std::string& path)
{
    return static_cast<bool>(OpenFile(path));
}

std::optional<std::string> readFile(const std::string& path)
{
    const OpenFile file(path);
    if (!file)
        return std::nullopt;
    const std::int64_t size = file.size();
    if (size < 0 || size > LARGEST_FILE)
        return std::nullopt;
    return file.text(size);
}

} // namespace platform
