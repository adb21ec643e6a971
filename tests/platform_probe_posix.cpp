// A library that tells what its own file is. It is asked from outside, by tests that load it in
// different ways.
#include "platform/modules.h"

extern "C" const char* probePath();
extern "C" const char* probeVersion();

extern "C" const char* probePath()
{
    static std::string path;
    path = platform::ownModulePath("");
    return path.c_str();
}

extern "C" const char* probeVersion()
{
    static std::string version;
    version = platform::ownModuleVersion("");
    return version.c_str();
}
