// The link to a device inside this process: a fresh machine from each opening on. No lock is held while its
// sink runs, so everything here may be called from inside it.
#pragma once

#include "simulator/machine.h"

#include <mutex>

namespace simulator {

class EmbeddedLink {
public:
    /// Starts a fresh device. Refused while the link is open.
    Opening open(Machine::MessageSink sink, Settings settings);

    /// No message is delivered after it. Returns when the sink is not running any more; called from inside
    /// it, at once.
    void close();

    bool isOpen() const;

    /// The device's answer; "closed" while no link is open.
    std::string command(std::string_view text);

    /// The machine of the last opening, which stays to be looked at after closing; null before the first.
    std::shared_ptr<Machine> machine() const;

private:
    mutable std::mutex m_mutex; // guards the pointer alone
    std::shared_ptr<Machine> m_machine;
};

} // namespace simulator
