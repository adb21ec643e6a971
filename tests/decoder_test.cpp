// What each message of the device does: the shared state, the log, and the events.
#include "library_test.h"

namespace {

class Decoder : public LibraryTest {
protected:
    /// The logic log after one message.
    Texts logged(const std::string& message)
    {
        forget();
        device.say(message);
        return logicLog();
    }

    void expectRefused(const std::string& message, const std::string& line, bool inErrorLog = true)
    {
        device.say(head('a', 77, 3, 3));
        const Texts logic = logged(message);
        Texts expected{"!! ctllogics.callbackfunc: Error in format of received callback", "!! " + message};
        expected.insert(expected.begin(), inErrorLog ? 1 : 0, "!! " + line);
        EXPECT_EQ(expected, errorLog()) << message;
        expected.insert(expected.begin(), inErrorLog ? 0 : 2, "!! " + line);
        EXPECT_EQ(expected, logic) << message;
        EXPECT_EQ(DEVICE_ERROR, g_nLastCallbackStatus) << message;
        EXPECT_EQ(3, g_nLastCallbackMode) << message;
        EXPECT_EQ(77, g_nAmountPaidIn) << message;
        EXPECT_EQ(Texts{}, happened()) << message;
        EXPECT_TRUE(g_sLastCallbackType.take("a")) << message;
        EXPECT_EQ(message, g_sLastDeviceMessage.get());
    }
};

const std::string tooShort = "formatCallbackArg: Callback string too short";
const std::string noAmount = "formatCallbackArg: amountOrRest atoi-conversion failed";
const std::string noStatus = "formatCallbackArg: nStatus atoi-conversion failed";
const std::string noMode = "formatCallbackArg: nMode atoi-conversion failed";

} // namespace

TEST_F(Decoder, MalformedMessagesAreAnErrorStatusAndNothingElse)
{
    open();
    for (const char* const message :
         {"", "a", "b", "c", "a000000000", "c000000001", "x", "x2345678901234567890", "e"})
        expectRefused(message, tooShort);
    for (const char* const message : {"a00000abc01", "b0000000 01", "c        01", "aabcdefgh01"})
        expectRefused(message, noAmount, false);
    for (const char* const message : {"a00000000x1", "a00000000-1", "b00000000 1", "ex1", "e1"})
        expectRefused(message, noStatus);
    for (const char* const message : {"a000000000x", "c000000000 tail", "e0-"})
        expectRefused(message, noMode);
    expectRefused("a-000000501", "formatCallbackArg invalid amountOrRest from: a-000000501");
    ostrivane().callback(nullptr);
    EXPECT_EQ(1, countOf("!! " + tooShort, errorLog()));
}

TEST_F(Decoder, LongMessagesMayNotEndInsideTheirHead)
{
    openLong();
    for (std::size_t length = 12; length < 18; ++length)
        expectRefused(std::string("b00000000011234502").substr(0, length), tooShort);
    device.say("b00000000010000000");
    EXPECT_EQ(DEVICE_READY, g_nLastCallbackStatus);
}

TEST_F(Decoder, WhichMessagesMoveTheState)
{
    struct Row {
        int state, lastStatus;
        char lastCommand;
        int status, mode;
        int newState, newMode;
        bool open;
    };
    const std::vector<Row> rows{
        {1, 0, 'A', 0, 1, 2, 1, true},  {1, 0, 'A', 3, 1, 3, 1, true},  {1, 0, 'X', 0, 0, 1, 0, false},
        {1, 0, 'A', 1, 1, 1, 1, false}, {1, 0, 'A', 0, 2, 1, 0, false}, {1, 2, 'B', 0, 1, 2, 1, true},
        {2, 0, 'A', 3, 1, 2, 1, true},  {2, 2, 'A', 3, 1, 3, 1, true},  {4, 2, '3', 0, 1, 2, 1, true},
        {4, 2, 'F', 0, 1, 4, 1, true},  {3, 2, '3', 2, 1, 3, 1, false}, {2, 2, 'A', 0, 2, 2, 2, false},
        {0, 0, 'A', 0, 1, 0, 1, true},
    };
    open();
    for (const Row& row : rows) {
        g_TLState = row.state;
        g_nLastCallbackStatus = row.lastStatus;
        g_nLastCommand = row.lastCommand;
        g_sLastDeviceMessage.clear();
        device.say(head('a', 0, row.status, row.mode));
        const std::string shown = compose(row.state, row.lastStatus, row.lastCommand, row.status, row.mode);
        EXPECT_EQ(row.newState, g_TLState) << shown;
        EXPECT_EQ(row.newMode, g_nLastCallbackMode) << shown;
        EXPECT_EQ(row.open, g_bDeviceOpen) << shown;
        EXPECT_EQ(Texts{compose("status 0 ", row.status, " ", row.newMode)}, happened()) << shown;
        g_TLState = 2;
        device.say(head('b', 1, row.status, row.mode)); // moves everything but the state
        EXPECT_EQ(2, g_TLState);
        happened();
        EXPECT_EQ(row.open, g_bDeviceOpen) << shown;
    }
}

TEST_F(Decoder, ABIsSortedByHeadKindAndFirstCharacter)
{
    struct Row {
        int amount, status;
        std::string tail;
        Texts events;
    };
    const std::string high = "warning 3 10000 999 High 100 100 High ( SEK";
    const std::vector<Row> rows{
        {5, 0, "0000005Tella", {"session 4 0 Tella"}}, // head unchanged
        {6, 0, "0000005Tella", {"status 6 0 1", "session 4 0 Tella"}},
        {6, 2, "0004216Device error 07.", {"status 6 2 1", "error 7 Device error 07. ErrorInfo Not set"}},
        {6, 2, "1004216Device error 07.", {}}, // an error already: sorted by its text
        {6, 2, "1004205Tella", {"session 4 0 Tella"}},
        {6, 0, "3004205Door!cut", {"status 6 0 1", "information Door!"}},
        {6, 2, "1004204Jam!", {"status 6 2 1", "error 42 Jam! ErrorInfo Not set"}},
        {0, 0, "0000013BO/WD00000150", {"status 0 0 1", "session 0 150 BO/WD00000150"}},
        {0, 0, "1004210100 SEK on and on", {"level 10000 999 100 SEK on", high + " on) 100 SEK on"}},
    };
    openLong();
    device.say(head('a', 5, 0));
    for (const Row& row : rows) {
        happened();
        device.say(head('b', row.amount, row.status, 1, row.tail));
        EXPECT_EQ(row.events, happened()) << row.tail;
    }
}

TEST_F(Decoder, WhatXAndVTell)
{
    openLong();
    device.say("x2345678901234567A1B2"); // a character short of any commands
    EXPECT_EQ("03.12", g_sMasterVersion.get());
    device.say("x---reserved-17--7A1B29Q8R");
    EXPECT_EQ("A1.B2", g_sMasterVersion.get());
    EXPECT_EQ("QR", g_sSupportedCommands.get());
    const std::vector<std::tuple<const char*, int, const char*>> versions{
        {"v203abcd", 2, "abc"}, {"v199abcd", 1, "abcd"}, {"v100abcd", 1, ""},
        {"v3x1abcd", 3, ""},    {"v9", 3, ""},           {"v", 3, ""}};
    for (const auto& [message, kind, text] : versions) {
        device.say(message);
        EXPECT_EQ(kind, g_nApiVersionKind) << message;
        EXPECT_EQ(text, g_sApiVersion.get()) << message;
    }
}
