// Cash counts, administration, and the arrays in which coins and notes travel.
#include "till.h"

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

std::string count()
{
    Records got;
    return release(got, call(cashCountTL, &got.coins, &got.nCoins, &got.notes, &got.nNotes));
}

std::string purge()
{
    Records got;
    return release(got, call(purgeTL, 4u, &got.coins, &got.nCoins, &got.notes, &got.nNotes, &got.rest, "T1"));
}

std::string collect()
{
    Records got;
    return release(got, call(collectToCashFloatTL, 1, &got.coins, &got.nCoins, &got.notes, &got.nNotes,
                             &got.rest, "T1"));
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

class Administration : public Till {
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

TEST_F(Administration, ReadsCountTextsAtTheirEdges)
{
    const std::vector<std::pair<Texts, std::string>> cases{
        {{"j100:5,50:3;1000:2."}, "0 Done 100:5,50:3;1000:2"},
        {{"j100:5;1000:2"}, "0 Done 100:5;1000:2"},
        {{"j100:5:2;1000:0:4."}, "0 Done 100:5:2=7;1000:0:4=4"},
        {{"j;1000:2."}, "0 Done ;1000:2"},
        {{"j1:1;2:2;3:3;4:4."}, "0 Done 1:1;2:2"},
        {{"j100,x:y,:3;1000:2."}, "0 Done 100:0,0:0,0:3;1000:2"},
        {{"j99999999999:-5;-7:2147483647:1."}, "0 Done 2147483647:-5;-7:2147483647:1=-2147483648"},
        {{"j~", "j1~", "j0~", "j0:5~", "j;~", "j1000:2~", "j."}, "0 Done 100:5;1000:2"},
        {{"j100:5;1000:2~", "j"}, "0 Done 100:5;1000:2"},
        {{"j100:5;."}, "2 Tellarion has error(s) no arrays"},
        {{"j;."}, "2 Tellarion has error(s) no arrays"},
        {{"j"}, "2 Tellarion has error(s) no arrays"},
    };
    open();
    for (const auto& [parts, outcome] : cases) {
        device.on("j").says(10, parts);
        EXPECT_EQ(outcome, count()) << parts.front();
        device.say(head('a', 0, 0));
    }
}

TEST_F(Administration, ACountThatNeverEndsSpoilsTheNextOne)
{
    open();
    device.on("j").says(10, "j100:5,~");
    EXPECT_EQ("6 Timed out no arrays", count());
    device.on("j").says(10, "j50:1;1000:2.");
    EXPECT_EQ("0 Done 100:5,50:1;1000:2", count());
    EXPECT_EQ("0 Done 50:1;1000:2", count());
    device.on("j").answers("2");
    EXPECT_EQ("2 Error no arrays", count());
    EXPECT_EQ(1,
              countOf("cashCount: COstrivane::reset failed, return code = 2, message = Error", errorLog()));
}

TEST_F(Administration, EachOperationRunsInItsStatesAndModes)
{
    struct Operation {
        std::string letter;
        std::function<std::string()> run;
        bool needsMode, inDeposited;
        std::string refused = "12 Not Supported";
        std::string allowed = "0 Done";
    };
    const auto dispense = [] { return dispenseSpecified({{100, 2, 0, 0}}, {}); };
    const std::vector<Operation> operations{
        {"k", [] { return call(adminModeTL, 1); }, false, false, "13 Failed to comply"},
        {"r", [] { return call(unlockTL, 3u); }, true, false},
        {"p", [] { return call(endReplenishTL, "T1"); }, true, false},
        {"n", collect, true, false, "12 Not Supported ; 0", "0 Done ; 0"},
        {"q", purge, true, true, "12 Not Supported ; 0", "0 Done ; 0"},
        {"m", dispense, false, true, "12 Not Supported 100:2; 200", "0 Done ; 0"},
    };
    init();
    for (const Operation& operation : operations) {
        for (const bool administration : {false, true}) {
            for (const std::int32_t state : {1, 2, 3, 4}) {
                device.say(head('a', 0, 3, administration ? 3 : 1));
                g_TLState = state;
                device.on(operation.letter).says(10, "e0.33").says(20, head('a', 0, 3, 3));
                forget();
                const bool allowed = (state == 3 || (state == 4 && operation.inDeposited)) &&
                                     (administration || !operation.needsMode);
                const std::string shown =
                    compose(operation.letter, " in state ", state, ", administration mode: ", administration);
                EXPECT_EQ(allowed ? operation.allowed : operation.refused, operation.run()) << shown;
                EXPECT_EQ(allowed ? operation.letter : "", device.sentLetters()) << shown;
            }
        }
    }
}

TEST_F(Administration, RefusesInOrderAndSaysWhy)
{
    openFor(STATE_PAYIN_ENABLED, false);
    device.say(head('a', 500, 0));
    logicLog();
    EXPECT_EQ("13 Failed to comply", call(adminModeTL, 1));
    g_TLState = STATE_PAYIN_DISABLED;
    EXPECT_EQ("13 Failed to comply", call(adminModeTL, 1));
    EXPECT_EQ("12 Not Supported", call(unlockTL, 1u));
    EXPECT_EQ("4 Amount to dispense too big ; 0", dispenseSpecified({{100000000, 1, 0, 0}}, {}));
    EXPECT_EQ(
        (Texts{"=> CTLLogics::adminMode(1)",
               "!! CTLLogics::adminMode: AdminMode is not allowed from state Payin Enabled",
               "=> CTLLogics::adminMode(1)",
               "!! CTLLogics::adminMode: AdminMode is not allowed when inserted amount > 0",
               "=> CTLLogics::unlock(1)", "!! CTLLogics::unlock: Unlock is not supported not in Admin Mode",
               "=> CTLLogics::dispenseSpecified(1,coinsAndNotes,\"T1\", message)",
               "!! CTLLogics::dispenseSpecified: Amount to dispense is too big", "== "}),
        logicLog());
    EXPECT_EQ("", device.sentLetters());

    // A busy device is waited for; that it then has errors stops nothing.
    device.say(head('a', 0, 1));
    device.sayAfter(50, head('a', 0, 2));
    EXPECT_EQ("0 Done", call(adminModeTL, 2));
    EXPECT_EQ(Texts{"k|2"}, device.sent());
    device.say(head('a', 0, 1));
    EXPECT_EQ("1 Tellarion is busy", call(adminModeTL, 1));
}

TEST_F(Administration, FailuresOfTheThreePlainOnesAreBusy)
{
    openFor(STATE_PAYIN_DISABLED, true);
    device.on("k").answers("Z");
    EXPECT_EQ("1 Send failed", call(adminModeTL, 7));
    EXPECT_EQ("1 Done", call(unlockTL, 4000000000u));
    EXPECT_EQ("1 Done", call(endReplenishTL, nullptr));
    device.on("p").says(10, "e0.33"); // and no "a" after it
    EXPECT_EQ("1 Done", call(endReplenishTL, "T1"));
    EXPECT_EQ((Texts{"k|2", "r|4000000000", "p||#", "p||#T1"}), device.sent());
    const Texts errors = errorLog();
    EXPECT_EQ(1, countOf("COstrivane::adminMode failed, return code = 7, message = Send failed", errors));
    EXPECT_EQ(1, countOf("!! adminModeTL: Failed! Returning 1: Send failed", errors));
    EXPECT_EQ(3, countOf("failed, return code = 6, message = Done", errors));
}

TEST_F(Administration, ReadsWhatIsLeftEachInItsOwnWay)
{
    struct Case {
        Texts answer;
        std::string specified, collected, purged;
    };
    const std::string done = "0 Done ";
    const std::string none = "0 Done ; 0";
    const std::string some = "13 Failed to comply ";
    const std::vector<Case> cases{
        {{"e0whatever.33"}, none, none, none},
        {{"e1;.33"}, none, none, some + "; 0"},
        {{"e1.~33", "e0.33"}, none, none, some + "; 0"},
        {{"e1100:2;.33"}, some + "100:2; 200", some + "; 0", some + "100:2; 200"},
        {{"e1100:2,50:1;.~33", "e2x.~33", "e1;1000:3.33"},
         some + "100:2,50:1;1000:3 3250",
         some + "; 0",
         some + "100:2,50:1;0:0 250"},
        {{"e11;2.33"}, done + "1:0;2:0 0", done + "1:0;2:0 0", some + "1:0;2:0 0"},
        {{}, none, none, none}, // no answer in time
    };
    openFor(STATE_PAYIN_DISABLED, true);
    for (const Case& one : cases) {
        for (const char* const letter : {"m", "n", "q"})
            device.on(letter).says(10, one.answer);
        const std::string name = one.answer.empty() ? "no answer" : one.answer.front();
        EXPECT_EQ(one.specified, dispenseSpecified({{100, 9, 0, 0}}, {{1000, 9, 0, 0}})) << name;
        EXPECT_EQ(one.collected, collect()) << name;
        EXPECT_EQ(one.purged, purge()) << name;
    }
    EXPECT_EQ(1, countOf("purgeTL: Failed! Returning 13: amountRest=250: Failed to comply", errorLog()));
}

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
