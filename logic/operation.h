// What every operation does alike: its log lines, the gate for a busy device, refusals, results. The
// operations' own sources show where each of these stands and what differs.
#pragma once

#include "diag/language_keys.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

/// What the device's error status does to an operation.
enum class OnError {
    Refuse,
    RefuseUnlessLongApi, // devices of the newer kind get the command all the same
    GoOn
};

/// One call of an operation.
class Operation {
public:
    /// "name" stands in every log line; "message" is the caller's.
    Operation(const CTLLogics& logic, const char* name, std::string& message);

    void enter(const std::string& line) const;
    void info(const std::string& text) const;
    void error(const std::string& text) const;

    /// While the device is busy, waits "timeout" milliseconds for it; then looks for the error status.
    Refusal busyGate(Ready ready, std::int64_t timeout, OnError onError) const;

    /// The wait's result, or nothing if the device isn't busy.
    std::optional<std::int16_t> waitWhileBusy(Ready ready, std::int64_t timeout) const;
    std::int16_t stillBusy() const;
    std::int16_t deviceHasErrors() const;

    // Tests of the logic's state. "label" is the operation as refusals write it.
    Refusal needsSession(const char* label) const;
    Refusal needsExtendedCommandSet(const char* label) const;
    Refusal needsState(const char* label, std::initializer_list<std::int32_t> states) const;

    /// To do just before a command goes out.
    void prepare(char lastCommand) const;

    // Results: the message, the log line and the status to return.
    std::int16_t done() const;
    std::int16_t refuse(std::int16_t status, LanguageKey key, const std::string& line) const;
    std::int16_t failed(const char* what, std::int16_t result) const;
    std::int16_t timedOut(const std::string& what, std::int16_t waitResult) const;

    const char* name() const { return m_sName; }

    /// "<what> failed, return code = <result>, message = <message>", headed by the operation.
    std::string failureLine(const char* what, std::int16_t result) const;

private:
    std::string headed(const std::string& text) const;
    bool errorStops(OnError onError) const;

    const CTLLogics& m_logic;
    const char* m_sName;
    std::string& m_message;
};

/// Sends a command that moves money: until it has been handed over, status messages raise no event.
template <typename Send>
std::int16_t sendPayCommand(Send send)
{
    struct Sending {
        Sending() { g_bSendingPayCommand = true; }
        ~Sending() { g_bSendingPayCommand = false; }
    } const sending;
    return send();
}

/// How long the gate waits for a busy device, where the operation doesn't say otherwise.
constexpr std::int64_t BUSY_TIMEOUT = 15000;

/// How long the device may take to answer, or to go busy.
constexpr std::int64_t ANSWER_TIMEOUT = 5000;
