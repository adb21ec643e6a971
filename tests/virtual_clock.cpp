#include "virtual_clock.h"

#include "platform/clock.h"
#include "text/dates.h"

#include <ctime>
#include <map>

namespace {

using namespace std::chrono;

struct State {
    std::int64_t now = 0;
    std::int64_t turned = 0;
    sys_time<milliseconds> start = sys_days{2026y / November / 22} + 14h + 5min + 6s + 7ms;
    std::multimap<std::int64_t, std::function<void()>> actions;
    void (*look)() = nullptr;
};

// Never destroyed: the library's last log lines are written as the process ends.
State& state()
{
    static State& only = *new State;
    return only;
}

void look()
{
    if (state().look != nullptr)
        state().look();
}

} // namespace

void virtual_clock::set(sys_time<milliseconds> dateAndTime)
{
    state().start = dateAndTime - milliseconds{state().now};
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
    look();
    auto& actions = state().actions;
    const std::int64_t end = state().now + milliseconds;
    while (!actions.empty() && actions.begin()->first <= end) {
        const auto first = actions.extract(actions.begin());
        state().now = first.key();
        first.mapped()();
        look();
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

void virtual_clock::onLook(void (*action)())
{
    state().look = action;
}

void platform::sleepMilliseconds(unsigned milliseconds)
{
    virtual_clock::advance(milliseconds);
}

platform::LocalTime platform::localTime()
{
    look();
    const auto local = state().start + milliseconds{state().now};
    const auto second = floor<seconds>(local);
    const std::time_t time = system_clock::to_time_t(second);
    LocalTime result{};
    result.calendar = *std::gmtime(&time);
    result.milliseconds = static_cast<int>((local - second).count());
    return result;
}

int platform::localDay()
{
    return dayNumber(localTime().calendar);
}

std::int64_t platform::wallClockSeconds()
{
    return 1'800'000'000 + state().turned + state().now / 1000;
}
