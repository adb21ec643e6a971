// Opening and closing a session with the device, and what is known of the device meanwhile.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "diag/log.h"
#include "events/senders.h"
#include "logic/command_names.h"
#include "logic/low_level_warning.h"
#include "logic/operation.h"
#include "platform/clock.h"
#include "text/compose.h"
#include "text/dates.h"
#include "text/numbers.h"

#include <algorithm>
#include <cstdlib>

namespace {

/// Reduces a login text to the number that its last two characters say, or its last one; 1 if none does.
std::int32_t twoDigitValue(const std::string& text)
{
    static constexpr std::int32_t START_VALUE = 1;
    if (text.empty())
        return START_VALUE;
    if (const std::int32_t value =
            leadingNumber(text.substr(text.size() - std::min<std::size_t>(2, text.size())));
        value != 0)
        return value;
    const std::string last = text.substr(text.size() - 1);
    if (const std::int32_t value = leadingNumber(last); value != 0)
        return value;
    return last == "0" ? 0 : START_VALUE;
}

std::int32_t twoDigits(std::int32_t number)
{
    return std::abs(number % 100);
}

/// YYYYMMDDHHMMSSmmm
std::string timeStamp()
{
    const platform::LocalTime now = platform::localTime();
    return compose(dateText(now.calendar), leftPadded(now.calendar.tm_hour, 2),
                   leftPadded(now.calendar.tm_min, 2), leftPadded(now.calendar.tm_sec, 2),
                   leftPadded(now.milliseconds, 3));
}

/// Asks what the device is able to do; a failure leaves the login to the device.
void queryDevice(const Operation& login)
{
    const std::int16_t queried = login.logic().queryCommandSet(login.message());
    login.info(pieces("queryCommandSet returned ", queried, ", message = ", login.message()));
    if (g_sSupportedCommands.get().find('V') != std::string::npos) {
        const std::int16_t version = login.logic().versionTL(login.message());
        login.info(pieces("versionTL returned ", version, ", message = ", login.message()));
    }
}

std::int16_t giveUpLogin(const Operation& login)
{
    g_sLastDeviceMessage.clear();
    g_bCommandMade = false;
    g_nLastCommand = COMMAND_LOGOUT;
    g_ostrivane.loggedOut(login.message());
    g_nLastCallbackMode = MODE_CLOSED;
    g_nLastCallbackStatus = DEVICE_ERROR;
    sendStatusEvent(0, DEVICE_ERROR, MODE_CLOSED);
    g_TLState = STATE_LOGGED_OUT;
    login.info("Tellarion is Busy. Send failed to comply");
    return login.answer(TL_STATUS_FAILED_TO_COMPLY, "Failed to comply");
}

} // namespace

std::int16_t CTLLogics::login(const std::string& loginNumberText, const std::string& loginText,
                              std::string& message)
{
    Operation op(*this, "login", message);
    op.enter(pieces("CTLLogics::login(", loginNumberText, ",", loginText, ")"));
    g_bAskPayoutDone = false;
    const std::int32_t value = twoDigitValue(loginNumberText);
    logDebug(pieces("CTLLogics::login calling numeric login with params(", value, ",", loginText, ")"));
    if (const std::int16_t result = login(static_cast<std::int16_t>(value), loginText, message);
        result != TL_STATUS_OK)
        return op.failed("Login", result);
    return op.done();
}

std::int16_t CTLLogics::login(std::int16_t loginNumber, const std::string& loginText, std::string& message)
{
    Operation op(*this, "login", message);
    op.enter(pieces("CTLLogics::login(", loginNumber, ",", loginText, ")"));
    logDebug(pieces("CTLLogics::login, date: ", dateText(platform::localTime().calendar, "-")));
    const std::int32_t number = twoDigits(loginNumber);
    const std::int32_t digits = twoDigits(twoDigitValue(loginText));

    // Unlike other operations, a login on an open session waits as if the device were busy, and an error
    // doesn't stop it.
    if (g_TLState > STATE_LOGGED_OUT || g_nLastCallbackStatus == DEVICE_BUSY) {
        op.info("Tellarion is Busy. Wait for Ok");
        if (op.waitForReady(ReadyStatus::Either, BUSY_TIMEOUT) == TL_STATUS_TIMEOUT)
            return op.stillBusy();
    }
    const bool reopening = g_nLastCallbackStatus == DEVICE_ERROR || g_TLState == STATE_LOGGED_OUT;

    if (g_nLegacySystem == 1) {
        op.info("Legacy system, no query of the device");
        m_nCommandLevel = 0;
        m_nLevel = 0;
    } else {
        queryDevice(op);
    }

    op.info("Resetting low level warning state to LOW_LEVEL_WARNING_TRUE to make sure the first payout call "
            "is made with an askPayout first.");
    g_nCurrentLowLevelWarningState.assumeLow();
    g_bAskPayoutDone = false;
    g_nAskPayoutAmount = 0;
    op.prepare(COMMAND_LOGIN);
    const std::int16_t sent = deviceHasLongForms() ? g_ostrivane.login(loginText, message)
                                                   : g_ostrivane.login(number, digits, message);
    if (sent != TL_STATUS_OK) {
        op.error("COstrivane::login failed");
        return sent;
    }

    // What counts is the state after the wait, not how it ended.
    const std::int16_t heard = waitForCallback("a", ANSWER_TIMEOUT);
    op.info(pieces("Waiting for a message resulted in:", heard));
    if (g_nLastCallbackMode == MODE_NOT_OPENED || g_nLastCallbackStatus == DEVICE_BUSY ||
        g_TLState == STATE_LOGGED_OUT)
        return giveUpLogin(op);

    const std::int16_t opened = waitForMode(MODE_OPEN, ANSWER_TIMEOUT, false);
    if (opened == TL_STATUS_TIMEOUT)
        return op.refuse(TL_STATUS_TIMEOUT, "Timed out", "Opening timed out");
    if (opened == TL_STATUS_ERROR)
        return op.deviceHasErrors();

    if (reopening) {
        const std::int32_t status = g_nLastCallbackStatus;
        if (status == DEVICE_READY) {
            g_TLState = STATE_PAYIN_ENABLED;
        } else if (status == DEVICE_READY_PAYIN_DISABLED) {
            g_TLState = STATE_PAYIN_DISABLED;
        } else {
            // The status shows as the number of characters that the line lacks: log readers know it so.
            const std::string line =
                "CTLLogics::login: Last callback status == unexpected! g_nLastCallbackStatus=";
            const auto missing = static_cast<std::size_t>(std::max(status, 0));
            logDebug(line.substr(std::min(missing, line.size())));
        }
    }
    if (g_nLegacySystem == 0 && g_nAutoDisable == 1) {
        if (const std::int16_t result = disablePayin(message); result != TL_STATUS_OK)
            op.error(pieces("AutoDisable failed: nReturn=", result, ", message = ", message));
    }
    return op.done();
}

std::int16_t CTLLogics::queryCommandSet(std::string& message)
{
    Operation op(*this, "queryCommandSet", message);
    if (g_TLState > STATE_LOGGED_OUT && g_nLastCallbackStatus == DEVICE_BUSY &&
        op.waitForReady(ReadyStatus::Either, BUSY_TIMEOUT) == TL_STATUS_TIMEOUT)
        return op.answer(TL_STATUS_BUSY, "Tellarion is busy");

    g_sLastDeviceMessage.clear();
    g_bCommandMade = true;
    const std::string stamp = timeStamp();
    m_sTimeStamp.set(stamp);
    g_nLastCommand = COMMAND_QUERY;
    if (const std::int16_t result = g_ostrivane.queryCommandSet(stamp.c_str(), message);
        result != TL_STATUS_OK) {
        m_nCommandLevel = 1;
        return op.failed("COstrivane::queryCommandSet", result);
    }
    if (waitForCallback("x", ANSWER_TIMEOUT) == TL_STATUS_TIMEOUT) {
        m_nCommandLevel = 1;
        m_nLevel = 0;
        return op.answer(TL_STATUS_TIMEOUT, "Timed out");
    }
    m_nCommandLevel = EXTENDED_COMMAND_SET;
    m_nLevel = 1;
    m_sMaster.set(g_sMasterVersion.get());
    m_sCommands.set(g_sSupportedCommands.get());
    op.info(pieces("Master Version: ", m_sMaster.get()));
    op.info(pieces("Supported Commands: ", m_sCommands.get()));
    return op.done();
}

std::int16_t CTLLogics::versionTL(std::string& message)
{
    Operation op(*this, "versionTL", message);
    op.enter("CTLLogics::versionTL()");
    if (g_TLState > STATE_LOGGED_OUT && op.waitWhileBusy() == TL_STATUS_TIMEOUT)
        return op.stillBusy();

    op.prepare(COMMAND_VERSION);
    if (const std::int16_t result = g_ostrivane.versionTL(message); result != TL_STATUS_OK)
        return op.failed("COstrivane::versionTL", result);
    if (waitForCallback("v", ANSWER_TIMEOUT) == TL_STATUS_TIMEOUT)
        return op.refuse(TL_STATUS_TIMEOUT, "Timed out", "versionTL timed out");
    if (deviceHasLongForms())
        m_nLevel = 2;
    m_sInfo.set(g_sApiVersion.get());
    op.info(pieces("API Version: ", m_sInfo.get()));
    return op.done();
}

std::int16_t CTLLogics::logout(std::string& message)
{
    Operation op(*this, "logout", message);
    op.enter("CTLLogics::logout()");
    g_bAskPayoutDone = false;
    op.prepare(COMMAND_LOGOUT);
    std::int16_t sent = g_ostrivane.logout(message);
    if (sent == TL_STATUS_BUSY) {
        op.info("Tellarion was Busy. Wait for Ok and try again");
        if (op.waitForReady(ReadyStatus::Either, statusOkTimeout(*this)) == TL_STATUS_TIMEOUT)
            return op.refuse(TL_STATUS_BUSY, "Tellarion is busy", "Tellarion is still busy");
        logDebug("CTLLogics::logout() internal class ostrivane.logout was busy, now trying again");
        sent = g_ostrivane.logout(message);
    }
    if (sent != TL_STATUS_OK)
        return op.failed("COstrivane::logout", sent);

    // Polled by hand: an error status must not end the wait for the device to close.
    std::int64_t count = 0;
    do {
        platform::sleepMilliseconds(10);
        count += 10;
    } while (count <= ANSWER_TIMEOUT && g_nLastCallbackMode != MODE_CLOSED);
    g_nLastCallbackMode = MODE_CONSUMED;
    if (count >= ANSWER_TIMEOUT)
        return op.refuse(TL_STATUS_TIMEOUT, "Timed out", "Closing timed out, returning TL_STATUS_TIMEOUT");
    g_TLState = STATE_LOGGED_OUT;
    return op.done();
}

std::int16_t CTLLogics::isOpen(std::uint32_t& open, std::string& message)
{
    Operation op(*this, "isOpen", message);
    op.enter("CTLLogics::isOpen()");
    open = g_bDeviceOpen ? 1 : 0;
    logDebug(pieces("CTLLogics::isOpen status = ", open, "."));
    return op.done();
}

std::int16_t CTLLogics::info(std::uint32_t& level, std::string& commands, std::string& master,
                             std::string& version, std::string& message)
{
    Operation op(*this, "info", message);
    op.enter("CTLLogics::info()");
    if (op.lacksSession("Info"))
        return op.outcome();

    const std::int32_t known = m_nLevel;
    level = static_cast<std::uint32_t>(known);
    commands = known == 0 ? "ABCDEF" : m_sCommands.get();
    master = known == 0 ? "" : m_sMaster.get();
    version = known == 0 ? "" : known == 1 ? "Tellarion" : m_sInfo.get();
    op.done();
    op.info(pieces("level=", level, ", commands=\"", commands, "\", master=\"", master, "\", info=\"",
                   version, "\", message=\"", message, "\"."));
    return TL_STATUS_OK;
}
