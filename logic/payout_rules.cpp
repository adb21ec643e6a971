// What every pay-out goes through before its command: is the device to be asked first, how much was paid out
// lately, and the mark that a pay-out is on its way.
#include "logic/ctllogics.h"

#include "diag/log.h"
#include "logic/low_level_warning.h"
#include "logic/operation.h"
#include "platform/clock.h"
#include "text/compose.h"

/// Decides and logs; asks nothing. "toPay" is how the operation words a pay-out.
bool CTLLogics::mustAskFirst(const Operation& op, std::int32_t amount, const char* toPay) const
{
    if (amount == 0) {
        op.info(compose("Zero amount to ", toPay, ", askPayout not called"));
        return false;
    }
    if (amount < m_settings.getIntSetting(AskPayOutAmountLimit)) {
        // With low levels an earlier ask for the same amount doesn't count.
        if (g_nCurrentLowLevelWarningState.isLow()) {
            op.info(compose("Small amount to ", toPay, " but Cash Levels are low, call askPayout"));
            return true;
        }
        op.info(compose("Small amount to ", toPay, " and Cash Levels are ok, askPayout not called"));
        return false;
    }
    if (g_bAskPayoutDone && g_nAskPayoutAmount == amount) {
        op.info("Previous askPayout with same amount performed, askPayout not called");
        return false;
    }
    return true;
}

Refusal CTLLogics::askBeforePaying(const Operation& op, std::int32_t amount, std::int32_t& amountRest,
                                   std::string& message)
{
    op.info(compose("Performing askPayout prior to ", op.name()));
    const std::int16_t result = askPayout(amount, amountRest, message);
    if (result == TL_STATUS_OK)
        return std::nullopt;
    logLineTwice(op.failureLine("askPayout", result), LOG_FAILURE, LOG_FILE_LOGIC, LOG_FILE_ERROR);
    return result;
}

/// The limit that is set, if any, with the list purged for it.
std::optional<PayOutLimit> CTLLogics::purgeForLimit(const Operation& op)
{
    const PayOutLimit limit{m_settings.getIntSetting(PayOutAmountPerTimeLimitAmount),
                            m_settings.getIntSetting(PayOutAmountPerTimeLimitSeconds)};
    const std::string settings =
        compose("PayOutAmountPerTimeLimitAmount = ", limit.amount, ", seconds limit = ", limit.seconds);
    if (limit.amount < 1) {
        op.info(settings + ", not checking paid out amounts.");
        return std::nullopt;
    }
    op.info(settings + ", checking paid out amounts. Purging paid out list...");
    m_paidOutList.purge(platform::wallClockSeconds(), limit.seconds);
    return limit;
}

/// Stays there whatever becomes of the pay-out: a failed one may have been paid.
void CTLLogics::addToPaidOutList(const Operation& op, std::int32_t amount)
{
    op.info(compose("adding ", amount, " to paid out list."));
    m_paidOutList.add(platform::wallClockSeconds(), amount);
}

void CTLLogics::markLowLevelPending(const Operation& op) const
{
    if (const auto step = g_nCurrentLowLevelWarningState.beginPayOut())
        op.info(step->text());
}

/// Follows the payment from its send on: busy must be seen and, if the setting says so, the end of it. Every
/// failure ends the one-pay-out settings; what it is called in the log differs by operation.
Refusal CTLLogics::followPayOut(const Operation& op, std::int16_t sent, const char* command,
                                const char* payment, Ready readyAtEnd)
{
    if (sent != TL_STATUS_OK) {
        endOnePayOutSettings();
        return op.failed(command, sent);
    }
    // An error status in either wait is told as the timeout: the payment's fate is unknown in both cases.
    if (const std::int16_t waited = waitForStatus(DEVICE_BUSY, ANSWER_TIMEOUT); waited != TL_STATUS_OK) {
        endOnePayOutSettings();
        return op.timedOut(compose(payment, " start"), waited);
    }
    if (m_settings.getIntSetting(PayOutOkCheck) == 1) {
        if (const std::int16_t waited = waitForReady(readyAtEnd, statusOkTimeout()); waited != TL_STATUS_OK) {
            endOnePayOutSettings();
            return op.timedOut(compose(payment, " stop"), waited);
        }
    }
    return std::nullopt;
}

void CTLLogics::endOnePayOutSettings()
{
    if (m_settings.getDurationType() == DURATION_NEXT_PAYMENT)
        restoreSettings();
}
