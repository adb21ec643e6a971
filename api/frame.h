// What every exported function does alike: log the call, test its pointers and that the library is
// initiated, call the logic, hand out and log the outcome.
#pragma once

#include "api/tllogics.h"
#include "diag/language_keys.h"
#include "diag/log.h"
#include "logic/shared_state.h"
#include "text/compose.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A null text reads as an empty one.
constexpr std::string_view textOf(const char* text)
{
    return text == nullptr ? "" : text;
}

/// Copies a text into a caller's buffer, at most 1023 bytes of it, and ends it; nothing is written through
/// null.
void handOut(std::string_view text, char* buffer);

/// A caller's variable, or a stand-in where the caller gave none.
template <typename Value>
class OutVariable {
public:
    explicit OutVariable(Value* variable) : m_pVariable(variable == nullptr ? &m_standIn : variable) {}
    OutVariable(const OutVariable&) = delete;
    OutVariable& operator=(const OutVariable&) = delete;
    Value& operator*() const { return *m_pVariable; }

private:
    mutable Value m_standIn{}; // written through a const wrapper, as a pointer's target is
    Value* const m_pVariable;
};

/// How the log tells a refusal.
enum class Refused {
    Error,   // as a detected error
    Failure, // as an operation that failed
    Warning  // as an error that is only a warning
};

/// One call of an exported function. The tests stand in the order in which they are made; the first that
/// fails decides what is returned, and the operation doesn't run. Nothing that is thrown gets past it.
class Call {
public:
    /// Logs "callText" and tests "message". "name" heads every further line.
    template <typename Text>
    Call(const char* name, const Text& callText, char* message) : Call(name, callText)
    {
        m_pMessage = message;
        requiredByLog("message parameter is null", message);
    }

    /// An export without a message: its failures show in the status and the log alone.
    template <typename Text>
    Call(const char* name, const Text& callText) : m_sName(name)
    {
        logLine(callText, LOG_APP_IN, LOG_FILE_API);
    }

    /// A parameter that must not be null; "words" say so in the log and the message.
    Call& required(LanguageKey words, const void* pointer);

    /// The same for an export without a message: the words reach the log alone.
    Call& requiredByLog(const char* words, const void* pointer);

    /// "cleared" clears the results and tells them for the line, as in "open=0: ".
    template <typename Clear>
    Call& initiated(const Clear& cleared)
    {
        if (accepted() && !g_bInitiated)
            refuse(TL_STATUS_ERROR, "TL_STATUS_ERROR", pieces(cleared(), "Not initiated"), "Not initiated");
        return *this;
    }

    Call& initiated()
    {
        return initiated([] { return ""; });
    }

    /// Any other test that failed: the line, and the key of the message.
    template <typename Text>
    Call& refuse(std::int16_t status, const char* statusName, const Text& line, LanguageKey key,
                 Refused told = Refused::Error)
    {
        if (accepted()) {
            logRefusal(status, statusName, line, told);
            tell(key);
        }
        return *this;
    }

    bool accepted() const { return !m_refusal.has_value(); }

    /// Runs the method if all tests passed, hands its message out and logs how it ended. The last two
    /// tell what the line says behind "Returning <code>".
    template <typename Method, typename OnFailure, typename OnSuccess>
    std::int16_t run(const Method& method, const OnFailure& onFailure, const OnSuccess& onSuccess)
    {
        if (m_refusal)
            return *m_refusal;
        try {
            std::string message;
            const std::int16_t result = method(message);
            handOut(message, m_pMessage);
            if (result != TL_STATUS_OK)
                logLineTwice(pieces(m_sName, ": Failed! Returning ", result, ": ", onFailure(message)),
                             LOG_FAILURE, LOG_FILE_API, LOG_FILE_ERROR);
            else
                logLine(pieces(m_sName, ": Ok! Returning 0 (TL_STATUS_OK): ", onSuccess(message)), LOG_DEBUG,
                        LOG_FILE_API);
            return result;
        } catch (...) {
            return brokenOff();
        }
    }

    template <typename Method, typename OnFailure>
    std::int16_t run(const Method& method, const OnFailure& onFailure)
    {
        return run(method, onFailure, justTheMessage);
    }

    template <typename Method>
    std::int16_t run(const Method& method)
    {
        return run(method, justTheMessage, justTheMessage);
    }

private:
    static std::string_view justTheMessage(const std::string& message) { return message; }

    template <typename Text>
    void logRefusal(std::int16_t status, const char* statusName, const Text& line,
                    Refused told = Refused::Error)
    {
        m_refusal = status;
        logLineTwice(pieces(m_sName, told == Refused::Warning ? ": Warning!" : ": Failed!", " Returning ",
                            status, " (", statusName, "): ", line),
                     told == Refused::Failure ? LOG_FAILURE : LOG_ERROR, LOG_FILE_API, LOG_FILE_ERROR);
    }

    void tell(LanguageKey key) const;

    /// There was no memory: nobody knows how far the operation got.
    std::int16_t brokenOff() const;

    const char* m_sName;
    char* m_pMessage = nullptr;
    std::optional<std::int16_t> m_refusal;
};

/// An outcome that tells the rest before the message.
template <typename Amount>
auto withRest(const Amount& amountRest)
{
    return [&amountRest](const std::string& message) {
        return compose("amountRest=", amountRest, ": ", message);
    };
}
