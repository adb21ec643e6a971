// A machine on its port and tills that come to it over the network, all in one process.
#include "simulator/command.h"
#include "simulator/machine_service.h"
#include "simulator/remote_link.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <thread>

using namespace simulator;
using namespace std::chrono_literals;

namespace {

/// A machine that is served from its making to its end.
class Served {
public:
    explicit Served(std::uint16_t port = 0) : m_service(machine), m_server(port, m_service)
    {
        m_thread = std::thread([this] { m_server.run(); });
    }

    ~Served()
    {
        m_server.stop();
        m_thread.join();
    }

    std::uint16_t port() const { return m_server.port(); }

    static Settings quick()
    {
        Settings settings;
        settings.answerDelay = 0;
        return settings;
    }

    Machine machine{quick()};

private:
    MachineService m_service;
    web::Server m_server;
    std::thread m_thread;
};

class Till {
public:
    ~Till() { m_link.close(); }

    int open(std::uint16_t port)
    {
        return m_link
            .open(
                [this](const std::string& message) {
                    const std::lock_guard lock(m_mutex);
                    m_messages.push_back(message);
                    m_changed.notify_all();
                },
                port)
            .code;
    }

    /// Sends a command with "|" for the separator. The status character of the answer.
    char send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', FIELD_SEPARATOR);
        return m_link.command(text).at(2);
    }

    void close() { m_link.close(); }

    /// The first message that begins like this, all before it being dropped; empty if none comes.
    std::string wait(const std::string& beginning)
    {
        std::unique_lock lock(m_mutex);
        while (m_changed.wait_for(lock, 10s, [this] { return !m_messages.empty(); })) {
            const std::string message = m_messages.front();
            m_messages.erase(m_messages.begin());
            if (message.starts_with(beginning))
                return message;
        }
        return "";
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_messages;
    RemoteLink m_link;
};

} // namespace

TEST(MachineService, OnlyTheseNamesLeadToIt)
{
    EXPECT_EQ(7410, RemoteLink::portOf("127.0.0.1:7410"));
    EXPECT_EQ(1, RemoteLink::portOf("localhost:1"));
    for (const char* name : {"COM1", "sim", "10.0.0.7:5000", "127.0.0.1", "127.0.0.1:", "127.0.0.1:0",
                             "127.0.0.1:65536", "127.0.0.1:74a", "127.0.0.1:-1", "127.0.0.2:7410"})
        EXPECT_FALSE(RemoteLink::portOf(name)) << name;
}

TEST(MachineService, ATillWorksOverTheLinkAndNoOtherMeanwhile)
{
    Served served;
    Till till;
    Till other;
    ASSERT_EQ(0, till.open(served.port()));
    EXPECT_EQ(OpeningCode::OPEN_ALREADY, till.open(served.port()));
    EXPECT_EQ(OpeningCode::TILL_THERE, other.open(served.port()));
    EXPECT_EQ('0', till.send("a|01|02|1200"));
    EXPECT_EQ("a0000000001", till.wait("a"));
    EXPECT_EQ(200, served.machine.control("insert", R"({"pieces":["20"]})").status);
    EXPECT_EQ("a0000200001", till.wait("a00002"));
    till.close();
    EXPECT_EQ('3', till.send("j"));
    // What is closed is free at once.
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(0, other.open(served.port()));
        EXPECT_EQ('0', other.send("a|01|02|1200"));
        other.close();
    }
}

TEST(MachineService, NobodyThere)
{
    const std::uint16_t port = Served().port();
    Till till;
    EXPECT_EQ(OpeningCode::NO_ANSWER, till.open(port));
}

TEST(MachineService, TheLinkComesBackWithTheMachine)
{
    auto served = std::make_unique<Served>();
    const std::uint16_t port = served->port();
    Till till;
    ASSERT_EQ(0, till.open(port));
    EXPECT_EQ('0', till.send("a|01|02|1200"));
    EXPECT_EQ("a0000000001", till.wait("a"));

    // A command that waits for its answer does not wait for ever.
    served->machine.control("fault", R"({"name":"answer-late","by":"60s"})");
    auto waiting = std::async(std::launch::async, [&] { return till.send("j"); });
    std::this_thread::sleep_for(100ms);
    served.reset();
    EXPECT_EQ('L', waiting.get());
    EXPECT_EQ('L', till.send("j"));

    served = std::make_unique<Served>(port);
    EXPECT_EQ("a0000000000", till.wait("a"));
    EXPECT_EQ('3', till.send("j"));
    EXPECT_EQ('0', till.send("a|01|02|1200"));
}

TEST(MachineService, ManyAtOnce)
{
    Served served;
    Till till;
    ASSERT_EQ(0, till.open(served.port()));
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!stop)
                till.send("j");
        });
    threads.emplace_back([&] {
        while (!stop)
            served.machine.control("insert", R"({"pieces":["20"]})");
    });
    for (int round = 0; round < 20; ++round) {
        std::this_thread::sleep_for(5ms);
        till.close();
        EXPECT_EQ(0, till.open(served.port()));
        EXPECT_EQ('0', till.send("a|01|02|1200"));
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
}
