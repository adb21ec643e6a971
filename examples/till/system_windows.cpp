#include "examples/till/system.h"

#include <windows.h>

#include <cstdlib>

bool standardOutputShowsColour()
{
    constexpr DWORD sequences = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) != 0 && SetConsoleMode(output, mode | sequences) != 0;
}

const char* defaultLogDirectory()
{
    return "c:\\temp\\";
}

void setEnvironment(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str());
}
