// A library that tells what its own file is, and throws. It is asked from outside, by tests that load it in
// different ways.
#include "platform/modules.h"

#include <stdexcept>

extern "C" const char* probePath();
extern "C" const char* probeVersion();
extern "C" int probeThrow(int depth);

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

namespace {

// Counts how many of it the exception passed.
struct Frame {
    int& passed;
    explicit Frame(int& count) : passed(count) {}
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    ~Frame() { ++passed; }
};

[[gnu::noinline]] void throwFrom(int depth, int& passed)
{
    const Frame frame(passed);
    if (depth <= 1)
        throw std::runtime_error("thrown");
    throwFrom(depth - 1, passed);
}

} // namespace

/// Throws through "depth" frames; how many it has seen.
extern "C" int probeThrow(int depth)
{
    int passed = 0;
    try {
        throwFrom(depth, passed);
    } catch (const std::runtime_error&) {
        return passed;
    }
    return -1;
}
