#include "logic/payout_rules.h"

#include "diag/log.h"
#include "logic/low_level_warning.h"
#include "platform/clock.h"
#include "text/compose.h"

bool dispensesOutOfRange(Operation& op, std::int32_t amount)
{
    return op.refusedIf(amount < 0, TL_STATUS_INPUT_PARAM_ERROR, "Amount to dispense too small",
                        "Amount to dispense is too small") ||
           op.refusedIf(amount > MAX_AMOUNT, TL_STATUS_INPUT_PARAM_ERROR, "Amount to dispense too big",
                        "Amount to dispense is too big");
}

bool mustAskFirst(const Operation& op, std::int32_t amount, const char* toPay)
{
    if (amount == 0) {
        op.info(pieces("Zero amount to ", toPay, ", askPayout not called"));
        return false;
    }
    if (amount < op.logic().settings().getIntSetting(AskPayOutAmountLimit)) {
        // With low levels an earlier ask for the same amount doesn't count.
        if (g_nCurrentLowLevelWarningState.isLow()) {
            op.info(pieces("Small amount to ", toPay, " but Cash Levels are low, call askPayout"));
            return true;
        }
        op.info(pieces("Small amount to ", toPay, " and Cash Levels are ok, askPayout not called"));
        return false;
    }
    if (g_bAskPayoutDone && g_nAskPayoutAmount == amount) {
        op.info("Previous askPayout with same amount performed, askPayout not called");
        return false;
    }
    return true;
}

bool askFails(Operation& op, std::int32_t amount, std::int32_t& amountRest)
{
    op.info(pieces("Performing askPayout prior to ", op.name()));
    const std::int16_t result = op.logic().askPayout(amount, amountRest, op.message());
    if (result == TL_STATUS_OK)
        return false;
    logLineTwice(op.failureLine("askPayout", result), LOG_FAILURE, LOG_FILE_LOGIC, LOG_FILE_ERROR);
    return op.endWith(result);
}

std::optional<PayOutLimit> purgeForLimit(const Operation& op, PaidOutList& list)
{
    const CTLSettings& set = op.logic().settings();
    const PayOutLimit limit{set.getIntSetting(PayOutAmountPerTimeLimitAmount),
                            set.getIntSetting(PayOutAmountPerTimeLimitSeconds)};
    const std::string settings =
        compose("PayOutAmountPerTimeLimitAmount = ", limit.amount, ", seconds limit = ", limit.seconds);
    if (limit.amount < 1) {
        op.info(settings + ", not checking paid out amounts.");
        return std::nullopt;
    }
    op.info(settings + ", checking paid out amounts. Purging paid out list...");
    list.purge(platform::wallClockSeconds(), limit.seconds);
    return limit;
}

void addToPaidOutList(const Operation& op, PaidOutList& list, std::int32_t amount)
{
    op.info(pieces("adding ", amount, " to paid out list."));
    list.add(platform::wallClockSeconds(), amount);
}

void markLowLevelPending(const Operation& op)
{
    if (const auto step = g_nCurrentLowLevelWarningState.beginPayOut())
        op.info(step->text());
}

bool payOutFails(Operation& op, std::int16_t sent, const PayOutWords& words)
{
    CTLLogics& logic = op.logic();
    if (sent != TL_STATUS_OK) {
        endOnePayOutSettings(logic);
        return op.endWith(op.failed(words.command, sent));
    }
    // An error status in either wait is told as the timeout: the payment's fate is unknown in both cases.
    if (const std::int16_t waited = logic.waitForStatus(DEVICE_BUSY, ANSWER_TIMEOUT);
        waited != TL_STATUS_OK) {
        endOnePayOutSettings(logic);
        return op.endWith(op.timedOut(pieces(words.payment, " start"), waited));
    }
    if (logic.settings().getIntSetting(PayOutOkCheck) != 1)
        return false;
    if (const std::int16_t waited = op.waitForReady(words.readyAtEnd, statusOkTimeout(logic));
        waited != TL_STATUS_OK) {
        endOnePayOutSettings(logic);
        return op.endWith(op.timedOut(pieces(words.payment, " stop"), waited));
    }
    return false;
}

void endOnePayOutSettings(CTLLogics& logic)
{
    if (logic.settings().getDurationType() == DURATION_NEXT_PAYMENT)
        logic.restoreSettings();
}
