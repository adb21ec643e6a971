// What every operation does alike: its log lines, the gate for a busy device, the tests before its command,
// results. The operations' own sources show where each of these stands and what differs.
#pragma once

#include "diag/language_keys.h"
#include "diag/log.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"
#include "text/compose.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

/// A device is ready in two ways, with pay-in enabled and with pay-in disabled.
enum class ReadyStatus { PayinEnabled, Either };

/// What the device's error status does to an operation.
enum class OnError {
    Refuse,
    RefuseUnlessLongForms, // a device with the long forms gets the command all the same
    GoOn
};

/// How long a busy device is waited for, where the operation doesn't say otherwise.
constexpr std::int64_t BUSY_TIMEOUT = 15000;

/// What operations wait for at the gate, and how long.
struct BusyGate {
    ReadyStatus ready = ReadyStatus::Either;
    std::int64_t timeout = BUSY_TIMEOUT;
    OnError onError = OnError::Refuse;
};

/// One call of an operation. Its tests are true for what ends it, and keep what it ends with, so that they
/// stand in a row in the order in which they are made:
///     if (op.busy() || op.lacksSession("Dispense"))
///         return op.outcome();
class Operation {
public:
    /// "name" stands in every log line; "message" is the caller's.
    Operation(CTLLogics& logic, const char* name, std::string& message);

    CTLLogics& logic() const { return m_logic; }
    const char* name() const { return m_sName; }
    std::string& message() const { return m_message; }

    // Lines of the log. A text is one that is there already, or pieces.
    template <typename Text>
    void enter(const Text& line) const
    {
        logLine(line, LOG_APP_IN, LOG_FILE_LOGIC);
    }
    template <typename Text>
    void info(const Text& text) const
    {
        logDebug(pieces("CTLLogics::", m_sName, ": ", text));
    }
    template <typename Text>
    void error(const Text& text) const
    {
        logError(pieces("CTLLogics::", m_sName, ": ", text));
    }

    // Tests. "label" is the operation as refusals write it.
    /// Waits for a device that is busy, then looks for the error status.
    bool busy(const BusyGate& gate = {});
    bool lacksSession(const char* label);
    bool lacksExtendedCommandSet(const char* label);
    bool lacksState(const char* label, std::initializer_list<TLState> states);
    template <typename Text>
    bool refusedIf(bool reason, std::int16_t status, LanguageKey key, const Text& line)
    {
        return reason && endWith(refuse(status, key, line));
    }
    /// Any other test that failed.
    bool endWith(std::int16_t outcome);

    /// What the test that was true ends the operation with.
    std::int16_t outcome() const { return m_outcome; }

    /// The wait's result, or nothing if the device isn't busy.
    std::optional<std::int16_t> waitWhileBusy(const BusyGate& gate = {}) const;
    std::int16_t waitForReady(ReadyStatus ready, std::int64_t timeout) const;
    std::int16_t stillBusy() const;
    std::int16_t deviceHasErrors() const;

    /// To do just before a command goes out.
    void prepare(char lastCommand) const;

    // Results: the message, the log line if there is one, and the status to return.
    std::int16_t done() const;
    std::int16_t answer(std::int16_t status, LanguageKey key) const;
    template <typename Text>
    std::int16_t refuse(std::int16_t status, LanguageKey key, const Text& line) const
    {
        const std::int16_t outcome = answer(status, key);
        error(line);
        return outcome;
    }
    std::int16_t failed(const char* what, std::int16_t result) const;
    template <typename Text>
    std::int16_t timedOut(const Text& what, std::int16_t waitResult) const
    {
        return refuse(TL_STATUS_TIMEOUT, "Timed out", pieces(what, " timed out, return code = ", waitResult));
    }

    /// "<what> failed, return code = <result>, message = <message>", headed by the operation.
    std::string failureLine(const char* what, std::int16_t result) const;

private:
    CTLLogics& m_logic;
    const char* m_sName;
    std::string& m_message;
    std::int16_t m_outcome = TL_STATUS_OK;
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

/// How long the device may take to answer, or to go busy.
constexpr std::int64_t ANSWER_TIMEOUT = 5000;

/// How long it may take to finish, by the settings.
inline std::int64_t statusOkTimeout(const CTLLogics& logic)
{
    return static_cast<std::int64_t>(logic.settings().getIntSetting(StatusOkTimeout)) * 1000;
}
