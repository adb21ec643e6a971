// What people, programs and tills ask of the simulated device: verbs with their JSON, and commands. A line
// of the input is one of them: "verb {...}", or "!" and a command; "#" lets time go by.
#include "fuzz/machine.h"

#include "simulator/link_frames.h"

#include <algorithm>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    simulator::Milliseconds now = 1'000'000;
    simulator::DeviceModel device;
    device.setWatcher([&device](const simulator::DeviceEvent& event) {
        fuzz::require(!simulator::describeEvent(event, device).empty());
    });
    device.tillCame(false, now);
    while (!input.atEnd()) {
        std::string line = input.line();
        if (line.starts_with('!')) {
            std::replace(line.begin(), line.end(), '|', simulator::FIELD_SEPARATOR);
            const auto answer = device.command(std::string_view(line).substr(1), now);
            fuzz::require(answer.text.size() >= 3);
        } else if (line.starts_with('#')) {
            fuzz::hear(device, now);
        } else if (line.starts_with('~')) {
            const auto frame = simulator::LinkFrame::parse(line.substr(1));
            fuzz::require(!frame || simulator::LinkFrame::parse(frame->bytes())->text == frame->text);
        } else {
            const std::size_t space = std::min(line.find(' '), line.size());
            const std::string verb = line.substr(0, space);
            const std::string json = line.substr(std::min(space + 1, line.size()));
            const auto result = simulator::control(device, verb, json, now);
            fuzz::require(result.status >= 200 && result.status < 500 && !result.body.empty());
            try {
                isSo(simulator::parseWait(json, 2), device, now);
            } catch (const std::runtime_error&) {
                continue; // nothing to wait for
            }
        }
        fuzz::lookAt(device, now);
    }
    return 0;
}
