#include "examples/till/system.h"

#include <unistd.h>

#include <cstdlib>

bool standardOutputShowsColour()
{
    return isatty(STDOUT_FILENO) == 1;
}

const char* defaultLogDirectory()
{
    return "/tmp/";
}

void setEnvironment(const char* name, const std::string& value)
{
    setenv(name, value.c_str(), 1);
}
