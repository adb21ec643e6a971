#include "environment.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

void setEnvironment(const std::string& name, const std::string& value)
{
    value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
}

void removeDirectory(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::size_t openHandles()
{
    using std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(directory_iterator("/proc/self/fd"), {}));
}

std::size_t memoryInUse()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages; // the second number is what is resident
    return pages * 4096;
}

const std::size_t keptByALoad = 0;
