// What a device, a file or a till can do wrong: texts and parts without end, line ends where none belong, a
// call beside an exit, reconnecting for years.
#include "environment.h"
#include "library_test.h"

#include "diag/log.h"
#include "events/decoder.h"
#include "events/event_slots.h"

namespace {

class Hardening : public LibraryTest {};

} // namespace

TEST_F(Hardening, TextsAreCutToTheCallersBuffers)
{
    const std::string longText(1500, 'x');
    scratch::write("tllang.ini", "[Lang]\nDone=" + longText + "\n");
    device.on("x").says(10, "x---reserved-17---0312" + longText);
    call(registerEventsTL, onStatus, onError, onCashLevel);
    struct {
        std::array<char, 1024> text{};
        char guard = '#';
    } message, commands;
    apiLog();
    EXPECT_EQ(TL_STATUS_OK, initTL("Type:RS232;Name:COM7;", "", message.text.data()));
    EXPECT_EQ(longText.substr(0, 1023), message.text.data());
    EXPECT_EQ(1,
              countOf("initTL: Ok! Returning 0 (TL_STATUS_OK): " + longText, apiLog())); // whole in the log
    EXPECT_EQ(TL_STATUS_OK, loginTL(1, 1, message.text.data()));
    std::uint32_t level = 0;
    std::array<char, 1024> other{};
    EXPECT_EQ(TL_STATUS_OK,
              infoTL(&level, commands.text.data(), other.data(), other.data(), message.text.data()));
    EXPECT_EQ(longText.substr(0, 1023), commands.text.data());
    EXPECT_EQ('#', message.guard);
    EXPECT_EQ('#', commands.guard);
}

TEST_F(Hardening, AnAnswerWithoutEndIsRefusedAndForgotten)
{
    init();
    const std::string part = "j" + std::string(1023, '1') + "~";
    for (const bool last : {false, true}) {
        for (int i = 0; i < 8; ++i)
            device.say(part);     // 8 times 1023
        device.say("j12345678~"); // and 8 make 8192
        EXPECT_EQ(9, countOf("this is part=", logicLog()));
        forget();
        const std::string tooMuch = last ? "j1" : "j1~";
        device.say(tooMuch);
        EXPECT_EQ((Texts{"== ctllogics.callbackfunc: J command=" + tooMuch,
                         "!! ctllogics.callbackfunc: Error in format of received callback", "!! " + tooMuch}),
                  logicLog());
        EXPECT_EQ(2, countOf("!! ", errorLog()));
        EXPECT_EQ(DEVICE_ERROR, g_nLastCallbackStatus);
        EXPECT_EQ(tooMuch, g_sLastDeviceMessage.get());
        EXPECT_EQ("", g_sCountParts.get());
        EXPECT_FALSE(g_sLastCallbackType.take("j-all"));
    }
    const std::string record = "e1" + std::string(1363, '1') + "~01"; // with its separator 6 of them are 8207
    for (int i = 0; i < 6; ++i)
        device.say(record);
    EXPECT_EQ("", g_sEParts.get());
    EXPECT_EQ(5, countOf("this is e message part=", logicLog()));
    EXPECT_EQ(Texts{}, happened());
}

TEST_F(Hardening, ATextStaysOnItsLine)
{
    init();
    call(depositTL, "T1\r\nw46 14:05:06.007 == \\n");
    EXPECT_EQ(1, countOf("=> depositTL(\"T1\\r\\nw46 14:05:06.007 == \\n\", message)", apiLog()));
    device.say("b000005000115\n!! text\r");
    EXPECT_EQ(1, countOf("<- b000005000115\\n!! text\\r", logicLog()));
    logLine(std::string_view("up to here\0and no further", 26), LOG_NOTE, LOG_FILE_API);
    EXPECT_EQ("## up to here", apiLog().back());
}

TEST_F(Hardening, AMessageStaysWhatItIsWhileItsEventsRun)
{
    static char message[] = "b000005000113 100 SEK";
    open();
    forget();
    g_fnStatusEvent = [](std::int32_t, std::uint16_t, std::uint16_t) { std::fill_n(message, 20, '?'); };
    callbackfunc(message);
    EXPECT_EQ(1, countOf("<- b000005000113 100 SEK", logicLog()));
}

TEST_F(Hardening, ACommandThatFindsNothingBoundIsNotSent)
{
    open();
    device.on("b").answers("10");
    virtual_clock::after(50, [] { EXPECT_EQ("0 Done", call(exitTL)); }); // as another thread would
    device.say(head('a', 0, 1));
    device.sayAfter(100, head('a', 0, 0));
    EXPECT_EQ("7 Send failed", call(logoutTL));
    EXPECT_EQ("b", device.sentLetters());
    EXPECT_EQ(2, countOf("-> B", logicLog()));
}

TEST_F(Hardening, ATillMayReconnectForYears)
{
    std::size_t handles = 0;
    std::size_t memory = 0;
    for (int round = 0; round < 10000; ++round) {
        if (round % 1000 == 0) { // a shop's disk is larger
            for (const char* const file : {"tlapi_Sun.log", "tllogic_Sun.log"})
                scratch::write(std::string("logs/") + file, "");
        }
        if (round == 1000) {
            handles = openHandles();
            memory = memoryInUse();
        }
        ASSERT_EQ("0 Done", call(registerEventsTL, onStatus, onError, onCashLevel));
        ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
        ASSERT_EQ("0 Done", call(exitTL));
        ostrivane().calls.clear();
    }
    EXPECT_LE(openHandles(), handles);
    if (MEMORY_TELLS) {
        EXPECT_LE(memoryInUse(), memory + memory / 10);
    }
    EXPECT_EQ(1, countOf("== exitTL: Ok! Returning 0", {apiLog().back()}));
}

TEST_F(Hardening, AMillionMessagesLeaveNothingBehind)
{
    init("LogDebug:0;LogComToCAPI:0;LogCAPIToCR:0;");
    device.say("v106API4.2");
    const Texts kinds{"a0000050001",
                      "a0000060001",
                      "b0000050001200071005 100 SEK",
                      "b00000500010000013CR/RF00000005",
                      "c0000000301",
                      "j100:5:1~",
                      "j00:1;500:3.",
                      "e1100:5;500:1~01",
                      "e0.01",
                      "b00000500013001210Doors open"};
    std::size_t handles = 0;
    std::size_t memory = 0;
    for (int round = 0; round < 100'000 / TLLOGICS_SLOWDOWN; ++round) {
        if (round == 1000) {
            handles = openHandles();
            memory = memoryInUse();
        }
        for (const std::string& message : kinds)
            callbackfunc(message.c_str());
        g_sEParts.clear(); // as the next operation does
        if (round % 100 == 0)
            happened();
    }
    EXPECT_LE(openHandles(), handles);
    if (MEMORY_TELLS) {
        EXPECT_LE(memoryInUse(), memory + memory / 10);
    }
    EXPECT_EQ(Texts{}, errorLog());
}
