// Local dates and times as plain numbers: a log knows no time zone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tllog {

/// Milliseconds of local time since 1970, and days of it.
using Time = std::int64_t;
using Day = std::int32_t;

constexpr Time MILLISECONDS_A_DAY = 86'400'000;

struct Date {
    int year = 1970;
    int month = 1;
    int day = 1;
};

Day dayOf(const Date& date);
Date dateOf(Day day);
inline Day dayOfTime(Time time)
{
    return static_cast<Day>(time / MILLISECONDS_A_DAY);
}

/// 0 is Sunday.
int weekdayOf(Day day);

/// The number of the week as "%W" writes it: Monday begins a week, what is before the first one is week 0.
int weekOf(Day day);

/// The day of that week and weekday in a year; none if the year has no such day.
std::optional<Day> dayOfWeek(int year, int week, int weekday);

/// The same in the year that brings it closest to another day.
std::optional<Day> dayOfWeekNear(Day anchor, int week, int weekday);

const char* weekdayName(int weekday);
/// -1 if it is none.
int weekdayNumber(std::string_view name);

/// "2026-11-23", "03:16:55.862", and both with a "T" between.
void appendDay(std::string& text, Day day);
void appendClock(std::string& text, Time time);
void appendStamp(std::string& text, Time time);

/// Reads "2026-11-23" or "20261123".
std::optional<Day> readDay(std::string_view text);

/// Reads "2026-11-23", "2026-11-23 14:05", "2026-11-23T14:05:06.007"; a bare "14:05" is of the given day.
std::optional<Time> readTime(std::string_view text, Day today);

/// All digits, no sign, at most 18 of them.
std::optional<std::int64_t> readDigits(std::string_view text);

} // namespace tllog
