#include "platform/clock.h"

#include "text/dates.h"

#include <windows.h>

#include <chrono>
#include <ctime>

namespace platform {

namespace {

int dayOfYear(const SYSTEMTIME& time)
{
    using namespace std::chrono;
    const year thisYear{time.wYear};
    const sys_days today{thisYear / month{time.wMonth} / day{time.wDay}};
    return static_cast<int>((today - sys_days{thisYear / January / 1}).count());
}

} // namespace

void sleepMilliseconds(unsigned milliseconds)
{
    Sleep(milliseconds);
}

LocalTime localTime()
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    LocalTime local{};
    local.calendar.tm_year = now.wYear - 1900;
    local.calendar.tm_mon = now.wMonth - 1;
    local.calendar.tm_mday = now.wDay;
    local.calendar.tm_hour = now.wHour;
    local.calendar.tm_min = now.wMinute;
    local.calendar.tm_sec = now.wSecond;
    local.calendar.tm_wday = now.wDayOfWeek;
    local.calendar.tm_yday = dayOfYear(now);
    local.calendar.tm_isdst = -1;
    local.milliseconds = now.wMilliseconds;
    return local;
}

int localDay()
{
    return dayNumber(localTime().calendar);
}

std::int64_t wallClockSeconds()
{
    return std::time(nullptr);
}

} // namespace platform
