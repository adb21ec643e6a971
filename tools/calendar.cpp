#include "tools/calendar.h"

#include <array>
#include <chrono>
#include <cstdlib>

namespace tllog {

namespace {

constexpr std::array<const char*, 7> WEEKDAYS{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

void appendNumber(std::string& text, std::int64_t number, int width)
{
    std::array<char, 8> digits{};
    for (int i = width - 1; i >= 0; --i, number /= 10)
        digits[static_cast<std::size_t>(i)] = static_cast<char>('0' + number % 10);
    text.append(digits.data(), static_cast<std::size_t>(width));
}

} // namespace

Day dayOf(const Date& date)
{
    const std::chrono::year_month_day day{std::chrono::year(date.year),
                                          std::chrono::month(static_cast<unsigned>(date.month)),
                                          std::chrono::day(static_cast<unsigned>(date.day))};
    return static_cast<Day>(std::chrono::sys_days(day).time_since_epoch().count());
}

Date dateOf(Day day)
{
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(day))};
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

int weekdayOf(Day day)
{
    return ((day + 4) % 7 + 7) % 7;
}

int weekOf(Day day)
{
    const int dayOfYear = day - dayOf({dateOf(day).year, 1, 1});
    const int sinceMonday = (weekdayOf(day) + 6) % 7;
    return (dayOfYear + 7 - sinceMonday) / 7;
}

std::optional<Day> dayOfWeek(int year, int week, int weekday)
{
    const Day first = dayOf({year, 1, 1});
    const Day firstMonday = first + (8 - weekdayOf(first)) % 7;
    const Day day = firstMonday + (week - 1) * 7 + (weekday + 6) % 7;
    if (day < first || day >= dayOf({year + 1, 1, 1}))
        return std::nullopt;
    return day;
}

std::optional<Day> dayOfWeekNear(Day anchor, int week, int weekday)
{
    const int year = dateOf(anchor).year;
    std::optional<Day> nearest;
    for (const int candidate : {year - 1, year, year + 1})
        if (const auto day = dayOfWeek(candidate, week, weekday))
            if (!nearest || std::abs(*day - anchor) < std::abs(*nearest - anchor))
                nearest = day;
    return nearest;
}

const char* weekdayName(int weekday)
{
    return WEEKDAYS[static_cast<std::size_t>(weekday) % WEEKDAYS.size()];
}

int weekdayNumber(std::string_view name)
{
    for (std::size_t i = 0; i < WEEKDAYS.size(); ++i)
        if (name == WEEKDAYS[i])
            return static_cast<int>(i);
    return -1;
}

void appendDay(std::string& text, Day day)
{
    const Date date = dateOf(day);
    appendNumber(text, date.year, 4);
    text += '-';
    appendNumber(text, date.month, 2);
    text += '-';
    appendNumber(text, date.day, 2);
}

void appendClock(std::string& text, Time time)
{
    const std::int64_t ms = time % MILLISECONDS_A_DAY;
    appendNumber(text, ms / 3'600'000, 2);
    text += ':';
    appendNumber(text, ms / 60'000 % 60, 2);
    text += ':';
    appendNumber(text, ms / 1000 % 60, 2);
    text += '.';
    appendNumber(text, ms % 1000, 3);
}

void appendStamp(std::string& text, Time time)
{
    appendDay(text, dayOfTime(time));
    text += 'T';
    appendClock(text, time);
}

std::optional<std::int64_t> readDigits(std::string_view text)
{
    if (text.empty() || text.size() > 18)
        return std::nullopt;
    std::int64_t number = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        number = number * 10 + (digit - '0');
    }
    return number;
}

std::optional<Day> readDay(std::string_view text)
{
    const bool dashed = text.size() == 10 && text[4] == '-' && text[7] == '-';
    if (!dashed && text.size() != 8)
        return std::nullopt;
    const auto year = readDigits(text.substr(0, 4));
    const auto month = readDigits(text.substr(dashed ? 5 : 4, 2));
    const auto day = readDigits(text.substr(dashed ? 8 : 6, 2));
    if (!year || !month || !day || *year < 1970 || *month < 1 || *month > 12 || *day < 1 || *day > 31)
        return std::nullopt;
    return dayOf({static_cast<int>(*year), static_cast<int>(*month), static_cast<int>(*day)});
}

std::optional<Time> readTime(std::string_view text, Day today)
{
    Day day = today;
    if (text.size() >= 10 && text[4] == '-') {
        const auto read = readDay(text.substr(0, 10));
        if (!read)
            return std::nullopt;
        day = *read;
        if (text.size() == 10)
            return day * MILLISECONDS_A_DAY;
        if (text[10] != ' ' && text[10] != 'T')
            return std::nullopt;
        text.remove_prefix(11);
    }
    // hh:mm, hh:mm:ss, hh:mm:ss.mmm and less of it
    std::string whole(text);
    if (whole.size() > 9 && whole.size() < 12 && whole[8] == '.')
        whole.append(12 - whole.size(), '0');
    text = whole;
    if ((text.size() != 5 && text.size() != 8 && text.size() != 12) || text[2] != ':')
        return std::nullopt;
    const auto part = [&](std::size_t at, std::size_t width) {
        return at < text.size() ? readDigits(text.substr(at, width)) : std::optional<std::int64_t>(0);
    };
    const auto hours = part(0, 2);
    const auto minutes = part(3, 2);
    const auto seconds = part(6, 2);
    const auto milliseconds = part(9, 3);
    if (!hours || !minutes || !seconds || !milliseconds || *hours > 23 || *minutes > 59 || *seconds > 60)
        return std::nullopt;
    return day * MILLISECONDS_A_DAY + *hours * 3'600'000 + *minutes * 60'000 + *seconds * 1000 +
           *milliseconds;
}

} // namespace tllog
