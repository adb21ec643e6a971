// What a device message does to the shared state, and which event goes out for it. The order of the writes
// is part of what the waiting operations rely on.
#include "events/decoder.h"

#include "api/tllogics.h"
#include "config/settings.h"
#include "diag/log.h"
#include "events/count_text.h"
#include "events/senders.h"
#include "logic/command_names.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "text/ascii.h"
#include "text/compose.h"
#include "text/numbers.h"

#include <algorithm>

namespace {

// The text of an "x" message.
constexpr std::size_t MASTER_MAJOR_AT = 17;
constexpr std::size_t MASTER_MINOR_AT = 19;
constexpr std::size_t COMMANDS_AT = 21;

/// The most that is kept of an answer in parts: a device that never ends one must not fill the memory.
constexpr std::size_t MOST_OF_PARTS = 8192;

constexpr std::int32_t INFORMATION_KIND = 3;

/// Tells the log of a message that could not be read, and every waiting operation of an error.
void failMessage(std::string_view raw, const char* line)
{
    g_nLastCallbackStatus = DEVICE_ERROR;
    g_sLastDeviceMessage.set(raw);
    logError(line);
    logError(raw);
}

bool isOpen(const DeviceMessage& message)
{
    return (message.nStatus == DEVICE_READY || message.nStatus == DEVICE_READY_PAYIN_DISABLED) &&
           message.nMode == MODE_OPEN;
}

/// True if this "a" may move the logic's state.
bool mayMoveState(std::int32_t state)
{
    if (state == STATE_LOGGED_OUT)
        return true;
    const char last = g_nLastCommand;
    return g_nLastCallbackStatus == DEVICE_ERROR && (last == COMMAND_LOGIN || last == COMMAND_RESET);
}

void storeStatus(DeviceMessage& message)
{
    const bool open = isOpen(message);
    g_bDeviceOpen = open;
    std::int32_t state = g_TLState;
    if (state == STATE_LOGGED_OUT && message.nMode == MODE_NOT_OPENED)
        message.nMode = MODE_CLOSED; // stored and forwarded so
    if (mayMoveState(state) && open) {
        // Exchanged and not stored: a logout or exit that is under way must not be undone.
        if (message.nStatus == DEVICE_READY)
            g_TLState.compare_exchange_strong(state, STATE_PAYIN_ENABLED);
        else if (message.nStatus == DEVICE_READY_PAYIN_DISABLED)
            g_TLState.compare_exchange_strong(state, STATE_PAYIN_DISABLED);
        else
            logDebug(pieces("ctllogics.callbackfunc(A): Unexpected callback status == ", message.nStatus,
                            ", not changing g_TLState"));
    }
    g_nAmountPaidIn = message.amountOrRest;
    g_nLastCallbackStatus = message.nStatus;
    g_nLastCallbackMode = message.nMode;

    if (message.nStatus == DEVICE_READY) {
        if (const auto step = g_nCurrentLowLevelWarningState.endPayOut())
            logDebug(pieces("ctllogics.callbackfunc(A): ", step->text()));
    }
}

/// True if amount, status or mode changed.
bool storeEvent(const DeviceMessage& message)
{
    g_bDeviceOpen = isOpen(message);
    if (message.amountOrRest == g_nAmountPaidIn && message.nStatus == g_nLastCallbackStatus &&
        message.nMode == g_nLastCallbackMode)
        return false;
    g_nAmountPaidIn = message.amountOrRest;
    g_nLastCallbackStatus = message.nStatus;
    g_nLastCallbackMode = message.nMode;
    return true;
}

void storeAskAnswer(const DeviceMessage& message)
{
    g_bDeviceOpen = isOpen(message);
    g_nAskPayoutRest = message.amountOrRest;
    g_nLastCallbackStatus = message.nStatus;
    g_nLastCallbackMode = message.nMode;
}

void storeCommandSet(const DeviceMessage& message)
{
    g_nApiVersionKind = 0; // the "v" answer tells it again
    const std::string_view text = message.strMessage;
    if (text.size() < COMMANDS_AT)
        return;
    g_sMasterVersion.set(compose(text.substr(MASTER_MAJOR_AT, 2), ".", text.substr(MASTER_MINOR_AT, 2)));
    std::string commands(text.substr(COMMANDS_AT));
    commands.erase(std::remove_if(commands.begin(), commands.end(), isDigit), commands.end());
    g_sSupportedCommands.set(commands);
}

void storeVersion(const DeviceMessage& message)
{
    const std::string_view text = message.strMessage;
    if (text.size() < 3)
        return;
    g_nApiVersionKind = leadingNumber(text.substr(0, 1));
    const std::int32_t length = leadingNumber(text.substr(1, 2));
    g_sApiVersion.set(text.substr(3, static_cast<std::size_t>(std::max(length, 0))));
}

/// A part that doesn't fit on its pile: an answer that long is none.
bool refusePart(std::string_view raw)
{
    failMessage(raw, "ctllogics.callbackfunc: Error in format of received callback");
    return false;
}

/// False if the count could not be read.
bool joinCount(std::string_view raw)
{
    logDebug(pieces("ctllogics.callbackfunc: J command=", raw));
    const std::string_view payload = raw.substr(1);
    const bool isPart = raw.back() == '~';
    const auto pile =
        g_sCountParts.append(isPart ? payload.substr(0, raw.size() - 2) : payload, "", MOST_OF_PARTS);
    if (!pile)
        return refusePart(raw);
    if (isPart) {
        logDebug(pieces("this is part=", *pile));
        return true;
    }
    logDebug(pieces("it is the end of message =", *pile));
    const std::int16_t result = formatCashCountResult(*pile, g_cashCountResult);
    logDebug("received global coins and notes");
    g_sCountParts.clear();
    if (result != TL_STATUS_OK) {
        failMessage(raw, "ctllogics.callbackfunc: Error in format of received j message");
        return false;
    }
    g_sLastCallbackType.set("j-all");
    return true;
}

/// False if the answer is too long.
bool joinAdministration(std::string_view raw)
{
    logDebug(pieces("ctllogics.callbackfunc: E command=", raw));
    const auto pile = g_sEParts.append(raw, "|", MOST_OF_PARTS);
    if (!pile)
        return refusePart(raw);
    if (raw.size() >= 3 && raw[raw.size() - 3] == '~') {
        logDebug(pieces("this is e message part=", *pile));
        return true;
    }
    logDebug(pieces("it is the end of message =", *pile));
    logDebug("received global coins and notes"); // the words of a count, here too
    g_sCountParts.clear();
    g_sLastCallbackType.set("e-all");
    return true;
}

void storeUnknown(std::string_view raw, const DeviceMessage& message)
{
    g_nLastCallbackStatus = DEVICE_ERROR;
    g_nLastCallbackMode = message.nMode;
    logError(raw);
}

/// False if the message goes no further because nothing changed.
bool logRawMessage(std::string_view raw)
{
    if (g_sLastDeviceMessage.change(raw)) {
        logLine(raw, LOG_DEVICE_IN, LOG_FILE_LOGIC);
        return true;
    }
    if (g_nLoggEveryCallback == 1)
        logLine(raw, LOG_DEVICE_IN, LOG_FILE_LOGIC);
    return g_nForwardCallbackChangeOnly != 1;
}

/// The event of a "b" depends on what its text is about.
void forwardEvent(const DeviceMessage& message, std::int32_t previousStatus)
{
    const std::string text(message.strMessage);
    const std::int32_t code = message.nMessageKind == 0 ? 0 : message.nMessageCode;
    if (message.nStatus == DEVICE_ERROR && previousStatus != DEVICE_ERROR)
        sendErrorEvent(text, code);
    else if (message.nMessageKind == INFORMATION_KIND)
        sendInformationEvent(text, message.nMessageCode);
    else if (!text.empty() && isLetter(text.front()))
        sendCashSessionEvent(text);
    else
        sendCashLevelEvent(text, code);
}

void forward(std::string_view raw, const DeviceMessage& message, std::int32_t previousStatus)
{
    if (!logRawMessage(raw))
        return;
    switch (message.strCmd.front()) {
    case 'a':
        if (!g_bSendingPayCommand)
            sendStatusEvent(message.amountOrRest, message.nStatus, message.nMode);
        break;
    case 'b':
        forwardEvent(message, previousStatus);
        break;
    case 'c':
        if (message.nStatus == DEVICE_BUSY) {
            g_nAmountPaidIn = message.amountOrRest;
            sendStatusEvent(message.amountOrRest, message.nStatus, message.nMode);
        }
        break;
    default:
        break;
    }
}

/// Writes what the message says into the shared state. False if it goes no further.
bool storeMessage(std::string_view raw, DeviceMessage& message)
{
    // The name first, then the fields; waits see the name with the last of them.
    g_sLastCallbackType.begin(message.strCmd);
    bool changedHead = false;
    bool goesOn = true;
    switch (message.strCmd.front()) {
    case 'a':
        storeStatus(message);
        break;
    case 'b':
        changedHead = storeEvent(message);
        break;
    case 'c':
        storeAskAnswer(message);
        break;
    case 'x':
        storeCommandSet(message);
        break;
    case 'v':
        storeVersion(message);
        break;
    case 'j':
        goesOn = joinCount(raw);
        break;
    case 'e':
        goesOn = joinAdministration(raw);
        break;
    default:
        storeUnknown(raw, message);
        break;
    }
    g_sLastCallbackType.publish();
    if (changedHead)
        sendStatusEvent(message.amountOrRest, message.nStatus, message.nMode);
    return goesOn;
}

} // namespace

int callbackfunc(const char* message)
try {
    // A copy: an event may call exitTL, and the communication library forget the message. A short one needs
    // no memory.
    const std::string raw = message == nullptr ? "" : message;
    const std::int32_t previousStatus = g_nLastCallbackStatus;
    if (g_nLoggSendEvents != 0 && g_nLoggEveryCallback == 1)
        logDebug(pieces("ctllogics.callbackfunc: Started with message = ", raw));

    DeviceMessage fields;
    if (formatCallbackArg(raw, fields) != TL_STATUS_OK)
        failMessage(raw, "ctllogics.callbackfunc: Error in format of received callback");
    else if (storeMessage(raw, fields))
        forward(raw, fields, previousStatus);
    return 1;
} catch (...) {
    // No memory for it: the message is lost, and the communication library must not see why.
    return 1;
}
