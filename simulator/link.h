// The link to the simulated device: runs one at a time on a thread of its own, by the real clock, and
// hands its messages to a callback, one after the other. No lock is held while the callback runs, so
// everything here may be called from inside it.
#pragma once

#include "simulator/device_model.h"
#include "simulator/machine.h"

#include <functional>
#include <memory>
#include <mutex>

namespace simulator {

class Link {
public:
    using Callback = int (*)(const char* message);

    /// Starts a fresh device. Refused while a link is open.
    Opening open(Callback callback, Settings settings);

    /// No message is delivered after it. Returns when no callback is running any more; called from inside
    /// one, at once.
    void close();

    /// The device's answer; "closed" while no link is open.
    std::string command(std::string_view text);

    /// Runs "action" on the device, which stays to be looked at after closing. False if there never was one.
    bool atDevice(const std::function<void(DeviceModel& device, Milliseconds now)>& action);

private:
    class Session;

    std::shared_ptr<Session> current() const;

    mutable std::mutex m_mutex; // guards the pointer alone
    std::shared_ptr<Session> m_session;
};

} // namespace simulator
