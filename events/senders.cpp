#include "events/senders.h"

#include "api/tllogics.h"
#include "config/settings.h"
#include "diag/language.h"
#include "diag/log.h"
#include "events/event_slots.h"
#include "events/level_texts.h"
#include "events/queues.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "platform/messages.h"
#include "text/compose.h"
#include "text/numbers.h"

#include <array>

namespace {

constexpr std::int32_t NOTHING_LOGGED = -1;
constexpr std::uint64_t INFORMATION_MARK = 4; // wParam of an information message
constexpr const char* NO_ERROR_INFO = "ErrorInfo Not set";

/// A text as a callback gets it: cut to the room that the interface gives it, and ended.
template <std::size_t Room>
class FixedText {
public:
    explicit FixedText(const std::string& text) { text.copy(m_text.data(), Room - 1); }
    operator const char*() const { return m_text.data(); }

private:
    std::array<char, Room> m_text{};
};

/// Calls a callback of the application's. The count keeps the communication library loaded if the
/// application calls exitTL from there.
template <typename Callback, typename... Arguments>
void callBack(Callback callback, const Arguments&... arguments)
{
    struct Depth {
        Depth() { ++g_nCallbackDepth; }
        ~Depth() { --g_nCallbackDepth; }
    } const inProgress;
    callback(arguments...);
}

/// The next status event is logged, even if it repeats the last one.
void forgetLoggedStatus()
{
    g_nLastEventAmount = NOTHING_LOGGED;
    g_nLastEventStatus = NOTHING_LOGGED;
    g_nLastEventMode = NOTHING_LOGGED;
    g_bCommandMade = true;
}

/// One event, two lines: the logic file names the sender, the API file the event.
template <typename Fields>
void logEvent(const char* sender, const char* event, const Fields& fields)
{
    if (g_nLoggSendEvents == 0)
        return;
    logLine(pieces(sender, ": ", fields), LOG_APP_OUT, LOG_FILE_LOGIC);
    logLine(pieces(event, ": ", fields), LOG_APP_OUT, LOG_FILE_API);
}

std::int16_t refuseNegative(const char* sender, const char* parameter, std::int32_t value)
{
    logError(pieces(sender, ": Failed, neg param ", parameter, ": ", value));
    return TL_STATUS_ERROR;
}

/// The two digits at a fixed place of an error text. 0, or 2 with code 0.
std::int16_t getErrorCode(const std::string& text, std::int32_t& code)
{
    static constexpr std::size_t ERROR_CODE_AT = 14;
    static constexpr std::size_t ERROR_CODE_WIDTH = 2;
    code = 0;
    if (text.size() < ERROR_CODE_AT + ERROR_CODE_WIDTH) {
        logError(pieces("getErrorCode: wrong message length: ", text));
        return TL_STATUS_ERROR;
    }
    const std::string field = text.substr(ERROR_CODE_AT, ERROR_CODE_WIDTH);
    if (field == "00")
        return TL_STATUS_OK;
    const std::int32_t number = leadingNumber(field);
    if (number == 0) {
        logError("getErrorCode: errCode atoi-conversion failed");
        return TL_STATUS_ERROR;
    }
    if (number < 0) {
        logError(pieces("getErrorCode: invalid errorCode from: ", text));
        return TL_STATUS_ERROR;
    }
    code = number;
    return TL_STATUS_OK;
}

} // namespace

std::int16_t sendStatusEvent(std::int32_t amountOrRest, std::int32_t nStatus, std::int32_t nMode)
{
    const std::int32_t modeAndStatus = wrappingAdd(wrappingMultiply(nMode, 100), nStatus);
    if (modeAndStatus < 0)
        return refuseNegative("sendStatusEvent", "modeAndStatus", modeAndStatus);
    if (amountOrRest < 0)
        return refuseNegative("sendStatusEvent", "amountOrRest", amountOrRest);
    if (nStatus < 0)
        return refuseNegative("sendStatusEvent", "nStatus", nStatus);
    if (nMode < 0)
        return refuseNegative("sendStatusEvent", "nMode", nMode);

    const bool changed =
        amountOrRest != g_nLastEventAmount || nStatus != g_nLastEventStatus || nMode != g_nLastEventMode;
    if (g_nLoggSendEvents != 0 && (g_nLoggEveryCallback == 1 || changed || g_bCommandMade)) {
        const auto fields = pieces("amount=", amountOrRest, ", status=", nStatus, ", mode=", nMode);
        logLine(pieces("sendStatusEvent: ", fields), LOG_APP_OUT, LOG_FILE_LOGIC);
        g_nLastEventAmount = amountOrRest;
        g_nLastEventStatus = nStatus;
        g_nLastEventMode = nMode;
        g_bCommandMade = false;
        logLine(pieces("StatusEvent: ", fields), LOG_APP_OUT, LOG_FILE_API);
    }
    if (const auto window = g_hwndMessageTo.get())
        window->post(g_windowMessages.status, static_cast<std::uint64_t>(modeAndStatus), amountOrRest);
    else if (const TLStatusEvent callback = g_fnStatusEvent)
        callBack(callback, amountOrRest, static_cast<std::uint16_t>(nStatus),
                 static_cast<std::uint16_t>(nMode));
    return TL_STATUS_OK;
}

std::int16_t sendErrorEvent(const std::string& strMessage, std::int32_t errorCode)
{
    forgetLoggedStatus();
    if (errorCode == 0)
        getErrorCode(strMessage, errorCode);
    if (errorCode < 0)
        return refuseNegative("sendErrorEvent", "errorCode", errorCode);

    const std::string errorText = translationOr(compose("Error Code ", errorCode), strMessage);
    const std::string fields =
        compose("errorCode=", errorCode, ", errorText=", errorText, ", extInfo=", NO_ERROR_INFO);
    logError("ErrorEvent: " + fields);
    logEvent("sendErrorEvent", "ErrorEvent", fields);
    if (const auto window = g_hwndMessageTo.get()) {
        pushToErrorQueue(errorText);
        window->post(g_windowMessages.error, 0, errorCode);
    } else if (const TLErrorEvent callback = g_fnErrorEvent) {
        callBack(callback, errorCode, FixedText<128>(errorText), FixedText<32>(NO_ERROR_INFO));
    }
    return TL_STATUS_OK;
}

std::int16_t sendCashLevelEvent(const std::string& strMessage, std::int32_t code)
{
    forgetLoggedStatus();
    CashLevel level;
    if (getCashLevels(strMessage, level, code) != TL_STATUS_OK) {
        // A warning that can't be read is a warning still.
        logDebug(pieces("sendCashLevelEvent: ", g_nCurrentLowLevelWarningState.assumeLow().text()));
        return TL_STATUS_ERROR;
    }
    if (level.numberOf < 0)
        return refuseNegative("sendCashLevelEvent", "numberOf", level.numberOf);
    if (level.denomination < 0)
        return refuseNegative("sendCashLevelEvent", "denomination", level.denomination);
    if (isFilteredLevelWarning(level.denomination))
        return TL_STATUS_OK;

    const auto logShort = [&] {
        logEvent("sendCashLevelEvent", "CashLevelEvent",
                 pieces("denomination=", level.denomination, ", numberOf=", level.numberOf,
                        ", extInfo=", strMessage));
    };
    const auto logLong = [&] {
        logEvent("sendCashLevelEvent", "LevelWarningEvent",
                 pieces("warningType=", level.warningType, ", denomination=", level.denomination,
                        ", numberOf=", level.numberOf, ", typeString=", level.typeString,
                        ", denominationString=", level.denominationString,
                        ", warningMessage=", level.warningMessage, ", extInfo=", strMessage));
    };
    if (const auto window = g_hwndMessageTo.get()) {
        logShort();
        logLong();
        pushToCashLevelWarningsQueue(strMessage);
        window->post(g_windowMessages.cashLevel, static_cast<std::uint64_t>(level.numberOf),
                     level.denomination);
        return TL_STATUS_OK;
    }
    const FixedText<64> extInfo(strMessage);
    const auto numberOf = static_cast<std::uint16_t>(level.numberOf);
    if (const TLCashLevelEvent callback = g_fnCashLevelEvent) {
        logShort();
        callBack(callback, level.denomination, numberOf, extInfo);
    }
    if (const TLLevelWarningEvent callback = g_fnLevelWarningEvent) {
        logLong();
        callBack(callback, static_cast<std::uint16_t>(level.warningType), level.denomination, numberOf,
                 FixedText<20>(level.typeString), FixedText<20>(level.denominationString),
                 FixedText<64>(level.warningMessage), extInfo);
    }
    return TL_STATUS_OK;
}

std::int16_t sendCashSessionEvent(const std::string& strMessage)
{
    forgetLoggedStatus();
    std::int16_t infoType = 0;
    std::int32_t amount = 0;
    if (const std::int16_t result = getSessionInfo(strMessage, infoType, amount); result != TL_STATUS_OK)
        return result;

    logEvent("sendCashSessionEvent", "CashSessionEvent",
             pieces("infoType=", infoType, ", amount=", amount, ", extInfo=", strMessage));
    if (const auto window = g_hwndMessageTo.get()) {
        pushToCashSessionQueue(strMessage);
        window->post(g_windowMessages.cashSession, static_cast<std::uint64_t>(infoType), amount);
    }
    if (const TLCashSessionEvent callback = g_fnCashSessionEvent)
        callBack(callback, static_cast<std::uint16_t>(infoType), amount, FixedText<20>(strMessage));
    return TL_STATUS_OK;
}

std::int16_t sendInformationEvent(const std::string& strMessage, std::int32_t code)
{
    logDebug("ctllogics.sendInformationEvent: starting");
    forgetLoggedStatus();
    logEvent("sendInformationEvent", "InformationEvent", pieces("message=", strMessage));
    if (const auto window = g_hwndMessageTo.get()) {
        pushToInformationQueue(strMessage);
        window->post(g_windowMessages.information, INFORMATION_MARK, 0);
    }
    if (const TLInformationEvent callback = g_fnInformationEvent)
        callBack(callback, FixedText<99>(translationOr(compose("Information Code ", code), strMessage)));
    return TL_STATUS_OK;
}
