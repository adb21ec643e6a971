#include "environment.h"

#include <cstdlib>
#include <filesystem>

void setEnvironment(const std::string& name, const std::string& value)
{
    setenv(name.c_str(), value.c_str(), 1);
}

void unsetEnvironment(const std::string& name)
{
    unsetenv(name.c_str());
}

void removeDirectory(const std::string& path)
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
