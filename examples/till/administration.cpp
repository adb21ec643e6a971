#include "examples/till/commands.h"

#include <fmt/format.h>

#include <cstdlib>

namespace {

using ArrayFunction =
    std::function<std::int16_t(CashCountRecord** coins, std::int32_t* nCoins, CashCountRecord** notes,
                               std::int32_t* nNotes, std::uint32_t* rest, char* message)>;

/// A call that hands out what the device could not move; nothing of that is wanted here.
void callWithArrays(Session& session, const std::string& what, const ArrayFunction& function)
{
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t nCoins = 0;
    std::int32_t nNotes = 0;
    std::uint32_t rest = 0;
    session.call(what, [&](char* message) {
        const std::int16_t status = function(&coins, &nCoins, &notes, &nNotes, &rest, message);
        std::free(coins);
        std::free(notes);
        return status;
    });
}

void switchMode(Session& session, std::int16_t type, int mode)
{
    session.call(fmt::format("adminModeTL({})", type),
                 [&](char* message) { return adminModeTL(type, message); });
    session.expect("the new mode", [&](const StatusReport& now) { return now.mode == mode; });
}

void replenish(Session& session)
{
    const Cash& drawer = session.book().before().drawer;
    const std::int64_t largest = drawer.rbegin()->first;
    session.payIn({largest, largest, drawer.begin()->first});
    session.call("endReplenishTL(\"ADMIN-1\")",
                 [](char* message) { return endReplenishTL("ADMIN-1", message); });
}

} // namespace

bool runAdministration(Printer& printer, const SessionOptions& options)
{
    constexpr std::uint32_t FIRST_UNIT = 1;

    printer.heading("The day's administration");
    Session session(printer, options);
    session.call("disablePayinTL", &disablePayinTL);
    switchMode(session, 1, 3);
    replenish(session);

    callWithArrays(session, "collectToCashFloatTL(1)", [](auto... results) {
        const auto call = [](auto coins, auto nCoins, auto notes, auto nNotes, auto rest, char* message) {
            return collectToCashFloatTL(1, coins, nCoins, notes, nNotes, rest, "ADMIN-2", message);
        };
        return call(results...);
    });
    session.book().cameOutToBox();
    callWithArrays(session, fmt::format("purgeTL({})", FIRST_UNIT), [&](auto... results) {
        const auto call = [&](auto coins, auto nCoins, auto notes, auto nNotes, auto rest, char* message) {
            return purgeTL(FIRST_UNIT, coins, nCoins, notes, nNotes, rest, "ADMIN-3", message);
        };
        return call(results...);
    });
    session.book().cameOutToBox();
    session.call(fmt::format("unlockTL({})", FIRST_UNIT),
                 [&](char* message) { return unlockTL(FIRST_UNIT, message); });
    switchMode(session, 2, 1);
    return session.finish();
}
