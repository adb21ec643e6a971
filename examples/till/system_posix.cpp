#include "examples/till/system.h"

#include <unistd.h>

bool standardOutputShowsColour()
{
    return isatty(STDOUT_FILENO) == 1;
}

const char* defaultLogDirectory()
{
    return "/tmp/";
}
