#include "simulator/times.h"

#include "simulator/cash.h"

#include <array>

namespace simulator {

namespace {

struct Unit {
    std::string_view name;
    Milliseconds milliseconds;
};

constexpr std::array<Unit, 5> UNITS{{{"", 1}, {"ms", 1}, {"s", 1000}, {"min", 60'000}, {"m", 60'000}}};

} // namespace

std::optional<Milliseconds> parseDuration(std::string_view text)
{
    const std::size_t numberEnd = text.find_first_not_of("0123456789.");
    const std::string_view number = text.substr(0, numberEnd);
    std::string_view unitName = numberEnd == std::string_view::npos ? "" : text.substr(numberEnd);
    if (unitName.starts_with(' '))
        unitName.remove_prefix(1);
    for (const Unit& unit : UNITS) {
        if (unit.name != unitName)
            continue;
        // Three decimals of a unit are as fine as any time gets.
        const auto thousandths = parseMoney(number, 3);
        if (!thousandths)
            return std::nullopt;
        const Milliseconds time = *thousandths * unit.milliseconds / 1000;
        return time <= LONGEST_TIME ? std::optional(time) : std::nullopt;
    }
    return std::nullopt;
}

std::string durationText(Milliseconds time)
{
    if (time < 1000)
        return std::to_string(time) + " ms";
    std::string seconds = moneyText(time, 3);
    while (seconds.ends_with('0'))
        seconds.pop_back();
    if (seconds.ends_with('.'))
        seconds.pop_back();
    return seconds + " s";
}

} // namespace simulator
