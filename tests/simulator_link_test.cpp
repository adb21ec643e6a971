// The link to the simulated device on its own thread and by the real clock.
#include "simulator/embedded_link.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace simulator;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

namespace {

class SimulatorLink : public testing::Test {
protected:
    SimulatorLink() { listener = this; }
    ~SimulatorLink() override { link.close(); }

    static void hear(const std::string& message)
    {
        EXPECT_EQ(1, ++listener->callbacks);
        listener->reaction(message);
        listener->messages.push_back(message);
        --listener->callbacks;
        ++listener->heard;
    }

    int open() { return link.open(&hear, {}).code; }

    void waitFor(int count)
    {
        while (heard < count)
            std::this_thread::sleep_for(1ms);
    }

    /// Sends a command with "|" for the separator. The status character of the answer.
    char send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', FIELD_SEPARATOR);
        return link.command(text).at(2);
    }

    void inject(const std::string& message)
    {
        link.machine()->atDevice([&](DeviceModel& device, Milliseconds now) { device.inject(message, now); });
    }

    void insert(Amount denomination)
    {
        link.machine()->atDevice(
            [&](DeviceModel& device, Milliseconds now) { device.insert(denomination, 1, now); });
    }

    inline static SimulatorLink* listener = nullptr;
    std::function<void(const std::string&)> reaction = [](const std::string&) {};
    std::atomic<int> callbacks = 0; // that run now
    std::atomic<int> heard = 0;
    Texts messages; // the callback's until enough were heard or the link is closed
    EmbeddedLink link;
};

} // namespace

TEST_F(SimulatorLink, DeliversInOrderAndOneAtATime)
{
    ASSERT_EQ(0, open());
    const auto injectAll = [&](const std::string& sender) {
        for (int i = 100; i < 600; ++i)
            inject(sender + std::to_string(i));
    };
    std::thread other(injectAll, "other");
    injectAll("this");
    other.join();
    waitFor(1000);
    // Each sender's messages, taken apart, stand in the order of their numbers.
    std::stable_partition(messages.begin(), messages.end(),
                          [](const std::string& message) { return message.starts_with("other"); });
    EXPECT_TRUE(std::is_sorted(messages.begin(), messages.end()));
}

TEST_F(SimulatorLink, ClosingInsideACallbackEndsTheMessages)
{
    reaction = [&](const std::string& message) {
        if (message == "close")
            link.close();
    };
    ASSERT_EQ(0, open());
    for (const char* message : {"first", "close", "never"})
        inject(message);
    waitFor(2);
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ((Texts{"first", "close"}), messages);
    EXPECT_EQ('3', send("j"));
}

TEST_F(SimulatorLink, ClosingWaitsForTheCallbackThatRuns)
{
    reaction = [&](const std::string&) {
        std::this_thread::sleep_for(200ms);
        send("j"); // must not wait for the one who closes
    };
    ASSERT_EQ(0, open());
    inject("slow");
    inject("never");
    while (callbacks == 0)
        std::this_thread::yield();
    link.close();
    EXPECT_EQ(0, callbacks);
    EXPECT_EQ(Texts{"slow"}, messages);
}

TEST_F(SimulatorLink, EachOpeningStartsAFreshDevice)
{
    std::atomic<bool> stop = false;
    std::thread other([&] {
        while (!stop)
            send("x"); // may come at any time
    });
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(0, open());
        EXPECT_EQ(21, open());
        EXPECT_EQ('0', send("a|01|02|1200"));
        insert(100);
        link.close();
        insert(100);
        link.machine()->atDevice(
            [](const DeviceModel& device, Milliseconds) { EXPECT_EQ(100, device.paidIn()); });
    }
    stop = true;
    other.join();
}
