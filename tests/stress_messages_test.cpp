// Two threads and the real clock: messages at full rate on one, the application on the other.
#include "api/tllogics.h"
#include "events/decoder.h"
#include "events/queues.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "scripted_modules.h"
#include "text/compose.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

std::atomic<int> statusEvents{0};
std::atomic<int> otherEvents{0};

/// "a", "b" or "c" with an amount, ready and open.
std::string head(char letter, int amount)
{
    return compose(letter, leftPadded(amount, 8), "01");
}

class Stress : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, registerEvents2TL([](std::int32_t, std::uint16_t, std::uint16_t) { ++statusEvents; },
                                       [](std::int32_t, const char*, const char*) {},
                                       [](std::int32_t, std::uint16_t, const char*) { ++otherEvents; },
                                       [](std::uint16_t, std::int32_t, const char*) { ++otherEvents; },
                                       message.data()));
        ASSERT_EQ(
            0, initTL("Type:RS232;Name:COM7;", "LogDebug:0;LogComToCAPI:0;LogCAPIToCR:0;", message.data()));
        g_nCurrentLowLevelWarningState.beginPayOut();
        g_nCurrentLowLevelWarningState.endPayOut(); // nothing is asked for first
        g_TLState = STATE_PAYIN_ENABLED;
        ostrivane().deliver(head('a', 0));
    }

    std::array<char, 1024> message{};
};

} // namespace

TEST_F(Stress, OperationsPollWhileMessagesPour)
{
    std::atomic<int> begun{0}; // the rest of the "c" that was last begun, and last ended
    std::atomic<int> ended{0};
    std::jthread device([&](const std::stop_token& stop) {
        for (int n = 1; !stop.stop_requested(); ++n) {
            ostrivane().deliver(head('a', n % 1000));
            ostrivane().deliver(head('b', n % 1000) + "05 100 SEK");
            begun = n;
            ostrivane().deliver(head('c', n));
            ended = n;
            ostrivane().deliver(head('b', n % 1000) + "BO/WD00000150");
            ostrivane().deliver(n % 2 == 0 ? "j100:2,5" : "j00:1;2000:3~");
            ostrivane().deliver("x---reserved-17---0312ABCDEF");
            ostrivane().deliver(head('a', n % 1000 + 1));
        }
    });
    const auto end = std::chrono::steady_clock::now() + 3s;
    int asked = 0;
    for (std::int32_t last = 0; std::chrono::steady_clock::now() < end; ++asked) {
        const int before = ended;
        std::int32_t rest = 0;
        EXPECT_EQ(8, askPayout2TL(5000, &rest, message.data())) << message.data();
        EXPECT_LE(before, rest);
        EXPECT_LE(last, rest);
        EXPECT_GE(begun, rest);
        last = rest;
        std::uint32_t open = 0;
        EXPECT_EQ(0, isOpenTL(&open, message.data()));
        EXPECT_EQ(1U, open);
        EXPECT_EQ(0, informTotalAmountTL(5, message.data()));
        EXPECT_EQ(0, resetTL(message.data()));
        EXPECT_EQ(0,
                  changeSettingsTL("LevelWarningFilter:20991231:1;CurrencyDecimals:2;", 0, message.data()));
    }
    EXPECT_LT(0, asked);
    EXPECT_EQ(0, exitTL(message.data())); // while messages still come
    device.request_stop();
    device.join();
    EXPECT_LT(0, statusEvents);
    EXPECT_LT(0, otherEvents);
}

TEST_F(Stress, ANameIsSeenWithItsFieldsAndNeverBefore)
{
    // What waits do, without their sleep: each "c" is awaited while it is being taken in.
    std::atomic<int> taken{0};
    std::jthread device([&](const std::stop_token& stop) {
        for (int n = 1; !stop.stop_requested(); ++n) {
            ostrivane().deliver(head('c', n));
            while (taken < n && !stop.stop_requested())
                std::this_thread::yield();
        }
    });
    for (int n = 1; n <= 5000; ++n) {
        while (!g_sLastCallbackType.take("c")) {
        }
        ASSERT_EQ(n, g_nAskPayoutRest);
        taken = n;
    }
}

TEST_F(Stress, QueuesAreFilledAndFetchedAtOnce)
{
    std::jthread device([](const std::stop_token& stop) {
        for (int n = 1; !stop.stop_requested();)
            n += pushToCashSessionQueue(std::to_string(n)) == TL_STATUS_OK;
    });
    for (int n = 1; n <= 2000;) {
        std::string text;
        if (retrieveFromCashSessionQueue(text) == TL_STATUS_OK) {
            ASSERT_EQ(std::to_string(n++), text);
        }
    }
}

namespace {

/// Messages as fast as they come, from so many threads, and a device that answers everything.
class Pouring {
public:
    explicit Pouring(int threads)
    {
        for (int i = 0; i < threads; ++i)
            m_threads.emplace_back([](const std::stop_token& stop) {
                for (int n = 1; !stop.stop_requested(); ++n) {
                    for (const char* const message :
                         {"x---reserved-17---0312ABCDEFGHIJKLMNPQRVX", "v106API4.2",
                          "b00000500012000705 100 SEK", "j100:2,5;500:1.", "e0.01", "a0000050011",
                          "c0000000001", "b0000050021A jam at place07."})
                        callbackfunc(message);
                    callbackfunc(head('a', n % 1000).c_str());
                }
            });
    }

private:
    std::vector<std::jthread> m_threads;
};

/// What an application may ask for, one after the other, and whatever comes of it.
void callEverything()
{
    std::array<char, 1024> text{};
    std::array<char, 1024> other{};
    std::int32_t rest = 0;
    std::uint32_t number = 0;
    char* const m = text.data();
    loginTL(1, 1, m);
    changeSettingsTL("LevelWarningFilter:20991231:1;PayOutAmountPerTimeLimitAmount:500;StatusOkTimeout:1;", 1,
                     m);
    infoTL(&number, other.data(), other.data(), other.data(), m);
    askPayout2TL(5000, &rest, m);
    payout2TL(1, 1, "T1", &rest, m);
    disablePayinTL(m);
    depositTL("T1", m);
    dispenseTL(1, "T1", &rest, m);
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t coinCount = 0;
    std::int32_t noteCount = 0;
    cashCountTL(&coins, &coinCount, &notes, &noteCount, m);
    std::free(coins);
    std::free(notes);
    getErrorInfoTL(m, other.data());
    isOpenTL(&number, m);
    logoutTL(m);
}

} // namespace

TEST_F(Stress, FourThreadsOfMessagesAndTwoOfCallsDontCrash)
{
    const Pouring messages(4);
    std::jthread second([](const std::stop_token& stop) {
        while (!stop.stop_requested())
            callEverything();
    });
    const auto end = std::chrono::steady_clock::now() + 1s;
    while (std::chrono::steady_clock::now() < end)
        callEverything();
}

TEST_F(Stress, AnExitMayComeFromAnEventOrBesideACall)
{
    static std::atomic<int> left{0};
    const auto onStatus = [](std::int32_t, std::uint16_t, std::uint16_t) {
        std::array<char, 1024> text{};
        if (left.fetch_sub(1) == 1)
            exitTL(text.data());
    };
    const auto onError = [](std::int32_t, const char*, const char*) {};
    const auto onLevel = [](std::int32_t, std::uint16_t, const char*) {};
    const Pouring messages(4);
    std::jthread second([](const std::stop_token& stop) {
        while (!stop.stop_requested())
            callEverything();
    });
    const auto end = std::chrono::steady_clock::now() + 1s;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        left = round % 20;
        registerEventsTL(onStatus, onError, onLevel, message.data());
        initTL("Type:RS232;Name:COM7;", "LogDebug:0;LogComToCAPI:0;LogCAPIToCR:0;", message.data());
        std::this_thread::sleep_for(5ms);
        if (round % 2 == 0)
            exitTL(message.data());
    }
}
