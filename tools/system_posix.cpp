#include "tools/system.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace tllog {

std::string defaultLogDirectory()
{
    return "/tmp/";
}

std::size_t terminalWidth()
{
    if (isatty(STDOUT_FILENO) == 0)
        return 0;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

bool errorsGoToTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}

bool enableColours()
{
    const char* const terminal = std::getenv("TERM");
    return terminal != nullptr && std::string_view(terminal) != "dumb";
}

void plainLineEnds() {}

Time localNow()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm calendar{};
    localtime_r(&seconds, &calendar);
    const Day day = dayOf({calendar.tm_year + 1900, calendar.tm_mon + 1, calendar.tm_mday});
    return day * MILLISECONDS_A_DAY +
           ((calendar.tm_hour * 60 + calendar.tm_min) * 60 + calendar.tm_sec) * Time{1000} +
           std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
}

const char* systemName()
{
    return "Linux";
}

} // namespace tllog
