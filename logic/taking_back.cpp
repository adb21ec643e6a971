// Giving change, giving money back, and bringing the device back from an error. None of these moves the
// logic's state or counts as a pay-out.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "text/compose.h"

namespace {

enum RegretType : std::int16_t { REGRET_LAST_NOTE = 0, REGRET_ALL = 1 };

constexpr std::int64_t REGRET_BUSY_TIMEOUT = 10000; // a customer at the device is not made to wait longer

/// Follows the device through busy and, if the setting says so, back to ready.
std::int16_t waitForMoneyBack(const Operation& op, std::int32_t paidIn, SettingNumber okCheck)
{
    // With nothing paid in the device has nothing to do and never turns busy.
    if (paidIn > 0) {
        if (const std::int16_t waited = op.logic().waitForStatus(DEVICE_BUSY, ANSWER_TIMEOUT);
            waited != TL_STATUS_OK)
            return op.timedOut("Start", waited);
    }
    if (op.logic().settings().getIntSetting(okCheck) == 1) {
        if (const std::int16_t waited = op.waitForReady(ReadyStatus::Either, statusOkTimeout(op.logic()));
            waited != TL_STATUS_OK)
            return op.timedOut("Stop", waited);
    }
    return op.done();
}

} // namespace

std::int16_t CTLLogics::change(std::string& message)
{
    Operation op(*this, "change", message);
    op.enter("CTLLogics::change()");
    g_bAskPayoutDone = false;
    const std::int32_t paidInAtEntry = g_nAmountPaidIn; // before the wait, unlike regret
    if (op.busy() || op.lacksSession("Change") ||
        op.lacksState("Change", {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
        return op.outcome();

    op.prepare(COMMAND_CHANGE);
    const std::int16_t sent = sendPayCommand([&] { return g_ostrivane.change(message); });
    if (sent != TL_STATUS_OK)
        return op.failed("COstrivane::change", sent);
    return waitForMoneyBack(op, paidInAtEntry, ChangeOkCheck);
}

std::int16_t CTLLogics::regret(std::int16_t regretType, std::string& message)
{
    Operation op(*this, "regret", message);
    op.enter(pieces("CTLLogics::regret(", regretType, ")"));
    if (op.busy({.timeout = REGRET_BUSY_TIMEOUT}))
        return op.outcome();
    g_bAskPayoutDone = false;
    const std::int32_t paidInAtEntry = g_nAmountPaidIn;

    std::int16_t sent = TL_STATUS_OK;
    if (regretType == REGRET_LAST_NOTE) {
        if (op.lacksSession("Regret Last Note") ||
            op.lacksState("Regret Last Note",
                          {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
            return op.outcome();
        op.prepare(COMMAND_REGRET_LAST_NOTE);
        sent = sendPayCommand([&] { return g_ostrivane.regretLastNote(message); });
    } else if (regretType == REGRET_ALL) {
        if (op.lacksSession("Regret All") ||
            op.lacksState("Regret All", {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED}))
            return op.outcome();
        op.prepare(COMMAND_PAYOUT);
        if (hasExtendedCommandSet()) {
            op.info("True regret all is supported.");
            sent = sendPayCommand([&] { return g_ostrivane.regretAll(message); });
        } else {
            op.info("True regret all is not supported, using normal payout instead.");
            sent = sendPayCommand([&] { return g_ostrivane.doPayOut(0, 0, "regretAll", message); });
        }
    } else {
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "Invalid regretType", "Invalid regretType");
    }
    if (sent != TL_STATUS_OK)
        return op.failed("COstrivane::regret", sent);
    return waitForMoneyBack(op, paidInAtEntry, RegretOkCheck);
}

std::int16_t CTLLogics::reset(std::string& message)
{
    Operation op(*this, "reset", message);
    op.enter("CTLLogics::reset()");
    // For a device in error, in every state.
    if (op.busy({.onError = OnError::GoOn}))
        return op.outcome();
    g_bAskPayoutDone = false;
    op.prepare(COMMAND_RESET);
    if (const std::int16_t sent = g_ostrivane.reset(message); sent != TL_STATUS_OK)
        return op.failed("COstrivane::reset", sent);
    return op.done();
}
