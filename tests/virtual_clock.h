// Stands in for the platform's clock: time stands still until a wait of the library, or a test, moves it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace virtual_clock {

/// Local date and time; at the start it is Sunday, 2026-11-22 14:05:06.007. The wall clock and the time of
/// actions go on as they were.
void set(std::chrono::sys_time<std::chrono::milliseconds> dateAndTime);

/// Turns the wall clock alone.
void turnWallClock(std::int64_t seconds);

/// Milliseconds since the start.
std::int64_t now();

/// Runs all actions that fall due meanwhile, on this thread.
void advance(std::int64_t milliseconds);

/// "milliseconds" from now on, inside whatever sleeps then.
void after(std::int64_t milliseconds, std::function<void()> action);

/// Drops all actions.
void forget();

/// Calls this whenever somebody looks at the date and time, as the log does before each of its lines, and
/// before time goes on.
void onLook(void (*action)());

} // namespace virtual_clock
