// The simulated device's configuration. What is taken makes a device, which then is logged in to, paid into
// and asked for money.
#include "fuzz/bytes.h"
#include "fuzz/machine.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    simulator::Settings settings;
    try {
        settings = simulator::parseSettings(fuzz::Bytes(data, size).rest());
    } catch (const std::runtime_error&) {
        return 0; // refused, with a text
    }
    fuzz::sell(simulator::DeviceModel(settings));
    return 0;
}
