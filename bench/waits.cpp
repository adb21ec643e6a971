// What waiting operations add to their rounds of 10 ms, on a device that makes them wait for nothing but the
// next look.
#include "bench/instant_device.h"
#include "bench/log_folder.h"
#include "bench/rows.h"

#include "api/tllogics.h"

namespace bench {

namespace {

constexpr const char* PAYIN_ENABLED = "a0000010001";
constexpr const char* PAYIN_DISABLED = "a0000010031";
constexpr const char* ADMINISTRATION = "a0000000033";
constexpr const char* CLOSED = "a0000000000";

/// "before" is what the device says before each call; "rounds" the least that the operation can do with.
void compareWait(
    const char* name, int rounds, const char* before, const Work& call, const Work& undo = [] {})
{
    const Work sleeps = [rounds] {
        for (int i = 0; i < rounds; ++i)
            bareSleep();
    };
    const Work prepare = [&] {
        undo();
        bench_callback()(before);
    };
    compare(name, std::to_string(rounds) + (rounds == 1 ? " sleep of 10 ms" : " sleeps of 10 ms"), call,
            sleeps, 1.01, {.number = 15, .length = {}, .prepare = prepare});
}

} // namespace

void measureWaits()
{
    const Session session;
    std::int32_t rest = 0;
    std::uint32_t amount = 0;
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t coinCount = 0;
    std::int32_t noteCount = 0;

    compareWait(
        "loginTL", 4, CLOSED, [] { expectOk(loginTL(1, 1, message)); }, [] { expectOk(logoutTL(message)); });
    compareWait(
        "logoutTL", 1, PAYIN_ENABLED, [] { expectOk(logoutTL(message)); },
        [] { expectOk(loginTL(1, 1, message)); });
    expectOk(loginTL(1, 1, message));
    compareWait("askPayout2TL", 1, PAYIN_ENABLED, [&] { expectOk(askPayout2TL(5000, &rest, message)); });
    compareWait("payout2TL that asks first", 2, PAYIN_ENABLED,
                [&] { expectOk(payout2TL(6000, 100, "1", &rest, message)); });
    compareWait("informTotalAmountTL", 1, PAYIN_ENABLED, [] { expectOk(informTotalAmountTL(100, message)); });
    compareWait("changeTL", 1, PAYIN_ENABLED, [] { expectOk(changeTL(message)); });
    compareWait("regretTL", 1, PAYIN_ENABLED, [] { expectOk(regretTL(0, message)); });
    compareWait("cashCountTL", 1, PAYIN_ENABLED,
                [&] { expectOk(cashCountTL(&coins, &coinCount, &notes, &noteCount, message)); });
    compareWait("completeCashCountTL", 1, PAYIN_ENABLED,
                [&] { expectOk(completeCashCountTL(&coins, &coinCount, &notes, &noteCount, message)); });
    compareWait("disablePayinTL", 1, PAYIN_ENABLED, [] { expectOk(disablePayinTL(message)); });
    compareWait("dispenseTL that asks first", 2, PAYIN_DISABLED,
                [&] { expectOk(dispenseTL(6000, "1", &rest, message)); });
    compareWait("dispenseSpecifiedTL", 1, PAYIN_DISABLED, [&] {
        coinCount = 0;
        noteCount = 0;
        expectOk(dispenseSpecifiedTL(0, &coins, &coinCount, &notes, &noteCount, &amount, "1", message));
    });
    compareWait("collectToCashFloatTL", 1, ADMINISTRATION, [&] {
        expectOk(collectToCashFloatTL(1, &coins, &coinCount, &notes, &noteCount, &amount, "1", message));
    });
    compareWait("endReplenishTL", 2, ADMINISTRATION, [] { expectOk(endReplenishTL("1", message)); });
    compareWait("unlockTL", 1, ADMINISTRATION, [] { expectOk(unlockTL(1, message)); });
    compareWait("purgeTL", 1, ADMINISTRATION,
                [&] { expectOk(purgeTL(1, &coins, &coinCount, &notes, &noteCount, &amount, "1", message)); });
}

} // namespace bench
