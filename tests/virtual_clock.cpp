#include "virtual_clock.h"

#include "platform/clock.h"

#include <chrono>
#include <cstdio>
#include <map>

namespace {

using namespace std::chrono;

struct State {
    std::int64_t now = 0;
    std::int64_t turned = 0;
    sys_time<milliseconds> start;
    std::multimap<std::int64_t, std::function<void()>> actions;
};

// Never destroyed: the library's last log lines are written as the process ends.
State& state()
{
    static State& only = *[] {
        auto* const fresh = new State;
        fresh->start = sys_days{2026y / November / 22} + 14h + 5min + 6s + 7ms;
        return fresh;
    }();
    return only;
}

} // namespace

void virtual_clock::set(const std::string& dateAndTime)
{
    int year = 0, hour = 0, minute = 0, second = 0, thousandths = 0;
    unsigned month = 0, day = 0;
    std::sscanf(dateAndTime.c_str(), "%d-%u-%u %d:%d:%d.%d", &year, &month, &day, &hour, &minute, &second,
                &thousandths);
    state().start = sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}} +
                    hours{hour} + minutes{minute} + seconds{second} + milliseconds{thousandths} -
                    milliseconds{state().now};
}

void virtual_clock::turnWallClock(std::int64_t seconds)
{
    state().turned += seconds;
}

std::int64_t virtual_clock::now()
{
    return state().now;
}

void virtual_clock::advance(std::int64_t milliseconds)
{
    auto& actions = state().actions;
    const std::int64_t end = state().now + milliseconds;
    while (!actions.empty() && actions.begin()->first <= end) {
        const auto first = actions.extract(actions.begin());
        state().now = first.key();
        first.mapped()();
    }
    state().now = end;
}

void virtual_clock::after(std::int64_t milliseconds, std::function<void()> action)
{
    state().actions.emplace(state().now + milliseconds, std::move(action));
}

void virtual_clock::forget()
{
    state().actions.clear();
}

void platform::sleepMilliseconds(unsigned milliseconds)
{
    virtual_clock::advance(milliseconds);
}

platform::LocalTime platform::localTime()
{
    const auto local = state().start + milliseconds{state().now};
    const auto today = floor<days>(local);
    const year_month_day date{today};
    const hh_mm_ss time{local - today};
    LocalTime result{};
    result.calendar.tm_year = static_cast<int>(date.year()) - 1900;
    result.calendar.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    result.calendar.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    result.calendar.tm_hour = static_cast<int>(time.hours().count());
    result.calendar.tm_min = static_cast<int>(time.minutes().count());
    result.calendar.tm_sec = static_cast<int>(time.seconds().count());
    result.calendar.tm_wday = static_cast<int>(weekday{today}.c_encoding());
    result.calendar.tm_yday = static_cast<int>((today - sys_days{date.year() / January / 1}).count());
    result.milliseconds = static_cast<int>(time.subseconds().count());
    return result;
}

std::int64_t platform::wallClockSeconds()
{
    return 1'800'000'000 + state().turned + state().now / 1000;
}
