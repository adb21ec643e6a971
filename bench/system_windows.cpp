#include "bench/system.h"

#include <windows.h>

#include <cstdlib>

namespace bench {

const char* const BARE_APPEND = "WriteFile";

BareFile::BareFile(const std::string& path)
    : m_handle(reinterpret_cast<std::intptr_t>(CreateFileA(path.c_str(), FILE_APPEND_DATA,
                                                           FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                           CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)))
{}

BareFile::~BareFile()
{
    CloseHandle(reinterpret_cast<HANDLE>(m_handle));
}

void BareFile::append(std::string_view text) const
{
    DWORD written = 0;
    if (!WriteFile(reinterpret_cast<HANDLE>(m_handle), text.data(), static_cast<DWORD>(text.size()), &written,
                   nullptr))
        std::abort();
}

void bareSleep()
{
    Sleep(10);
}

void setEnvironment(const char* name, const std::string& value)
{
    SetEnvironmentVariableA(name, value.c_str());
}

} // namespace bench
