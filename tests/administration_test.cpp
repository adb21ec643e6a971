// The arrays in which coins and notes travel.
#include "library_test.h"

#include <cstdlib>
#include <limits>

namespace {

struct Records {
    CashCountRecord* coins = nullptr;
    std::int32_t nCoins = -1;
    CashCountRecord* notes = nullptr;
    std::int32_t nNotes = -1;
    std::uint32_t rest = 77;
};

std::string textOf(const CashCountRecord* records, std::int32_t count)
{
    std::string text;
    for (std::int32_t i = 0; i < count; ++i) {
        const CashCountRecord& record = records[i];
        text += compose(i > 0 ? "," : "", record.nDenomination, ":", record.nCount);
        if (record.nRecycle != 0 || record.nTotal != 0)
            text += compose(":", record.nRecycle, "=", record.nTotal);
    }
    return text;
}

/// "coins;notes rest" behind the outcome, and the arrays given back.
std::string release(Records& records, const std::string& outcome)
{
    if (records.coins == nullptr || records.notes == nullptr)
        return outcome + " no arrays";
    const std::string rest = records.rest == 77 ? "" : compose(" ", records.rest);
    const std::string text = compose(outcome, " ", textOf(records.coins, records.nCoins), ";",
                                     textOf(records.notes, records.nNotes), rest);
    std::free(records.coins);
    std::free(records.notes);
    return text;
}

std::string dispenseSpecified(std::vector<CashCountRecord> coins, std::vector<CashCountRecord> notes)
{
    Records got{coins.data(), static_cast<std::int32_t>(coins.size()), notes.data(),
                static_cast<std::int32_t>(notes.size())};
    const std::string outcome =
        call(dispenseSpecifiedTL, 1, &got.coins, &got.nCoins, &got.notes, &got.nNotes, &got.rest, "T1");
    // Refused by the frame: the application's own arrays still stand there.
    return got.coins == coins.data() ? outcome + " untouched" : release(got, outcome);
}

class Administration : public LibraryTest {
protected:
    /// Logged in with pay-in disabled, in administration mode or not.
    void openFor(std::int32_t state, bool administration)
    {
        open();
        device.say(head('a', 0, state == STATE_PAYIN_ENABLED ? 0 : 3, administration ? 3 : 1));
        g_TLState = state;
        forget();
    }
};

TEST_F(Administration, SendsExactListsAndHandsRefusedOnesBack)
{
    constexpr std::int32_t MOST = std::numeric_limits<std::int32_t>::max();
    openFor(STATE_PAYIN_DISABLED, false);
    EXPECT_EQ("0 Done ; 0", dispenseSpecified({{100, 2, 5, 5}, {50, -1, 0, 0}}, {{1000, 3, 0, 0}}));
    EXPECT_EQ("0 Done ; 0", dispenseSpecified({}, {}));
    EXPECT_EQ((Texts{"m|1100:2,50:-1;1000:3.|#T1", "m|1;.|#T1"}), device.sent());
    // Sums far beyond 32 and 64 bits are told as too big or, below zero, as small enough.
    const std::vector<CashCountRecord> huge(5, CashCountRecord{MOST, MOST, 0, 0});
    const std::vector<CashCountRecord> negative(5, CashCountRecord{MOST, -MOST, 0, 0});
    EXPECT_EQ("4 Amount to dispense too big ; 0", dispenseSpecified(huge, {}));
    EXPECT_EQ("4 Amount to dispense too big ; 0", dispenseSpecified(huge, {{MOST, -MOST, 0, 0}}));
    EXPECT_EQ("0 Done ; 0", dispenseSpecified(negative, {}));
    EXPECT_EQ("0 Done ; 0", dispenseSpecified(huge, negative));
    device.on("m").answers("1");
    EXPECT_EQ("1 Busy 100:2;1000:3 3200", dispenseSpecified({{100, 2, 0, 0}}, {{1000, 3, 0, 0}}));
    EXPECT_EQ(1, countOf("!! dispenseSpecified: Failed! Returning 1: amountRest=3200: Busy", apiLog()));
    EXPECT_EQ("0 Done", call(exitTL));
    EXPECT_EQ("2 Not initiated untouched", dispenseSpecified({{100, 2, 0, 0}}, {}));
    apiLog();
    EXPECT_EQ(4, dispenseSpecifiedTL(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ((Texts{"=> dispenseSpecifiedTL(1,coinsArray,1,notesArray,1,0,\"\", message)",
                     "!! dispenseSpecified: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): message "
                     "parameter is null"}),
              apiLog());
}

} // namespace
