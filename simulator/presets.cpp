#include "simulator/presets.h"

#include <algorithm>
#include <array>

namespace simulator {

namespace {

struct Currency {
    std::string_view name;
    int decimals;
    std::vector<Amount> coins;
    std::vector<Amount> notes;
};

const std::array<Currency, 5>& currencies()
{
    static const std::array<Currency, 5> all{{
        {"SEK", 2, {100, 200, 500, 1000}, {2000, 5000, 10000, 20000, 50000}},
        {"EUR", 2, {1, 2, 5, 10, 20, 50, 100, 200}, {500, 1000, 2000, 5000, 10000}},
        {"USD", 2, {1, 5, 10, 25}, {100, 500, 1000, 2000, 5000, 10000}},
        {"GBP", 2, {1, 2, 5, 10, 20, 50, 100, 200}, {500, 1000, 2000, 5000}},
        {"JPY", 0, {1, 5, 10, 50, 100, 500}, {1000, 5000, 10000}},
    }};
    return all;
}

/// Of the largest note few are there: customers bring it, and get it back as change never.
Denomination unitOf(Amount value, CashKind kind, bool largest)
{
    Denomination unit;
    const bool coin = kind == CashKind::Coin;
    unit.value = value;
    unit.kind = kind;
    unit.count = coin ? 120 : largest ? 10 : 40;
    unit.low = coin ? 30 : largest ? 0 : 10;
    unit.high = coin ? 180 : 80;
    unit.cashFloat = coin ? 100 : largest ? 5 : 30;
    unit.capacity = coin ? 200 : 100;
    return unit;
}

} // namespace

bool applyCurrency(Settings& settings, std::string_view name)
{
    const auto found = std::find_if(currencies().begin(), currencies().end(),
                                    [&](const Currency& currency) { return currency.name == name; });
    if (found == currencies().end())
        return false;
    settings.currency = found->name;
    settings.decimals = found->decimals;
    settings.drawer.clear();
    for (const Amount value : found->coins)
        settings.drawer.push_back(unitOf(value, CashKind::Coin, false));
    for (const Amount value : found->notes)
        settings.drawer.push_back(unitOf(value, CashKind::Note, value == found->notes.back()));
    return true;
}

std::string currencyPresets()
{
    std::string names;
    for (const Currency& currency : currencies())
        names += (names.empty() ? "\"" : ", \"") + std::string(currency.name) + "\"";
    return names;
}

bool applyDevice(Settings& settings, std::string_view name)
{
    const Settings current;
    const bool legacy = name == "legacy";
    if (!legacy && name != "current")
        return false;
    settings.versionKind = legacy ? 0 : current.versionKind;
    settings.commands = legacy ? "ABCDEFGHIJ" : current.commands;
    settings.sessionTexts = !legacy;
    return true;
}

} // namespace simulator
