// Which way the application wants to hear of events.
#include "logic/ctllogics.h"

#include "diag/log.h"
#include "events/event_slots.h"
#include "logic/operation.h"
#include "text/compose.h"

/// What all members of the family do first: no callback may be missing, and the basic two are stored.
template <typename... Others>
Refusal CTLLogics::registerFamily(const Operation& op, std::string& message, TLStatusEvent status,
                                  TLErrorEvent error, Others... others)
{
    op.enter(compose("CTLLogics::", op.name(), "()"));
    if (status == nullptr || error == nullptr || ((others == nullptr) || ...))
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "empty callbacks", "empty callbacks");
    const std::int16_t result = registerBasicEvents(status, error, message);
    if (result == TL_STATUS_OK)
        return std::nullopt;
    logLineTwice(compose(op.name(), ": registerBasicEvents failed! Returning ", result, ": ", message),
                 LOG_FAILURE, LOG_FILE_LOGIC, LOG_FILE_ERROR);
    return result;
}

std::int16_t CTLLogics::registerBasicEvents(TLStatusEvent status, TLErrorEvent error, std::string& message)
{
    const Operation op(*this, "registerBasicEvents", message);
    logDebug("CTLLogics::registerBasicEvents()");
    if (g_hwndMessageTo != nullptr)
        return op.refuse(TL_STATUS_ERROR, "Hwnd already set", "Hwnd is already set");
    if (status == nullptr || error == nullptr)
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "empty callbacks", "empty callbacks");
    g_fnStatusEvent = status;
    g_fnErrorEvent = error;
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::registerEvents(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                       std::string& message)
{
    const Operation op(*this, "registerEvents", message);
    if (const auto refusal = registerFamily(op, message, status, error, cashLevel))
        return *refusal;
    g_fnCashLevelEvent = cashLevel;
    return op.done();
}

std::int16_t CTLLogics::registerEvents2(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                        TLCashSessionEvent cashSession, std::string& message)
{
    const Operation op(*this, "registerEvents2", message);
    if (const auto refusal = registerFamily(op, message, status, error, cashLevel, cashSession))
        return *refusal;
    g_fnCashLevelEvent = cashLevel;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents3(TLStatusEvent status, TLErrorEvent error,
                                        TLLevelWarningEvent levelWarning, TLCashSessionEvent cashSession,
                                        std::string& message)
{
    const Operation op(*this, "registerEvents3", message);
    if (const auto refusal = registerFamily(op, message, status, error, levelWarning, cashSession))
        return *refusal;
    g_fnLevelWarningEvent = levelWarning;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents4(TLStatusEvent status, TLErrorEvent error,
                                        TLLevelWarningEvent levelWarning, TLInformationEvent information,
                                        TLCashSessionEvent cashSession, std::string& message)
{
    const Operation op(*this, "registerEvents4", message);
    if (const auto refusal =
            registerFamily(op, message, status, error, levelWarning, information, cashSession))
        return *refusal;
    g_fnLevelWarningEvent = levelWarning;
    g_fnInformationEvent = information;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents23(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                         TLLevelWarningEvent levelWarning, TLCashSessionEvent cashSession,
                                         std::string& message)
{
    const Operation op(*this, "registerEvents23", message);
    if (const auto refusal = registerFamily(op, message, status, error, cashLevel, levelWarning, cashSession))
        return *refusal;
    g_fnCashLevelEvent = cashLevel;
    g_fnLevelWarningEvent = levelWarning;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerHwnd(TLWindowHandle hwndMessageTo, std::string& message)
{
    const Operation op(*this, "registerHwnd", message);
    logDebug("CTLLogics::registerHwnd()");
    if (g_fnStatusEvent != nullptr || g_fnErrorEvent != nullptr || g_fnCashLevelEvent != nullptr ||
        g_fnLevelWarningEvent != nullptr)
        return op.refuse(TL_STATUS_ERROR, "callbacks already set", "callbacks are already set");
    if (hwndMessageTo == nullptr)
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "empty Hwnd", "empty Hwnd");
    g_hwndMessageTo = hwndMessageTo;
    logDebug("CTLLogics::registerHwnd() returning Ok");
    return op.done();
}
