#include "platform/modules.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>

namespace platform {

namespace {

// A plain buffer: code that runs while the library is unloaded may still ask for the path.
char loadedFrom[PATH_MAX];

bool rememberPath()
{
    Dl_info info{};
    if (dladdr(loadedFrom, &info) == 0 || info.dli_fname == nullptr)
        return false;
    const char* name = info.dli_fname;
    char directory[PATH_MAX] = "";
    if (name[0] != '/') {
        while (std::strncmp(name, "./", 2) == 0)
            name += 2;
        if (getcwd(directory, sizeof directory) == nullptr)
            return false;
    }
    const char* separator = name[0] == '/' || std::strcmp(directory, "/") == 0 ? "" : "/";
    const int length = std::snprintf(loadedFrom, sizeof loadedFrom, "%s%s%s", directory, separator, name);
    if (length < 0 || length >= static_cast<int>(sizeof loadedFrom))
        loadedFrom[0] = '\0';
    return loadedFrom[0] != '\0';
}

// A relative path counts from the directory that the program was in while it loaded the library, so
// it is worked out at load; a global object of another file may ask even before that.
bool pathIsKnown()
{
    static const bool known = rememberPath();
    return known;
}

[[maybe_unused]] const bool pathKnownAtLoad = pathIsKnown();

} // namespace

Module loadModule(const char* name)
{
    const std::string fileName = std::string("lib") + name + ".so";
    return dlopen(fileName.c_str(), RTLD_NOW | RTLD_LOCAL);
}

ModuleFunction findFunction(Module module, const char* functionName)
{
    return reinterpret_cast<ModuleFunction>(dlsym(module, functionName));
}

bool freeModule(Module module)
{
    return module != nullptr && dlclose(module) == 0;
}

std::string ownModulePath(const char*)
{
    return pathIsKnown() ? loadedFrom : "";
}

std::string ownModuleVersion(const char*)
{
    return TLLOGICS_VERSION_TEXT;
}

} // namespace platform
