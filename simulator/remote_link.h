// The link to a machine that runs on its own, on a port of this computer. It looks like the link to the
// device of this process: no lock is held while the sink runs, which may call everything here.
#pragma once

#include "simulator/machine.h"

#include <cstdint>
#include <mutex>
#include <optional>

namespace simulator {

class RemoteLink {
public:
    /// The port if the name is "127.0.0.1:<port>" or "localhost:<port>".
    static std::optional<std::uint16_t> portOf(std::string_view portName);

    Opening open(Machine::MessageSink sink, std::uint16_t port);

    /// The machine's answer; of a status that there is not while it is lost, "closed" while no link is open.
    std::string command(std::string_view text);

    void loggedOut();

    /// No message is delivered after it. Returns when the sink is not running any more; called from inside
    /// it, at once.
    void close();

    bool isOpen() const;

    // The customer's hand at the machine of the last opening; status 503 if it isn't there.

    ControlResult state();
    ControlResult control(std::string_view verb, std::string_view json);

private:
    class Session;

    ControlResult ask(const char* method, const std::string& path, std::string_view body) const;
    std::shared_ptr<Session> current() const;

    mutable std::mutex m_mutex; // guards the pointer and the port alone
    std::shared_ptr<Session> m_session;
    std::uint16_t m_port = 0;
};

} // namespace simulator
