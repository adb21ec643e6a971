// Opening the device for notes and coins, closing it, and keeping what was paid in.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "diag/language.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "text/compose.h"

std::int16_t CTLLogics::enablePayin(std::string& message)
{
    Operation op(*this, "enablePayin", message);
    op.enter("CTLLogics::enablePayin()");

    // The gate, with two lines of its own about the wait.
    if (const auto nStatus = op.waitWhileBusy()) {
        op.info(pieces("Tellarion was Busy. Got new status nStatus=", *nStatus));
        if (*nStatus == TL_STATUS_TIMEOUT)
            return op.stillBusy();
        if (*nStatus == TL_STATUS_ERROR)
            return op.deviceHasErrors();
        op.info(pieces("The new status nStatus=", *nStatus, " was neither TIMEOUT nor ERROR."));
    }
    if (g_nLastCallbackStatus == DEVICE_ERROR)
        return op.deviceHasErrors();
    if (op.lacksSession("Enable Payin") || op.lacksExtendedCommandSet("Enable Payin") ||
        op.lacksState("Enable Payin", {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED}))
        return op.outcome();

    op.prepare(COMMAND_ENABLE_PAYIN);
    if (const std::int16_t result = g_ostrivane.enablePayin(message); result != TL_STATUS_OK)
        return op.failed("enablePayinTL", result);
    g_TLState = STATE_PAYIN_ENABLED; // as soon as the command is accepted
    return op.done();
}

std::int16_t CTLLogics::disablePayin(std::string& message)
{
    Operation op(*this, "disablePayin", message);
    op.enter("CTLLogics::disablePayin()");
    if (op.busy({.onError = OnError::RefuseUnlessLongForms}) || op.lacksSession("Disable Payin") ||
        op.lacksExtendedCommandSet("Disable Payin") ||
        op.lacksState("Disable Payin", {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED}))
        return op.outcome();

    op.prepare(COMMAND_DISABLE_PAYIN);
    const std::int16_t sent = g_ostrivane.disablePayin(message);
    if (sent != TL_STATUS_OK && !deviceHasLongForms())
        return op.failed("disablePayinTL", sent);
    const std::int16_t waited = waitForStatus(DEVICE_READY_PAYIN_DISABLED, ANSWER_TIMEOUT);
    if (waited != TL_STATUS_OK && !deviceHasLongForms())
        return op.timedOut("disablePayin", waited);
    g_TLState = STATE_PAYIN_DISABLED;
    return op.done();
}

std::int16_t CTLLogics::deposit(const std::string& transactionId, std::string& message)
{
    Operation op(*this, "deposit", message);
    op.enter(pieces("CTLLogics::deposit(", transactionId, ")"));
    if (op.busy() || op.lacksSession("Deposit") || op.lacksExtendedCommandSet("Deposit") ||
        op.lacksState("Deposit", {STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
        return op.outcome();

    op.prepare(COMMAND_PAYOUT);
    const std::int16_t sent =
        sendPayCommand([&] { return g_ostrivane.doPayOut(0, g_nAmountPaidIn, transactionId, message); });
    if (sent != TL_STATUS_OK)
        return op.failed("doPayOut", sent);
    g_TLState = STATE_CASH_DEPOSITED;
    return op.done();
}
