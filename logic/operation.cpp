#include "logic/operation.h"

#include "diag/language.h"

#include <algorithm>

Operation::Operation(CTLLogics& logic, const char* name, std::string& message)
    : m_logic(logic), m_sName(name), m_message(message)
{}

bool Operation::busy(const BusyGate& gate)
{
    const std::optional<std::int16_t> waited = waitWhileBusy(gate);
    if (waited == TL_STATUS_TIMEOUT)
        return endWith(stillBusy());
    const bool errorStops = gate.onError == OnError::Refuse ||
                            (gate.onError == OnError::RefuseUnlessLongForms && !deviceHasLongForms());
    if (errorStops && (waited == TL_STATUS_ERROR || g_nLastCallbackStatus == DEVICE_ERROR))
        return endWith(deviceHasErrors());
    return false;
}

bool Operation::lacksSession(const char* label)
{
    return g_TLState == STATE_LOGGED_OUT &&
           endWith(
               refuse(TL_STATUS_CLOSED, "Closed", pieces(label, " is not allowed from logged out state.")));
}

bool Operation::lacksExtendedCommandSet(const char* label)
{
    return !m_logic.hasExtendedCommandSet() &&
           endWith(refuse(TL_STATUS_NOT_SUPPORTED, "Not Supported", pieces(label, " is not supported.")));
}

bool Operation::lacksState(const char* label, std::initializer_list<TLState> states)
{
    const std::int32_t state = g_TLState;
    return std::find(states.begin(), states.end(), state) == states.end() &&
           endWith(refuse(TL_STATUS_NOT_SUPPORTED, "Not Supported",
                          pieces(label, " is not supported from state ", stateName(state))));
}

bool Operation::endWith(std::int16_t outcome)
{
    m_outcome = outcome;
    return true;
}

std::optional<std::int16_t> Operation::waitWhileBusy(const BusyGate& gate) const
{
    if (g_nLastCallbackStatus != DEVICE_BUSY)
        return std::nullopt;
    info("Tellarion is Busy. Wait for Ok");
    return waitForReady(gate.ready, gate.timeout);
}

std::int16_t Operation::waitForReady(ReadyStatus ready, std::int64_t timeout) const
{
    return ready == ReadyStatus::PayinEnabled
               ? m_logic.waitForStatus(DEVICE_READY, timeout)
               : m_logic.waitForStatus(DEVICE_READY, DEVICE_READY_PAYIN_DISABLED, timeout);
}

std::int16_t Operation::stillBusy() const
{
    return refuse(TL_STATUS_BUSY, "Tellarion is busy", "Tellarion is still busy, giving up.");
}

std::int16_t Operation::deviceHasErrors() const
{
    return refuse(TL_STATUS_ERROR, "Tellarion has error(s)", "Tellarion has error(s)");
}

void Operation::prepare(char lastCommand) const
{
    g_sLastDeviceMessage.clear();
    g_bCommandMade = true;
    g_nLastCommand = lastCommand;
}

std::int16_t Operation::done() const
{
    return answer(TL_STATUS_OK, "Done");
}

std::int16_t Operation::answer(std::int16_t status, LanguageKey key) const
{
    m_message = lookupText(key);
    return status;
}

std::string Operation::failureLine(const char* what, std::int16_t result) const
{
    return compose("CTLLogics::", m_sName, ": ", what, " failed, return code = ", result,
                   ", message = ", m_message);
}

std::int16_t Operation::failed(const char* what, std::int16_t result) const
{
    logError(failureLine(what, result));
    return result;
}
