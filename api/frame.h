// What every exported function does alike: log the call, test its pointers and that the library is
// initiated, call the logic, hand out and log the outcome.
#pragma once

#include "api/tllogics.h"
#include "diag/language_keys.h"
#include "text/compose.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// A null text reads as an empty one.
inline std::string textOf(const char* text)
{
    return text == nullptr ? "" : text;
}

/// Copies a text as it stands into a caller's buffer; nothing is written through null.
void handOut(const std::string& text, char* buffer);

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

/// One call of an exported function. The tests stand in the order in which they are made; the first that
/// fails decides what is returned, and the operation doesn't run.
class Call {
public:
    using Operation = std::function<std::int16_t(std::string& message)>;
    /// What a line says behind "Returning <code>".
    using Outcome = std::function<std::string(const std::string& message)>;

    /// Logs "callText" and tests "message". "name" heads every further line.
    Call(const char* name, const std::string& callText, char* message);

    /// An export without a message: its failures show in the status and the log alone.
    Call(const char* name, const std::string& callText);

    /// A parameter that must not be null; "words" say so in the log and the message.
    Call& required(LanguageKey words, const void* pointer);

    /// The same for an export without a message: the words reach the log alone.
    Call& requiredByLog(const char* words, const void* pointer);

    /// "clear" clears the results and tells them for the line, as in "open=0: ".
    Call& initiated(const std::function<std::string()>& clear = {});

    /// Any other test that failed: the line, and the key of the message.
    Call& refuse(std::int16_t status, const char* statusName, const std::string& line, LanguageKey key);

    bool accepted() const { return !m_refusal.has_value(); }

    /// Runs the operation if all tests passed, hands its message out and logs how it ended.
    std::int16_t run(const Operation& operation, const Outcome& onFailure = justTheMessage,
                     const Outcome& onSuccess = justTheMessage);

    static std::string justTheMessage(const std::string& message) { return message; }

private:
    void logRefusal(std::int16_t status, const char* statusName, const std::string& line);

    const char* m_sName;
    char* m_pMessage;
    std::optional<std::int16_t> m_refusal;
};

/// An outcome that tells the rest before the message.
template <typename Amount>
Call::Outcome withRest(const Amount& amountRest)
{
    return [&amountRest](const std::string& message) {
        return compose("amountRest=", amountRest, ": ", message);
    };
}
