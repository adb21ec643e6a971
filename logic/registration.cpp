// Which way the application wants to hear of events.
#include "logic/ctllogics.h"

#include "diag/log.h"
#include "events/event_slots.h"
#include "logic/operation.h"
#include "text/compose.h"

namespace {

/// What all members of the family do first: no callback may be missing, and the basic two are stored. True,
/// and the operation ends, if that fails.
template <typename... Others>
bool basicEventsFail(Operation& op, TLStatusEvent status, TLErrorEvent error, Others... others)
{
    op.enter(pieces("CTLLogics::", op.name(), "()"));
    if (op.refusedIf(status == nullptr || error == nullptr || ((others == nullptr) || ...),
                     TL_STATUS_INPUT_PARAM_ERROR, "empty callbacks", "empty callbacks"))
        return true;
    const std::int16_t result = op.logic().registerBasicEvents(status, error, op.message());
    if (result == TL_STATUS_OK)
        return false;
    logLineTwice(pieces(op.name(), ": registerBasicEvents failed! Returning ", result, ": ", op.message()),
                 LOG_FAILURE, LOG_FILE_LOGIC, LOG_FILE_ERROR);
    return op.endWith(result);
}

} // namespace

std::int16_t CTLLogics::registerBasicEvents(TLStatusEvent status, TLErrorEvent error, std::string& message)
{
    Operation op(*this, "registerBasicEvents", message);
    logDebug("CTLLogics::registerBasicEvents()");
    if (op.refusedIf(g_hwndMessageTo.isSet(), TL_STATUS_ERROR, "Hwnd already set", "Hwnd is already set") ||
        op.refusedIf(status == nullptr || error == nullptr, TL_STATUS_INPUT_PARAM_ERROR, "empty callbacks",
                     "empty callbacks"))
        return op.outcome();
    g_fnStatusEvent = status;
    g_fnErrorEvent = error;
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::registerEvents(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                       std::string& message)
{
    Operation op(*this, "registerEvents", message);
    if (basicEventsFail(op, status, error, cashLevel))
        return op.outcome();
    g_fnCashLevelEvent = cashLevel;
    return op.done();
}

std::int16_t CTLLogics::registerEvents2(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                        TLCashSessionEvent cashSession, std::string& message)
{
    Operation op(*this, "registerEvents2", message);
    if (basicEventsFail(op, status, error, cashLevel, cashSession))
        return op.outcome();
    g_fnCashLevelEvent = cashLevel;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents3(TLStatusEvent status, TLErrorEvent error,
                                        TLLevelWarningEvent levelWarning, TLCashSessionEvent cashSession,
                                        std::string& message)
{
    Operation op(*this, "registerEvents3", message);
    if (basicEventsFail(op, status, error, levelWarning, cashSession))
        return op.outcome();
    g_fnLevelWarningEvent = levelWarning;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents4(TLStatusEvent status, TLErrorEvent error,
                                        TLLevelWarningEvent levelWarning, TLInformationEvent information,
                                        TLCashSessionEvent cashSession, std::string& message)
{
    Operation op(*this, "registerEvents4", message);
    if (basicEventsFail(op, status, error, levelWarning, information, cashSession))
        return op.outcome();
    g_fnLevelWarningEvent = levelWarning;
    g_fnInformationEvent = information;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerEvents23(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                         TLLevelWarningEvent levelWarning, TLCashSessionEvent cashSession,
                                         std::string& message)
{
    Operation op(*this, "registerEvents23", message);
    if (basicEventsFail(op, status, error, cashLevel, levelWarning, cashSession))
        return op.outcome();
    g_fnCashLevelEvent = cashLevel;
    g_fnLevelWarningEvent = levelWarning;
    g_fnCashSessionEvent = cashSession;
    return op.done();
}

std::int16_t CTLLogics::registerHwnd(TLWindowHandle hwndMessageTo, std::string& message)
{
    Operation op(*this, "registerHwnd", message);
    logDebug("CTLLogics::registerHwnd()");
    const bool anyCallback = g_fnStatusEvent != nullptr || g_fnErrorEvent != nullptr ||
                             g_fnCashLevelEvent != nullptr || g_fnLevelWarningEvent != nullptr;
    if (op.refusedIf(anyCallback, TL_STATUS_ERROR, "callbacks already set", "callbacks are already set") ||
        op.refusedIf(hwndMessageTo == nullptr, TL_STATUS_INPUT_PARAM_ERROR, "empty Hwnd", "empty Hwnd"))
        return op.outcome();
    g_hwndMessageTo.set(hwndMessageTo);
    logDebug("CTLLogics::registerHwnd() returning Ok");
    return op.done();
}
