// Dynamic libraries: loading others, and finding out about this one. A translation unit of
// their own, so that a test can link a scripted library in their place.
#pragma once

#include <string>

namespace platform {

using Module = void*;
using ModuleFunction = void (*)();

/// Loads "name" (POSIX: "lib<name>.so") by the loader's normal search. Each load counts one
/// reference. Null if it can't be loaded.
Module loadModule(const char* name);

/// Null if the module has no function of that name.
ModuleFunction findFunction(Module module, const char* functionName);

/// Gives one reference back; the code goes away with the last one. False if it failed.
bool freeModule(Module module);

/// Full path of this library's own file, "fileName" being the name that it has on Windows. On
/// POSIX the path is absolute and links in it are kept. Empty if the platform can't tell.
std::string ownModulePath(const char* fileName);

/// Version of this library's own file as "1.2.3.4". Empty if it has none.
std::string ownModuleVersion(const char* fileName);

} // namespace platform
