// Opening and closing a session, and what is known of the device meanwhile.
#include "till.h"

namespace {

class Session : public Till {
protected:
    /// Level, commands, master and info as the application gets them.
    std::string info()
    {
        std::uint32_t level = 99;
        std::array<char, 256> commands{"-"}, master{"-"}, info{"-"};
        const std::string outcome = call(infoTL, &level, commands.data(), master.data(), info.data());
        return compose(outcome, " ", level, " ", commands.data(), " ", master.data(), " ", info.data());
    }

    std::uint32_t isOpen()
    {
        std::uint32_t open = 99;
        EXPECT_EQ("0 Done", call(isOpenTL, &open));
        return open;
    }
};

} // namespace

TEST_F(Session, LoginNumbersAreTheLastTwoDigits)
{
    const std::vector<std::array<const char*, 3>> rows{
        {"12345", "5", "a|45|05|1405"}, {"1200", "00", "a|00|00|1405"}, {"XY", "", "a|01|01|1405"},
        {"A7", "7A", "a|07|07|1405"},   {"-5", "x-9", "a|05|09|1405"},
    };
    init();
    for (const auto& [number, digits, command] : rows) {
        g_TLState = STATE_LOGGED_OUT;
        EXPECT_EQ("0 Done", call(loginStrTL, number, digits));
        EXPECT_EQ(command, device.sent().back()) << number << " " << digits;
    }
    EXPECT_EQ("0 Done", call(loginTL, -32768, 100));
    EXPECT_EQ("a|68|00|1405", device.sent().back());
}

TEST_F(Session, TheDeviceIsAskedWhatItCanDo)
{
    init();
    EXPECT_EQ("5 Closed 99 - - -", info());
    EXPECT_EQ("0 Done", call(loginTL, 7, 5));
    EXPECT_EQ((Texts{"x|20261122140506007", "a|07|05|1405"}), device.sent());
    EXPECT_EQ("0 Done 1 ABCDEFGHIJKLMNPQRX 03.12 Tellarion", info());
    EXPECT_EQ(STATE_PAYIN_ENABLED, g_TLState);
    EXPECT_EQ(1U, isOpen());
    EXPECT_EQ("0 Done", call(logoutTL));
    EXPECT_EQ(0U, isOpen());
    EXPECT_EQ(STATE_LOGGED_OUT, g_TLState);
    EXPECT_EQ("5 Closed 99 - - -", info());
}

TEST_F(Session, DevicesOfTheNewerKindGetTheWholeLoginText)
{
    openLong();
    EXPECT_EQ("0 Done 2 ABCDEFGHIJKLMNPQRVX 03.12 API4.2", info());
    EXPECT_EQ("0 Done", call(loginStrTL, "1", "AB"));
    EXPECT_EQ("xva", device.sentLetters());
    for (const std::size_t length : {0, 2, 64}) {
        EXPECT_EQ("0 Done", call(loginStrTL, "1", std::string(length, 'Z').c_str()));
        EXPECT_EQ(compose("a202611221405", leftPadded(static_cast<int>(length), 2), std::string(length, 'Z')),
                  device.sent().back());
    }
    EXPECT_DEATH(call(loginStrTL, "1", std::string(65, 'Z').c_str()), "");
}

TEST_F(Session, AQueryThatFailsDoesNotStopALogin)
{
    init();
    device.on("x").answers("2");
    EXPECT_EQ("0 Done", call(loginTL, 7, 5));
    EXPECT_EQ("0 Done 0 ABCDEF  ", info());
    EXPECT_EQ("12 Not Supported", call(enablePayinTL));
    EXPECT_EQ(1, countOf("COstrivane::queryCommandSet failed, return code = 2, message = Error", errorLog()));

    device.on("x").says(10, "x---reserved-17---0312V"); // and "v" is never answered
    EXPECT_EQ("0 Done", call(loginTL, 7, 5));
    EXPECT_EQ("0 Done 1 V 03.12 Tellarion", info());
    EXPECT_EQ("0 Done", call(enablePayinTL));
}

TEST_F(Session, AutoDisableEndsALoginAndItsFailureIsOnlyLogged)
{
    init("AutoDisable:1;");
    EXPECT_EQ("0 Done", call(loginTL, 7, 5));
    EXPECT_EQ("xag", device.sentLetters());
    EXPECT_EQ(STATE_PAYIN_DISABLED, g_TLState);

    device.on("g").answers("0");
    g_TLState = STATE_LOGGED_OUT;
    EXPECT_EQ("0 Done", call(loginTL, 7, 5));
    EXPECT_EQ(1, countOf("AutoDisable failed: nReturn=6, message = Timed out", errorLog()));
    EXPECT_EQ(STATE_PAYIN_ENABLED, g_TLState);
}

TEST_F(Session, ALoginThatDoesNotOpenIsGivenUp)
{
    init();
    const std::vector<std::pair<Texts, Texts>> rows{
        {{head('a', 50, 0, 2)}, {"status 50 0 0", "status 0 2 0"}}, // mode 2 shows as 0 while logged out
        {{head('a', 50, 1, 1)}, {"status 50 1 1", "status 0 2 0"}},
        {{head('a', 50, 0, 0)}, {"status 50 0 0", "status 0 2 0"}},
        {{}, {"status 0 2 0"}},
    };
    for (const auto& [answer, events] : rows) {
        device.on("a").says(5, answer);
        forget();
        g_nLastCallbackStatus = DEVICE_READY;
        EXPECT_EQ("13 Failed to comply", call(loginTL, 7, 5));
        EXPECT_EQ(events, happened());
        EXPECT_EQ(Texts{"tl_loggedout"}, ostrivane().calls);
        EXPECT_EQ(STATE_LOGGED_OUT, g_TLState);
        EXPECT_EQ(DEVICE_ERROR, g_nLastCallbackStatus);
        EXPECT_EQ(MODE_CLOSED, g_nLastCallbackMode);
        EXPECT_EQ(0U, isOpen());
    }
    device.on("a").says(5, head('a', 0, 0));
    EXPECT_EQ("0 Done", call(loginTL, 7, 5)); // the error status that stays doesn't stop the next one

    ASSERT_EQ("0 Done", call(exitTL));
    ostrivane().missingFunctions = {"tl_loggedout"}; // a library that need not hear of it
    init();
    device.on("a");
    EXPECT_EQ("13 Failed to comply", call(loginTL, 7, 5));
}

TEST_F(Session, RefusedLoginsAndLogoutsPassTheAnswerOn)
{
    open();
    const std::vector<std::pair<const char*, const char*>> answers{
        {"1", "1 Busy"},        {"2", "2 Error"},          {"3", "5 Closed"},
        {"Z", "7 Send failed"}, {"\x1C", "7 Send failed"},
    };
    for (const auto& [answer, outcome] : answers) {
        device.on("a").answers(answer);
        EXPECT_EQ(outcome, call(loginTL, 7, 5));
        device.on("b").answers(answer);
        EXPECT_EQ(outcome, call(logoutTL));
        EXPECT_EQ(STATE_PAYIN_ENABLED, g_TLState);
    }
}
