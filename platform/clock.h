// Sleep, local time and wall clock. A translation unit of their own, so that a test can link
// a virtual clock in their place.
#pragma once

#include <cstdint>
#include <ctime>

namespace platform {

struct LocalTime {
    std::tm calendar;
    int milliseconds;
};

/// Sleeps for all of the time, whatever interrupts it.
void sleepMilliseconds(unsigned milliseconds);

/// Calendar time in the local time zone.
LocalTime localTime();

/// The local date as dayNumber tells it, which costs less. It may lag behind localTime by milliseconds.
int localDay();

/// Seconds since 1970-01-01 00:00 UTC; moves when the clock is set.
std::int64_t wallClockSeconds();

} // namespace platform
