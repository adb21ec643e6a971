// The link to the simulated device on its own thread and by the real clock.
#include "simulator/link.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <thread>

using namespace simulator;
using namespace std::chrono_literals;

namespace {

/// What came through the callback, and what it is to do next.
struct Listener {
    std::mutex mutex;
    std::condition_variable heard;
    std::vector<std::string> messages;
    std::function<void(const std::string&)> reaction;
    std::atomic<int> running = 0;
    std::atomic<int> together = 0;

    bool waitFor(std::size_t count)
    {
        std::unique_lock lock(mutex);
        return heard.wait_for(lock, 20s, [&] { return messages.size() >= count; });
    }

    std::vector<std::string> all()
    {
        const std::lock_guard lock(mutex);
        return messages;
    }
};

Listener* listener = nullptr;

int hear(const char* message)
{
    if (++listener->running > 1)
        ++listener->together;
    if (listener->reaction)
        listener->reaction(message);
    {
        const std::lock_guard lock(listener->mutex);
        listener->messages.push_back(message);
    }
    --listener->running;
    listener->heard.notify_all();
    return 1;
}

const char* const login = "a|01|02|1200";

class SimulatorLink : public testing::Test {
protected:
    SimulatorLink()
    {
        listener = &m_listener;
        m_settings.answerDelay = 1;
        m_settings.messageGap = 1;
        m_settings.payOutTime = 5;
    }

    ~SimulatorLink() override { m_link.close(); }

    void open() { ASSERT_EQ(0, m_link.open(&hear, m_settings).code); }

    /// A command with "|" for the separator, and the answer in the same way.
    std::string send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', fieldSeparator);
        std::string answer = m_link.command(text);
        std::replace(answer.begin(), answer.end(), fieldSeparator, '|');
        return answer;
    }

    void inject(const std::string& message)
    {
        m_link.atDevice([&](DeviceModel& device, Milliseconds now) { device.inject(message, now); });
    }

    Amount insert(Amount denomination)
    {
        Amount accepted = 0;
        m_link.atDevice(
            [&](DeviceModel& device, Milliseconds now) { accepted = device.insert(denomination, 1, now); });
        return accepted;
    }

    Settings m_settings;
    Listener m_listener;
    Link m_link;
};

} // namespace

TEST_F(SimulatorLink, DeliversInOrderAndOneAtATime)
{
    open();
    EXPECT_EQ("a|0Ok", send(login));
    std::thread other([&] {
        for (int i = 0; i < 500; ++i)
            inject("other " + std::to_string(i));
    });
    for (int i = 0; i < 500; ++i)
        inject("this " + std::to_string(i));
    other.join();
    ASSERT_TRUE(m_listener.waitFor(1001));

    int others = 0;
    int these = 0;
    for (const std::string& message : m_listener.all()) {
        if (message.starts_with("other")) {
            EXPECT_EQ("other " + std::to_string(others++), message);
        } else if (message.starts_with("this")) {
            EXPECT_EQ("this " + std::to_string(these++), message);
        }
    }
    EXPECT_EQ(0, m_listener.together);
}

TEST_F(SimulatorLink, CommandsMayBeSentFromInsideACallback)
{
    bool paid = false;
    m_listener.reaction = [&](const std::string& message) {
        if (paid || message != "a0000000001")
            return;
        paid = true;
        EXPECT_EQ(10000, insert(10000));
        EXPECT_EQ('0', send("f|00003000|00010000")[2]);
    };
    open();
    send(login);
    ASSERT_TRUE(m_listener.waitFor(4));
    EXPECT_EQ((std::vector<std::string>{"a0000000001", "a0001000001", "a0001000011", "a0000000001"}),
              m_listener.all());
}

TEST_F(SimulatorLink, PayCommandReturnsWithTheDeviceBusyIfAsked)
{
    m_settings.busyInCall = true;
    m_settings.payOutTime = 200;
    open();
    send(login);
    ASSERT_TRUE(m_listener.waitFor(1));
    EXPECT_EQ('0', send("f|00000100|00000000")[2]);
    EXPECT_EQ((std::vector<std::string>{"a0000000001", "a0000000011"}), m_listener.all());
    EXPECT_EQ('1', send("j")[2]);
    ASSERT_TRUE(m_listener.waitFor(3));
}

TEST_F(SimulatorLink, ClosingInsideACallbackEndsTheMessages)
{
    m_listener.reaction = [&](const std::string& message) {
        if (message == "close")
            m_link.close();
    };
    open();
    for (const char* message : {"first", "close", "never"})
        inject(message);
    ASSERT_TRUE(m_listener.waitFor(2));
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ((std::vector<std::string>{"first", "close"}), m_listener.all());
    EXPECT_EQ("j|3Closed", send("j"));
}

TEST_F(SimulatorLink, ClosingWaitsForTheCallbackThatRuns)
{
    std::atomic<bool> inside = false;
    std::atomic<bool> left = false;
    m_listener.reaction = [&](const std::string&) {
        inside = true;
        std::this_thread::sleep_for(50ms);
        send("j"); // must not wait for the one who closes
        left = true;
    };
    open();
    inject("slow");
    inject("never");
    while (!inside)
        std::this_thread::yield();
    m_link.close();
    EXPECT_TRUE(left);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(std::vector<std::string>{"slow"}, m_listener.all());
}

TEST_F(SimulatorLink, OpensAFreshDeviceEachTime)
{
    EXPECT_FALSE(m_link.atDevice([](DeviceModel&, Milliseconds) {}));
    EXPECT_EQ("x|3Closed", send("x"));
    m_settings.openCode = 9;
    EXPECT_EQ(9, m_link.open(&hear, m_settings).code);
    m_settings.openCode = 0;

    for (int round = 0; round < 50; ++round) {
        open();
        EXPECT_EQ(1, m_link.open(&hear, m_settings).code);
        EXPECT_EQ('0', send(login)[2]);
        EXPECT_EQ(100, insert(100));
        m_link.atDevice([](const DeviceModel& device, Milliseconds) { EXPECT_EQ(100, device.paidIn()); });
        m_link.close();
        EXPECT_EQ(0, insert(100));
        m_link.atDevice([](const DeviceModel& device, Milliseconds) {
            EXPECT_EQ(100, device.paidIn());
            EXPECT_TRUE(device.balances());
        });
        m_link.close();
    }
}

TEST_F(SimulatorLink, OpeningClosingAndCommandsMayRace)
{
    std::atomic<bool> stop = false;
    std::thread commands([&] {
        while (!stop) {
            send(login);
            insert(100);
            send("j");
        }
    });
    std::thread closer([&] {
        while (!stop)
            m_link.close();
    });
    int opened = 0;
    for (int round = 0; round < 500; ++round)
        opened += m_link.open(&hear, m_settings).code == 0 ? 1 : 0;
    stop = true;
    commands.join();
    closer.join();
    EXPECT_GT(opened, 0);
    EXPECT_EQ(0, m_listener.together);
}
