#include "environment.h"

#include <windows.h>

#include <psapi.h>

#include <cstdio>
#include <filesystem>

void setEnvironment(const std::string& name, const std::string& value)
{
    SetEnvironmentVariableA(name.c_str(), value.empty() ? nullptr : value.c_str());
}

void removeDirectory(const std::string& path)
{
    _fcloseall();
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::size_t openHandles()
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

std::size_t memoryInUse()
{
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}

const std::size_t keptByALoad = 32 * 1024; // some 20 KB under Wine; by the loader or the compiler's run-time
