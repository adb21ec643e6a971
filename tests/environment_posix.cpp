#include "environment.h"

#include <cstdlib>
#include <filesystem>

void setEnvironment(const std::string& name, const std::string& value)
{
    value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
}

void removeDirectory(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
