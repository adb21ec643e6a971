#include "platform/clock.h"

#include <time.h>

#include <cerrno>

namespace platform {

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
    // The calendar of the running second is worked out once: that takes longer than a line of the log.
    thread_local time_t second = -1;
    thread_local std::tm calendar{};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != second) {
        localtime_r(&now.tv_sec, &calendar);
        second = now.tv_sec;
    }
    return {calendar, static_cast<int>(now.tv_nsec / 1'000'000)};
}

std::int64_t wallClockSeconds()
{
    // Not time(): that one lags behind the clock that localTime reads.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace platform
