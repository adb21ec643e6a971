// A till on the simulated device, both on the virtual clock.
#pragma once

#include "library_test.h"
#include "simulator/control.h"

class SimulatedTill : public LibraryTest {
protected:
    void SetUp() override { useDevice({}); }

    void useDevice(const simulator::Settings& settings)
    {
        machine = simulator::DeviceModel(settings);
        machine.tillCame(false, virtual_clock::now());
        ostrivane().onCommand = [this](std::string command) {
            std::replace(command.begin(), command.end(), '|', simulator::FIELD_SEPARATOR);
            const auto answer = machine.command(command, virtual_clock::now());
            deliver();
            virtual_clock::advance(answer.lateness);
            return answer.text;
        };
        forget();
    }

    /// A status, and the reason if it is not 200.
    std::string control(const char* verb, const std::string& json = "")
    {
        const auto result = simulator::control(machine, verb, json, virtual_clock::now());
        deliver();
        return result.status == 200 ? "200" : compose(result.status, " ", result.body);
    }

    void insert(simulator::Amount denomination)
    {
        EXPECT_EQ("200", control("insert", compose(R"({"value":)", denomination, "}")));
        virtual_clock::advance(500);
    }

    /// What lies in the tray, which is then empty.
    std::string take()
    {
        const auto pieces = machine.takePaidOut(virtual_clock::now());
        deliver();
        std::string text;
        for (const simulator::Amount piece : simulator::largestFirst(pieces))
            text += compose(text.empty() ? "" : " ", piece);
        return text;
    }

    simulator::DeviceModel machine;

private:
    /// What is due, and again when the next thing is.
    void deliver()
    {
        while (const auto message = machine.nextMessage(virtual_clock::now()))
            device.say(*message);
        const auto next = machine.nextDue();
        if (!next || (m_next > virtual_clock::now() && m_next <= *next))
            return;
        m_next = *next;
        virtual_clock::after(m_next - virtual_clock::now(), [this] { deliver(); });
    }

    std::int64_t m_next = -1;
};
