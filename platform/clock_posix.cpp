#include "platform/clock.h"

#include "text/dates.h"

#include <time.h>

#include <cerrno>

namespace platform {

namespace {

/// The calendar of the running second is worked out once: that takes longer than a line of the log.
const std::tm& calendarOf(time_t second)
{
    thread_local time_t known = -1;
    thread_local std::tm calendar{};
    if (second != known) {
        localtime_r(&second, &calendar);
        known = second;
    }
    return calendar;
}

} // namespace

void sleepMilliseconds(unsigned milliseconds)
{
    // Until a time and not for one: a signal's handler doesn't shorten it, nor do many lengthen it.
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
    if (end.tv_nsec >= 1'000'000'000) {
        end.tv_nsec -= 1'000'000'000;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR)
        ;
}

LocalTime localTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return {calendarOf(now.tv_sec), static_cast<int>(now.tv_nsec / 1'000'000)};
}

int localDay()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return dayNumber(calendarOf(now.tv_sec));
}

std::int64_t wallClockSeconds()
{
    // Not time(): that one lags behind the clock that localTime reads.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace platform
