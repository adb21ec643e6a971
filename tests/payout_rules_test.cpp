// Asking before paying, the limit on money paid per time, and what a pay-out leaves behind.
#include "library_test.h"

namespace {

const std::string limited = "11 Payout larger than allowed limit per time unit";

class PayoutRules : public LibraryTest {
protected:
    void standReady(int state, int paidIn)
    {
        virtual_clock::forget();
        g_TLState = state;
        g_nLastCallbackStatus = DEVICE_READY;
        g_nAmountPaidIn = paidIn;
    }

    std::string payout(int amount, int deposit = 0)
    {
        standReady(STATE_PAYIN_ENABLED, deposit);
        return call(payout2TL, amount, deposit, "T1", &rest);
    }

    std::string dispense(int amount)
    {
        standReady(STATE_PAYIN_DISABLED, 0);
        return call(dispenseTL, amount, "T1", &rest);
    }

    void set(const std::string& settings)
    {
        ASSERT_EQ("0 Done", call(changeSettingsTL, settings.c_str(), 0));
    }

    /// Nothing is asked for before it is paid.
    void openUnasked(const std::string& settings)
    {
        open("AskPayOutAmountLimit:100000000;" + settings);
        setLowLevelWarning(LOW_LEVEL_WARNING_FALSE);
    }

    /// What a later payout finds in the list of recent pay-outs.
    int sumPaidOut()
    {
        logicLog();
        payout(0);
        for (const std::string& line : logicLog())
            if (const auto at = line.find("sumPaidInAmount = "); at != std::string::npos)
                return std::stoi(line.substr(at + 18));
        return -1;
    }

    std::int32_t rest = -77;
};

} // namespace

TEST_F(PayoutRules, AsksBeforeItPays)
{
    struct Row {
        int amount, warning, askedBefore;
        bool asks;
    };
    const std::vector<Row> rows{
        {0, 3, 100, false}, // nothing to ask about
        {4899, 0, 100, false}, {4899, 1, 100, false},  {4899, 2, 100, true},
        {4899, 3, 4899, true}, // low levels: an earlier ask doesn't count
        {4900, 0, 100, true},  {4900, 3, 4900, false}, {4900, 0, 5000, true},
    };
    open();
    for (const bool paying : {true, false}) {
        for (const Row& row : rows) {
            ASSERT_EQ("0 Done", call(askPayoutTL, row.askedBefore));
            setLowLevelWarning(row.warning);
            device.sent();
            EXPECT_EQ("0 Done", paying ? payout(row.amount) : dispense(row.amount));
            EXPECT_EQ(compose(row.asks ? "d" : "", paying ? "f" : "c"), device.sentLetters()) << row.amount;
            EXPECT_FALSE(g_bAskPayoutDone);
        }
    }
}

TEST_F(PayoutRules, EachFailureLeavesBehindWhatItDid)
{
    struct Row {
        std::function<void(Device&)> cause;
        std::string outcome;
        bool askDone; // before, it is set
        int warning;  // before, it is 0
        int counted;  // in the list of recent pay-outs
    };
    const std::string timedOut = "6 Timed out";
    const std::vector<Row> rows{
        {[](Device& d) { d.say(head('a', 900, 2)); }, "2 Tellarion has error(s)", true, 0, 0},
        {[](Device&) { g_TLState = STATE_CASH_DEPOSITED; }, "12 Not Supported", true, 0, 0},
        {[](Device& d) { d.on("d").answers("2"), g_nAskPayoutAmount = 1; }, "2 Error", true, 0, 0},
        {[&](Device&) { set("PayOutAmountPerTimeLimitAmount:4999;"); }, limited, true, 0, 0},
        {[](Device& d) { d.on("f").answers("Z"); }, "7 Send failed", false, 1, 5000},
        {[](Device& d) { d.on("f").says(10, head('a', 900, 2)); }, timedOut, false, 1, 5000},
        {[](Device& d) { d.on("f").says(10, head('a', 900, 1)); }, timedOut, false, 1, 5000},
        {[](Device& d) { d.on("f").says(10, head('a', 900, 1)).says(20, head('b', 900, 2)); }, timedOut,
         false, 1, 5000},
        {[](Device&) {}, "0 Done", false, 0, 5000},
    };
    open("PayOutOkCheck:1;");
    for (const Row& row : rows) {
        set("PayOutAmountPerTimeLimitAmount:10000;");
        standReady(STATE_PAYIN_ENABLED, 900);
        ASSERT_EQ("0 Done", call(askPayoutTL, 5000));
        setLowLevelWarning(LOW_LEVEL_WARNING_FALSE);
        row.cause(device);
        const int state = g_TLState;
        rest = -77;
        const std::string shown = compose(row.outcome, " in row ", &row - rows.data());
        EXPECT_EQ(row.outcome, call(payout2TL, 5000, 0, "T1", &rest)) << shown;
        EXPECT_EQ(0, rest) << shown;
        EXPECT_EQ(state, g_TLState) << shown;
        EXPECT_EQ(row.askDone, g_bAskPayoutDone) << shown;
        EXPECT_EQ(row.warning, g_nCurrentLowLevelWarningState) << shown;
        device.behaveWell();
        set("PayOutAmountPerTimeLimitAmount:10000;");
        EXPECT_EQ(row.counted, sumPaidOut()) << shown;
        virtual_clock::advance(100000);
    }
}

TEST_F(PayoutRules, LimitCountsWhatIsNotOlderThanItsSeconds)
{
    openUnasked("PayOutAmountPerTimeLimitAmount:1000;PayOutOkCheck:1;");
    virtual_clock::advance(1000 - virtual_clock::now() % 1000); // the start of a second
    const std::int64_t first = virtual_clock::now();
    EXPECT_EQ("0 Done", payout(600));
    EXPECT_EQ("0 Done", dispense(400)); // the limit itself is allowed, and both operations share the list
    EXPECT_EQ(limited, payout(1));
    virtual_clock::advance(first + 60999 - virtual_clock::now());
    EXPECT_EQ(limited, dispense(1)); // exactly as old
    const std::string words = "Payout larger than allowed limit per time unit: 60 seconds!";
    const Texts errors = errorLog();
    EXPECT_EQ(1, countOf("!! CTLLogics::payout: (1000 + (1 - 0) > 1000), " + words, errors));
    EXPECT_EQ(1, countOf("!! CTLLogics::dispense: (1000 + 1 > 1000), " + words, errors));
    virtual_clock::advance(1);
    EXPECT_EQ("0 Done", dispense(1000)); // one second more
    set("PayOutAmountPerTimeLimitSeconds:0;");
    EXPECT_EQ(limited, payout(1)); // within the second
    set("PayOutAmountPerTimeLimitAmount:0;");
    EXPECT_EQ("0 Done", payout(4000)); // not even counted
    set("PayOutAmountPerTimeLimitAmount:1000;");
    virtual_clock::advance(1000);
    EXPECT_EQ("0 Done", payout(1000));
}

TEST_F(PayoutRules, AClockSetBackKeepsOldPayoutsAndAYoungOneHoldsTheOthers)
{
    openUnasked("PayOutAmountPerTimeLimitAmount:1000;");
    EXPECT_EQ("0 Done", payout(500));
    virtual_clock::turnWallClock(-3600);
    EXPECT_EQ("0 Done", payout(100)); // the first is from the future now
    virtual_clock::advance(120000);
    EXPECT_EQ(600, sumPaidOut()); // the second is old, but stands behind the first
    virtual_clock::turnWallClock(3600);
    EXPECT_EQ(0, sumPaidOut());
}

TEST_F(PayoutRules, MoneyThatIsKeptMakesRoom)
{
    openUnasked("PayOutAmountPerTimeLimitAmount:1000;");
    EXPECT_EQ("0 Done", payout(700, 200)); // counts 500
    EXPECT_EQ("0 Done", payout(0, 1500));  // counts -1500
    standReady(STATE_PAYIN_ENABLED, 800);
    EXPECT_EQ("0 Done", call(amountDueTL, 800, "T2", &rest)); // no change: counts -800
    EXPECT_EQ(limited, payout(2801));
    EXPECT_EQ("0 Done", payout(2800));
    standReady(STATE_PAYIN_ENABLED, 100);
    EXPECT_EQ(limited, call(amountDueTL, -2000, "T3", &rest)); // more change than was paid in
    EXPECT_EQ(1, countOf("(1000 + (2100 - 100) > 1000)", errorLog()));
}
