#include "examples/till/terminal.h"

#include <unistd.h>

bool standardOutputShowsColour()
{
    return isatty(STDOUT_FILENO) == 1;
}
