// A sale on any simulated device: money may be refused, stuck or kept back, but the books balance.
#pragma once

#include "fuzz/bytes.h"
#include "simulator/control.h"
#include "simulator/saved_device.h"

namespace fuzz {

using simulator::FIELD_SEPARATOR;

inline void lookAt(simulator::DeviceModel& device, simulator::Milliseconds now)
{
    device.advance(now);
    require(device.balances());
}

/// Seconds go by. A device that tells without end is left alone after many messages.
inline void hear(simulator::DeviceModel& device, simulator::Milliseconds& now)
{
    for (int left = 1000; left > 0 && device.nextMessage(now); --left)
        continue;
    now += 5000;
    lookAt(device, now);
    require(!simulator::describeState(device, now).empty());
}

inline void sell(simulator::DeviceModel device)
{
    simulator::Milliseconds now = 1'000'000;
    device.start(now);
    device.tillCame(false, now);
    const std::string separator(1, FIELD_SEPARATOR);
    for (const std::string& command :
         {"x" + separator + "stamp", std::string("a2026112314050201"), "v" + separator, std::string("h")}) {
        device.command(command, now);
        hear(device, now);
    }
    for (const simulator::Denomination& unit : device.drawer().units())
        device.insert(unit.value, 2, now);
    for (const std::string& command :
         {"d" + separator + "00000500", "f" + separator + "00000300" + separator + "00000500",
          std::string("j"), "e" + separator + "4", "k" + separator + "1", "n" + separator + "2#T",
          std::string("b")}) {
        device.command(command, now);
        hear(device, now);
    }
    const simulator::SavedDevice saved = simulator::parseSaved(simulator::savedText(device.saved(now)));
    require(simulator::savedText(saved) == simulator::savedText(device.saved(now)));
}

} // namespace fuzz
