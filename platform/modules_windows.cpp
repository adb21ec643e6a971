#include "platform/modules.h"

#include <windows.h>

#include <vector>

namespace platform {

Module loadModule(const char* name)
{
    return LoadLibraryA(name);
}

ModuleFunction findFunction(Module module, const char* functionName)
{
    return reinterpret_cast<ModuleFunction>(GetProcAddress(static_cast<HMODULE>(module), functionName));
}

bool freeModule(Module module)
{
    return module != nullptr && FreeLibrary(static_cast<HMODULE>(module)) != 0;
}

std::string ownModulePath(const char* fileName)
{
    const HMODULE module = GetModuleHandleA(fileName);
    if (module == nullptr)
        return {};
    char path[MAX_PATH];
    const DWORD length = GetModuleFileNameA(module, path, sizeof path);
    // A full buffer means a path that was cut.
    return length < sizeof path ? std::string(path, length) : std::string();
}

std::string ownModuleVersion(const char* fileName)
{
    const std::string path = ownModulePath(fileName);
    DWORD unused = 0;
    const DWORD size = path.empty() ? 0 : GetFileVersionInfoSizeA(path.c_str(), &unused);
    if (size == 0)
        return {};
    std::vector<char> block(size);
    void* value = nullptr;
    UINT valueSize = 0;
    if (!GetFileVersionInfoA(path.c_str(), 0, size, block.data()) ||
        !VerQueryValueA(block.data(), "\\", &value, &valueSize) || valueSize < sizeof(VS_FIXEDFILEINFO))
        return {};
    const auto* version = static_cast<const VS_FIXEDFILEINFO*>(value);
    return std::to_string(HIWORD(version->dwFileVersionMS)) + "." +
           std::to_string(LOWORD(version->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(version->dwFileVersionLS)) + "." +
           std::to_string(LOWORD(version->dwFileVersionLS));
}

} // namespace platform
