#include "tools/system.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace tllog {

std::string defaultLogDirectory()
{
    return "c:\\temp\\";
}

std::size_t terminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (_isatty(_fileno(stdout)) == 0)
        return 0;
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info) == 0)
        return 0;
    // The last column would break the line.
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left);
}

bool errorsGoToTerminal()
{
    return _isatty(_fileno(stderr)) != 0;
}

bool enableColours()
{
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) != 0 &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

void plainLineEnds()
{
    _setmode(_fileno(stdout), _O_BINARY);
}

Time localNow()
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return dayOf({now.wYear, now.wMonth, now.wDay}) * MILLISECONDS_A_DAY +
           ((now.wHour * 60 + now.wMinute) * 60 + now.wSecond) * Time{1000} + now.wMilliseconds;
}

const char* systemName()
{
    return "Windows";
}

} // namespace tllog
