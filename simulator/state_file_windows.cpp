#include "simulator/state_file.h"

#include <stdexcept>
#include <string_view>
#include <windows.h>

namespace simulator {

namespace {

/// A file handle that closes itself.
class Handle {
public:
    Handle(const std::string& path, DWORD access, DWORD share, DWORD creation)
        : m_handle(
              CreateFileA(path.c_str(), access, share, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~Handle()
    {
        if (isOpen())
            CloseHandle(m_handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const { return m_handle; }
    bool isOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    const HANDLE m_handle;
};

[[noreturn]] void fail(const std::string& path, const char* what)
{
    throw std::runtime_error("state file " + path + ": " + what);
}

bool writeAll(HANDLE file, std::string_view text)
{
    while (!text.empty()) {
        DWORD written = 0;
        if (WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0 ||
            written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

} // namespace

/// Open without sharing is what locks it.
class StateFile::Lock {
public:
    explicit Lock(const std::string& path)
        : m_file(path + ".lock", GENERIC_READ | GENERIC_WRITE, 0, OPEN_ALWAYS)
    {
        if (m_file.isOpen())
            return;
        const bool shared = GetLastError() == ERROR_SHARING_VIOLATION;
        fail(path, shared ? "another machine uses it" : "can't be locked");
    }

private:
    Handle m_file;
};

StateFile::StateFile(std::string path) : m_path(std::move(path)), m_lock(std::make_unique<Lock>(m_path)) {}

StateFile::~StateFile() = default;

std::optional<std::string> StateFile::read() const
{
    const Handle file(m_path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    if (!file.isOpen() && GetLastError() == ERROR_FILE_NOT_FOUND)
        return std::nullopt;
    if (!file.isOpen())
        fail(m_path, "can't be read");
    std::string text;
    char buffer[4096];
    for (;;) {
        DWORD count = 0;
        if (ReadFile(file.get(), buffer, sizeof buffer, &count, nullptr) == 0)
            fail(m_path, "can't be read");
        if (count == 0)
            return text;
        text.append(buffer, count);
    }
}

void StateFile::write(const std::string& text) const
{
    const std::string aside = m_path + ".new";
    {
        const Handle file(aside, GENERIC_WRITE, 0, CREATE_ALWAYS);
        if (!file.isOpen() || !writeAll(file.get(), text) || FlushFileBuffers(file.get()) == 0)
            fail(m_path, "can't be written");
    }
    if (MoveFileExA(aside.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0)
        fail(m_path, "can't be replaced");
}

} // namespace simulator
