// The very round in which a wait ends.
#include "library_test.h"

namespace {

using Arrange = std::function<void(Device& device, int milliseconds)>;
using Call = std::function<std::string()>;

/// A wait that a message ends: "arrange" has it come "milliseconds" after the wait began.
struct Wait {
    const char* name;
    int timeout;
    Arrange arrange;
    Call operation;
    std::string tooLate;
    std::string inTime = "0 Done";
    int around = 0; // milliseconds that a failing operation spends beside this wait
};

/// Makes the device busy, to be relieved by a message.
Arrange busyUntil(const std::string& message)
{
    return [=](Device& device, int milliseconds) {
        device.say(head('a', 0, 1));
        device.sayAfter(milliseconds, message);
    };
}

Arrange answering(const std::string& command, const std::string& message)
{
    return [=](Device& device, int milliseconds) { device.on(command).says(milliseconds, message); };
}

/// A device that turns busy only then.
Arrange busyThen(const std::string& command)
{
    return [=](Device& device, int milliseconds) {
        device.on(command).says(milliseconds, head('a', 0, 1)).says(milliseconds + 10, head('a', 0, 0));
    };
}

/// A device that turns busy and then has all that time to be ready again.
Arrange readyAgain(const std::string& command, int status)
{
    return [=](Device& device, int milliseconds) {
        device.on(command).says(10, head('a', 500, 1)).says(10 + milliseconds, head('a', 0, status));
    };
}

/// A login whose answer comes at once and opens the device only then.
void loginThen(Device& device, int milliseconds, const std::string& message)
{
    device.on("a").says(10, head('a', 0, 0, 3)).says(10 + milliseconds, message);
}

const Call enablePayin = [] { return call(enablePayinTL); };
const Call login = [] { return call(loginTL, 1, 1); };
const Call logout = [] { return call(logoutTL); };
const Call ask = [] { return call(askPayoutTL, 5); };
const Call payout = [] { return call(payoutTL, 0, 0, ""); };
const Call dispense = [] {
    g_TLState = STATE_PAYIN_DISABLED;
    return call(dispenseTL, 0, "", nullptr);
};
// With money paid in, so that the device must turn busy.
const Call change = [] { return g_nAmountPaidIn = 500, call(changeTL); };
const Call regret = [] { return g_nAmountPaidIn = 500, call(regretTL, 0); };

const std::string stillBusy = "1 Tellarion is busy";
const std::string hasError = "2 Tellarion has error(s)";
const std::string timedOut = "6 Timed out";
const std::string ready = head('a', 0, 0);
const std::string readyDisabled = head('a', 0, 3);
const std::string closed = head('a', 0, 0, 0);

const std::vector<Wait> waits{
    {"gate", 15000, busyUntil(ready), enablePayin, stillBusy},
    {"gate, pay-in disabled", 15000, busyUntil(readyDisabled), ask, stillBusy},
    {"payout's gate", 15000, busyUntil(ready), payout, stillBusy},
    {"reset's gate", 15000, busyUntil(ready), [] { return call(resetTL); }, stillBusy},
    {"regret's gate", 10000, busyUntil(ready), [] { return call(regretTL, 0); }, stillBusy},
    {"login's gate", 15000, busyUntil(ready), login, stillBusy},
    {"logout's gate", 2000,
     [](Device& device, int milliseconds) {
         device.say(head('a', 0, 1));
         device.on("b").answers("10").says(milliseconds, closed);
     },
     logout, stillBusy},
    {"ask", 5000, answering("d", head('c', 0, 0)), ask, timedOut},
    {"total", 5000, answering("l", ready), [] { return call(informTotalAmountTL, 5); }, "6 Done"},
    {"login's mode", 5000, [](Device& device, int at) { loginThen(device, at, ready); }, login, timedOut,
     "0 Done", 30},
    {"logout", 5000, answering("b", closed), logout, timedOut},
    {"disablePayin", 5000, answering("g", readyDisabled), [] { return call(disablePayinTL); }, timedOut},
    {"dispense starts", 5000, busyThen("c"), dispense, timedOut},
    {"dispense stops", 2000, readyAgain("c", 3), dispense, timedOut, "0 Done", 10},
    {"payout starts", 5000, busyThen("f"), payout, timedOut},
    {"payout stops", 2000, readyAgain("f", 0), payout, timedOut, "0 Done", 10},
    {"change starts", 5000, busyThen("e|1"), change, timedOut},
    {"change stops", 2000, readyAgain("e|1", 3), change, timedOut, "0 Done", 10},
    {"regret stops", 2000, readyAgain("e|2", 0), regret, timedOut, "0 Done", 10},
};

class Waits : public LibraryTest {
protected:
    void SetUp() override { open("PayOutOkCheck:1;ChangeOkCheck:1;RegretOkCheck:1;StatusOkTimeout:2;"); }

    void standReady()
    {
        virtual_clock::forget();
        device.behaveWell();
        device.say(ready);
        g_sLastCallbackType.clear(); // an old name would end a wait for it at once
        g_TLState = STATE_PAYIN_ENABLED;
        g_nAmountPaidIn = 0;
    }
};

} // namespace

TEST_F(Waits, AMatchCountsBeforeTheLastRoundAndNotInIt)
{
    for (const Wait& wait : waits) {
        for (const int at : {wait.timeout - 10, wait.timeout, 1000000}) {
            standReady();
            wait.arrange(device, at);
            const std::int64_t start = virtual_clock::now();
            EXPECT_EQ(at < wait.timeout ? wait.inTime : wait.tooLate, wait.operation())
                << wait.name << " at " << at;
            if (at > wait.timeout) {
                EXPECT_EQ(wait.timeout + 10 + wait.around, virtual_clock::now() - start) << wait.name;
            }
        }
    }
}

TEST_F(Waits, AnErrorCountsUpToTheRoundThatGivesUp)
{
    for (const bool inTime : {true, false}) {
        const int at = inTime ? 5010 : 5020;
        standReady();
        device.on("d").says(at, head('a', 0, 2));
        EXPECT_EQ(inTime ? hasError : timedOut, ask());

        standReady();
        loginThen(device, at, head('a', 0, 2, 3));
        EXPECT_EQ(inTime ? hasError : timedOut, login());

        standReady();
        busyUntil(head('a', 0, 2))(device, at + 10000);
        EXPECT_EQ(inTime ? hasError : stillBusy, enablePayin());

        // Told as a timeout where money is on its way; the log knows better.
        standReady();
        logicLog();
        device.on("f").says(at, head('a', 0, 2));
        EXPECT_EQ(timedOut, payout());
        EXPECT_EQ(1,
                  countOf(compose("doPayout start timed out, return code = ", inTime ? 2 : 6), logicLog()));
        standReady();
        device.on("g").says(at, head('a', 0, 2));
        EXPECT_EQ(timedOut, call(disablePayinTL)); // here too
    }
    standReady();
    device.on("l").says(10, head('a', 0, 2));
    EXPECT_EQ("2 Done", call(informTotalAmountTL, 5)); // the message of the send
}

TEST_F(Waits, OnlyPayoutInsistsOnPayinEnabled)
{
    busyUntil(readyDisabled)(device, 50);
    EXPECT_EQ(stillBusy, payout());
    standReady();
    readyAgain("f", 3)(device, 50);
    EXPECT_EQ(timedOut, payout());
    standReady();
    busyUntil(readyDisabled)(device, 50);
    EXPECT_EQ("0 Done", dispense());
}

TEST_F(Waits, ErrorsDoNotKeepALogoutFromClosing)
{
    device.say(head('a', 0, 1));
    device.on("b").answers("10").says(100, head('a', 0, 2, 1)).says(300, head('a', 0, 2, 0));
    EXPECT_EQ("0 Done", logout()); // busy, then error at the gate, and tried again all the same
    EXPECT_EQ("bb", device.sentLetters());
    EXPECT_EQ(STATE_LOGGED_OUT, g_TLState);
}

TEST_F(Waits, WhatWasPaidInWhenItBeganDecidesForChangeAndAfterTheGateForRegret)
{
    call(changeSettingsTL, "ChangeOkCheck:0;RegretOkCheck:0;", 0);
    for (const bool regretting : {false, true}) {
        standReady();
        device.on("e|1");
        device.on("e|2");
        device.say(head('a', 0, 1));
        device.sayAfter(100, head('a', 500, 0)); // paid in meanwhile
        EXPECT_EQ(regretting ? timedOut : "0 Done", regretting ? call(regretTL, 0) : call(changeTL));
    }
}
