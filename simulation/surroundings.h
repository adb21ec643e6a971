// What lies outside the library: the device with its drawer and its faults, people's hands, time. And the
// communication library, which hands commands and messages from one to the other.
#pragma once

#include "simulation/tape.h"
#include "simulation/virtual_system.h"
#include "simulator/device_model.h"

#include <functional>
#include <iosfwd>
#include <optional>
#include <queue>
#include <string>
#include <string_view>
#include <vector>

namespace simulation {

using simulator::Amount;

/// A command as it went to the device, and when by the wall clock.
struct SentCommand {
    std::string text;
    std::int64_t at;
};

/// All money that the device's events told of.
struct Ledger {
    std::map<Amount, std::int64_t> start; // denomination to pieces
    std::map<Amount, std::int64_t> moved;
    Amount in = 0;
    Amount out = 0;
    Amount refilled = 0;
    Amount collected = 0;
};

class Surroundings {
public:
    explicit Surroundings(simulator::Settings settings);
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;
    ~Surroundings();

    Milliseconds now() const { return virtualSystem().now(); }

    /// Time passes, and what happens then happens.
    void pass(Milliseconds time);

    /// Until the device has nothing more to do or to say, or the time is over. True if it is at rest.
    bool rest(Milliseconds most);

    /// Somebody does something "in" so much time.
    void after(Milliseconds in, std::function<void()> action);
    void forgetActions() { m_actions = {}; }

    simulator::DeviceModel& device() { return *m_device; }
    const Ledger& ledger() const { return m_ledger; }

    /// Another device is put in its place.
    void replaceDevice(simulator::Settings settings);

    // The link.
    using Callback = int (*)(const char* message);
    int open(Callback callback);
    void close();
    std::string command(std::string_view text);
    void loggedOut();

    /// Delivers a message, whoever made it up.
    void say(const std::string& message);

    // What happened since this was last cleared.
    std::vector<SentCommand> sent;
    Milliseconds blocked = 0; // time that commands took
    Milliseconds slept = 0;   // time that the library waited
    bool faultBegan = false;  // something of the device's or the link's went wrong

    Tape* tape = nullptr;
    std::ostream* money = nullptr; // a line for each piece that a customer puts in or gets
    /// Called round every message that is delivered.
    std::function<void(const std::string& message, bool before)> onMessage;

private:
    struct Action {
        Milliseconds at;
        std::uint64_t number;
        std::function<void()> run;
        bool operator>(const Action& other) const
        {
            return at != other.at ? at > other.at : number > other.number;
        }
    };

    void hear(const simulator::DeviceEvent& event);
    void watch();

    std::optional<simulator::DeviceModel> m_device;
    Ledger m_ledger;
    Callback m_callback = nullptr;
    std::priority_queue<Action, std::vector<Action>, std::greater<>> m_actions;
    std::uint64_t m_actionsSoFar = 0;
};

/// The one of this process; null before it is made.
extern Surroundings* g_surroundings;

} // namespace simulation
