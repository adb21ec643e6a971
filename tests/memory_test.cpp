// What becomes of a call, a message and the log when there is no memory: no exception, and never a "Done"
// that isn't.
#include "library_test.h"
#include "scarce_memory.h"

#include "events/decoder.h"
#include "events/event_slots.h"
#include "logic/ctllogics.h"

#include <cstdlib>

namespace {

class Memory : public LibraryTest {
protected:
    /// Runs "action" with no allocation, one, two, and so on until it has enough; how often it hadn't.
    template <typename Prepare, typename Action>
    static int starve(const Prepare& prepare, const Action& action)
    {
        for (int allowed = 0;; ++allowed) {
            prepare();
            allocationsLeft = allowed;
            action();
            const bool enough = allocationsLeft > 0;
            allocationsLeft = -1;
            if (enough)
                return allowed;
        }
    }
};

} // namespace

TEST_F(Memory, EveryCallAnswersWithoutIt)
{
    std::array<char, 1024> message{};
    std::array<char, 1024> text{};
    std::int32_t rest = 0;
    std::uint32_t number = 0;
    std::int32_t type = 1;
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t coinCount = 0;
    std::int32_t noteCount = 0;
    char* const m = message.data();
    char* const t = text.data();
    const char* const id = "a transaction id that no short text holds";
    device.on("j").says(10, "j100:5:1,200:6:2;500:3:1.");
    device.on("n").says(10, "e1100:5;500:1.01");
    open();
    const std::vector<std::pair<const char*, std::function<std::int16_t()>>> calls{
        {"isOpen", [&] { return isOpenTL(&number, m); }},
        {"info", [&] { return infoTL(&number, t, t, t, m); }},
        {"login", [&] { return loginTL(1, 1, m); }},
        {"loginStr", [&] { return loginStrTL("1", id, m); }},
        {"disablePayin", [&] { return disablePayinTL(m); }},
        {"deposit", [&] { return depositTL(id, m); }},
        {"dispense", [&] { return dispenseTL(100, id, &rest, m); }},
        {"enablePayin", [&] { return enablePayinTL(m); }},
        {"askPayout2", [&] { return askPayout2TL(100, &rest, m); }},
        {"payout2", [&] { return payout2TL(100, 0, id, &rest, m); }},
        {"amountDue", [&] { return amountDueTL(0, id, &rest, m); }},
        {"change", [&] { return changeTL(m); }},
        {"regret", [&] { return regretTL(0, m); }},
        {"cashCount", [&] { return cashCountTL(&coins, &coinCount, &notes, &noteCount, m); }},
        {"collect",
         [&] { return collectToCashFloatTL(1, &coins, &coinCount, &notes, &noteCount, &number, id, m); }},
        {"dispenseSpecified",
         [&] { return dispenseSpecifiedTL(0, &coins, &coinCount, &notes, &noteCount, &number, id, m); }},
        {"changeSettings",
         [&] { return changeSettingsTL("LevelWarningFilter:a long filter of no meaning;", 0, m); }},
        {"getLevelWarningInfo", [&] { return getLevelWarningInfoTL(&type, t, t, t, t); }},
        {"getErrorInfo", [&] { return getErrorInfoTL(t, t); }},
        {"init", [&] { return initTL("Type:RS232;Name:COM7;", "", m); }},
        {"exit", [&] { return exitTL(m); }},
    };
    int brokenOffCalls = 0;
    for (const auto& [name, function] : calls) {
        SCOPED_TRACE(name);
        int status = 0;
        int brokenOff = 0;
        starve(
            [&] {
                brokenOff += status == TL_STATUS_ERROR && message.front() == '\0';
                virtual_clock::forget();
                device.say(head('a', 0, 0));
                message.fill('#');
                std::free(std::exchange(coins, nullptr));
                std::free(std::exchange(notes, nullptr));
            },
            [&] { status = function(); });
        brokenOffCalls += brokenOff > 0;
    }
    std::free(coins);
    std::free(notes);
    EXPECT_GT(brokenOffCalls, 12); // some need no memory
    EXPECT_GT(countOf("payout2TL: Failed! Returning 2: ", errorLog()), 0);
}

TEST_F(Memory, ALinkThatWasOpenedIsInitiated)
{
    std::array<char, 1024> message{};
    int status = TL_STATUS_ERROR;
    bool wasOpened = false;
    registerEvents();
    starve(
        [&] {
            EXPECT_EQ(wasOpened ? TL_STATUS_OK : TL_STATUS_ERROR, status);
            EXPECT_EQ(wasOpened ? "0 Done" : "2 Not initiated", call(exitTL));
            registerEvents();
            ostrivane().calls.clear();
        },
        [&] {
            status = initTL("Type:RS232;Name:10.0.0.7:4001;", "", message.data());
            wasOpened = countOf("tl_initiate2", ostrivane().calls) > 0;
        });
    EXPECT_TRUE(wasOpened);
}

TEST_F(Memory, MessagesLoadingAndUnloadingGoOnWithoutIt)
{
    open();
    const std::vector<std::string> messages{head('a', 500, 0), head('b', 500, 0, 1, "05 100 SEK"),
                                            "j1:2;5:1.", "e1100:5;500:1.01", "?"};
    for (const std::string& message : messages)
        starve([] {}, [&] { EXPECT_EQ(1, callbackfunc(message.c_str())); });
    starve([] {}, [] { CTLLogics loadedAndUnloaded; });
}

TEST_F(Memory, AMessageNeedsNoneWhileEveryGateIsShut)
{
    static int events = 0;
    open("LogCRToCAPI:0;LogCAPIToCR:0;LogComToCAPI:0;LogCAPIToCom:0;LogDebug:0;");
    g_fnStatusEvent = [](std::int32_t, std::uint16_t, std::uint16_t) { ++events; };
    allocationsLeft = 0;
    callbackfunc("a0000070001");
    callbackfunc("a0000080001");
    allocationsLeft = -1;
    EXPECT_EQ(2, events);
    EXPECT_EQ(800, g_nAmountPaidIn);
}
