// The simulated device's state file: as it stands, and its device under a right checksum, which no fuzzer
// would guess.
#include "fuzz/machine.h"

#include <nlohmann/json.hpp>

namespace {

std::string sumOf(const std::string& text)
{
    std::uint64_t sum = 0xCBF29CE484222325;
    for (const char character : text)
        sum = (sum ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4)
        digits += "0123456789abcdef"[sum >> shift & 15];
    return digits;
}

void restore(const std::string& text)
{
    try {
        const simulator::SavedDevice saved = simulator::parseSaved(text);
        simulator::DeviceModel device({}, saved, 500'000);
        if (device.balances())
            fuzz::sell(device);
    } catch (const std::runtime_error&) {
        return; // refused, with a text
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(fuzz::Bytes(data, size).rest());
    restore(text);
    const auto device = nlohmann::json::parse(text, nullptr, false);
    if (!device.is_discarded()) {
        try {
            const std::string sum = sumOf(device.dump());
            restore(nlohmann::json{{"tellarion", 1}, {"sum", sum}, {"device", device}}.dump());
        } catch (const nlohmann::json::exception&) {
            return 0; // not UTF-8: nothing that a file could say
        }
    }
    return 0;
}
