// Device messages: from the text that the communication library delivers to the shared state and the events.
#pragma once

#include <cstdint>
#include <string_view>

/// The fields of one message. Their texts are parts of it.
struct DeviceMessage {
    std::string_view strCmd;       // the letter
    std::int32_t amountOrRest = 0; // in the smallest unit
    std::int32_t nStatus = 0;      // DeviceStatus
    std::int32_t nMode = 0;        // DeviceMode
    std::int32_t nMessageKind = 0; // of the long forms: 0 no code is given, 3 an information message
    std::int32_t nMessageCode = 0; // of the long forms
    std::string_view strMessage;   // the text behind the fixed head, or behind the letter
};

/// The function that the communication library calls with each message, on its own thread and one at a
/// time. "message" is the caller's and is not kept. Always 1.
extern "C" int callbackfunc(const char* message);

/// Splits a message into its fields. 0, or 2 for a malformed one, with a log line.
std::int16_t formatCallbackArg(std::string_view strCallbackArg, DeviceMessage& message);
