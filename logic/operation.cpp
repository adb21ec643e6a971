#include "logic/operation.h"

#include "diag/language.h"
#include "diag/log.h"
#include "text/compose.h"

#include <algorithm>

Operation::Operation(const CTLLogics& logic, const char* name, std::string& message)
    : m_logic(logic), m_sName(name), m_message(message)
{}

std::string Operation::headed(const std::string& text) const
{
    return compose("CTLLogics::", m_sName, ": ", text);
}

void Operation::enter(const std::string& line) const
{
    logLine(line, LOG_APP_IN, LOG_FILE_LOGIC);
}

void Operation::info(const std::string& text) const
{
    logDebug(headed(text));
}

void Operation::error(const std::string& text) const
{
    logError(headed(text));
}

Refusal Operation::busyGate(Ready ready, std::int64_t timeout, OnError onError) const
{
    const std::optional<std::int16_t> waited = waitWhileBusy(ready, timeout);
    if (waited == TL_STATUS_TIMEOUT)
        return stillBusy();
    if (waited == TL_STATUS_ERROR && errorStops(onError))
        return deviceHasErrors();
    if (g_nLastCallbackStatus == DEVICE_ERROR && errorStops(onError))
        return deviceHasErrors();
    return std::nullopt;
}

std::optional<std::int16_t> Operation::waitWhileBusy(Ready ready, std::int64_t timeout) const
{
    if (g_nLastCallbackStatus != DEVICE_BUSY)
        return std::nullopt;
    info("Tellarion is Busy. Wait for Ok");
    return m_logic.waitForReady(ready, timeout);
}

bool Operation::errorStops(OnError onError) const
{
    return onError == OnError::Refuse ||
           (onError == OnError::RefuseUnlessLongApi && g_nApiVersionKind != API_VERSION_KIND_LONG);
}

std::int16_t Operation::stillBusy() const
{
    return refuse(TL_STATUS_BUSY, "Tellarion is busy", "Tellarion is still busy, giving up.");
}

std::int16_t Operation::deviceHasErrors() const
{
    return refuse(TL_STATUS_ERROR, "Tellarion has error(s)", "Tellarion has error(s)");
}

Refusal Operation::needsSession(const char* label) const
{
    if (g_TLState != STATE_LOGGED_OUT)
        return std::nullopt;
    return refuse(TL_STATUS_CLOSED, "Closed", compose(label, " is not allowed from logged out state."));
}

Refusal Operation::needsExtendedCommandSet(const char* label) const
{
    if (m_logic.m_nCommandLevel == EXTENDED_COMMAND_SET)
        return std::nullopt;
    return refuse(TL_STATUS_NOT_SUPPORTED, "Not Supported", compose(label, " is not supported."));
}

Refusal Operation::needsState(const char* label, std::initializer_list<std::int32_t> states) const
{
    const std::int32_t state = g_TLState;
    if (std::find(states.begin(), states.end(), state) != states.end())
        return std::nullopt;
    return refuse(TL_STATUS_NOT_SUPPORTED, "Not Supported",
                  compose(label, " is not supported from state ", stateName(state)));
}

void Operation::prepare(char lastCommand) const
{
    g_sLastDeviceMessage.clear();
    g_bCommandMade = true;
    g_nLastCommand = lastCommand;
}

std::int16_t Operation::done() const
{
    m_message = lookupText("Done");
    return TL_STATUS_OK;
}

std::int16_t Operation::refuse(std::int16_t status, LanguageKey key, const std::string& line) const
{
    m_message = lookupText(key);
    error(line);
    return status;
}

std::string Operation::failureLine(const char* what, std::int16_t result) const
{
    return headed(compose(what, " failed, return code = ", result, ", message = ", m_message));
}

std::int16_t Operation::failed(const char* what, std::int16_t result) const
{
    logError(failureLine(what, result));
    return result;
}

std::int16_t Operation::timedOut(const std::string& what, std::int16_t waitResult) const
{
    return refuse(TL_STATUS_TIMEOUT, "Timed out", compose(what, " timed out, return code = ", waitResult));
}
