// The machine that stands by itself, by the real clock.
#include "scratch.h"
#include "simulator/machine.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

using namespace simulator;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

namespace {

/// What comes in from the machine's thread.
class Heard {
public:
    void add(const std::string& text)
    {
        const std::lock_guard lock(m_mutex);
        m_texts.push_back(text);
    }

    /// Waits until a text that has "part" in it has come, and answers it.
    std::string waitFor(const std::string& part)
    {
        for (int round = 0; round < 5000; ++round) {
            {
                const std::lock_guard lock(m_mutex);
                for (const std::string& text : m_texts)
                    if (text.find(part) != std::string::npos)
                        return text;
            }
            std::this_thread::sleep_for(1ms);
        }
        return "nothing with " + part;
    }

private:
    std::mutex m_mutex;
    Texts m_texts;
};

class SimulatorMachine : public testing::Test {
protected:
    SimulatorMachine() { std::filesystem::remove(file); }

    Machine::MessageSink sink()
    {
        return [this](const std::string& message) { messages.add(message); };
    }

    static char send(Machine& machine, std::string text)
    {
        std::replace(text.begin(), text.end(), '|', FIELD_SEPARATOR);
        return machine.command(text).at(2);
    }

    static int control(Machine& machine, const char* verb, const char* json = "")
    {
        return machine.control(verb, json).status;
    }

    const std::string file = scratch::path("machine.state");
    const Settings settings = parseSettings(R"({"answerDelay":0,"messageGap":30,"payOutTime":200})");
    Heard messages;
    Heard events;
};

} // namespace

TEST_F(SimulatorMachine, IsWatchedAndWaitedFor)
{
    Machine machine(settings);
    const int number = machine.subscribe([this](const std::string& event) { events.add(event); });
    EXPECT_NE(std::string::npos, events.waitFor(R"("kind":"state")").find(R"("till":false)"));
    ASSERT_EQ(0, machine.open(sink()).code);
    EXPECT_EQ(OpeningCode::TILL_THERE, machine.open(sink()).code);
    EXPECT_EQ(409, control(machine, "insert", R"({"value":5000})"));
    EXPECT_EQ('0', send(machine, "a|07|05|1405"));
    Heard waits;
    const auto wait = [&](const char* json) {
        machine.wait(json, [&](const ControlResult& result) { waits.add(std::to_string(result.status)); });
    };
    wait(R"({"for":"paid-in","amount":"50.00","timeout":"20s"})");
    EXPECT_EQ(200, control(machine, "insert", R"({"value":"50.00"})"));
    EXPECT_EQ("200", waits.waitFor("200"));
    wait(R"({"for":"tray","timeout":50})");
    EXPECT_EQ("409", waits.waitFor("409"));
    wait(R"({"for":"rain"})");
    EXPECT_EQ("400", waits.waitFor("400"));

    messages.waitFor("a0000500001");
    EXPECT_EQ('0', send(machine, "f|00000000|00005000"));
    messages.waitFor("a0000000001");
    EXPECT_EQ(200, control(machine, "fault", R"({"name":"door-open"})"));
    for (const char* const event :
         {R"("kind":"piece","left":41,"time":)", R"("value":5000,"way":"in")",
          R"("words":"pay out 0.00, keep 50.00")", R"("words":"busy, paid in 50.00")",
          R"("change":"begins","kind":"fault","name":"door-open")", R"("status":"error")"})
        EXPECT_TRUE(events.waitFor(event).starts_with("{")) << event;
    machine.unsubscribe(number);
}

TEST_F(SimulatorMachine, ALateAnswerHoldsUpNobodyElse)
{
    Machine machine(settings);
    ASSERT_EQ(0, machine.open(sink()).code);
    control(machine, "fault", R"({"name":"answer-late","by":"60s"})");
    std::thread till([&] { send(machine, "a|07|05|1405"); });
    messages.waitFor("a0000000001"); // the device is logged in while the till still waits
    EXPECT_EQ(200, control(machine, "insert", R"({"value":5000})"));
    machine.close(); // lets the till go
    till.join();
    ASSERT_EQ(0, machine.open(sink()).code); // what was paid in, it finds
    control(machine, "repair");
    EXPECT_EQ('0', send(machine, "a|07|05|1405"));
    EXPECT_EQ("a0000500001", messages.waitFor("a00005000"));
}

TEST_F(SimulatorMachine, ComesBackWithItsMoney)
{
    std::string state;
    {
        Machine machine(settings, file);
        EXPECT_THROW(Machine(settings, file), std::runtime_error);
        ASSERT_EQ(0, machine.open(sink()).code);
        EXPECT_EQ('0', send(machine, "a|07|05|1405"));
        control(machine, "insert", R"({"pieces":[10000,500]})");
        control(machine, "fault", R"({"name":"slow","factor":5})");
        messages.waitFor("a0001050001");
        EXPECT_EQ('0', send(machine, "e|4"));
        Heard waits;
        machine.wait(R"({"for":"tray"})", [&](const ControlResult&) { waits.add("tray"); });
        waits.waitFor("tray");
    } // in the middle of giving back
    {
        Machine machine(settings, file);
        ASSERT_EQ(0, machine.open(sink()).code);
        EXPECT_EQ("a0000050000", messages.waitFor("a0000050000"));
        state = machine.state();
        for (const char* const part :
             {R"("paidIn":500)", R"("tray":{"amount":10000)", R"("balance":true)", R"("name":"slow")"})
            EXPECT_NE(std::string::npos, state.find(part)) << part;
        EXPECT_EQ(200, control(machine, "reset"));
        EXPECT_NE(std::string::npos, machine.state().find(R"("tray":{"amount":0)"));
    }
    scratch::write("machine.state", scratch::read("machine.state").substr(1));
    try {
        Machine(settings, file);
        FAIL() << "a damaged file was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string::npos, std::string(error.what()).find(file + " is damaged")) << error.what();
    }
}
