#include "platform/clock.h"

#include <time.h>

namespace platform {

void sleepMilliseconds(unsigned milliseconds)
{
    const timespec duration{static_cast<time_t>(milliseconds / 1000),
                            static_cast<long>(milliseconds % 1000) * 1'000'000};
    nanosleep(&duration, nullptr);
}

LocalTime localTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    LocalTime local{};
    localtime_r(&now.tv_sec, &local.calendar);
    local.milliseconds = static_cast<int>(now.tv_nsec / 1'000'000);
    return local;
}

std::int64_t wallClockSeconds()
{
    // Not time(): that one lags behind the clock that localTime reads.
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

} // namespace platform
