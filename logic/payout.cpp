// Settling a sale in one command while pay-in is enabled.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "logic/payout_rules.h"
#include "text/compose.h"
#include "text/numbers.h"

std::int16_t CTLLogics::payout(std::int32_t amountDispense, std::int32_t amountDeposit,
                               const std::string& transactionId, std::string& message)
{
    Operation op(*this, "payout", message);
    op.enter(pieces("CTLLogics::payout(", amountDispense, ",", amountDeposit, ",", transactionId, ")"));
    std::int32_t amountRest = 0;
    return payout(amountDispense, amountDeposit, transactionId, amountRest, message);
}

std::int16_t CTLLogics::payout(std::int32_t amountDispense, std::int32_t amountDeposit,
                               const std::string& transactionId, std::int32_t& amountRest,
                               std::string& message)
{
    Operation op(*this, "payout", message);
    op.enter(pieces("CTLLogics::payout(", amountDispense, ", ", amountDeposit, ", ", transactionId,
                    ", amountRest)"));
    amountRest = 0;
    if (op.busy({.ready = ReadyStatus::PayinEnabled}) ||
        op.refusedIf(amountDeposit > g_nAmountPaidIn, TL_STATUS_AMOUNT_TOO_BIG, "Amount to deposit too big",
                     "Amount to deposit was bigger than amount payed in") ||
        dispensesOutOfRange(op, amountDispense) ||
        op.refusedIf(amountDeposit < 0, TL_STATUS_INPUT_PARAM_ERROR, "Amount to deposit too small",
                     "Amount to deposit is too small") ||
        op.refusedIf(amountDeposit > MAX_AMOUNT, TL_STATUS_INPUT_PARAM_ERROR, "Amount to deposit too big",
                     "Amount to deposit is too big"))
        return op.outcome();

    // Decided, and logged, before the state is tested; asked after.
    const bool askFirst = mustAskFirst(op, amountDispense, "pay out");
    if (op.lacksSession("Payout") || op.lacksState("Payout", {STATE_PAYIN_ENABLED}) ||
        (askFirst && askFails(op, amountDispense, amountRest)))
        return op.outcome();
    if (const auto limit = purgeForLimit(op, m_paidOutList)) {
        const std::int32_t sum = m_paidOutList.sum();
        op.info(pieces("sumPaidInAmount = ", sum)); // "In", though it is what was paid out
        const std::int32_t difference = wrappingSubtract(amountDispense, amountDeposit);
        if (wrappingAdd(sum, difference) > limit->amount) {
            op.info(pieces("sumPaidOutAmount = ", sum, ", amountDispense = ", amountDispense,
                           ", amountDeposit = ", amountDeposit));
            return op.refuse(
                TL_STATUS_PAYOUT_LIMIT, "Payout larger than allowed limit per time unit",
                pieces("(", sum, " + (", amountDispense, " - ", amountDeposit, ") > ", limit->amount,
                       "), Payout larger than allowed limit per time unit: ", limit->seconds, " seconds!"));
        }
        addToPaidOutList(op, m_paidOutList, difference);
    }

    g_bAskPayoutDone = false;
    markLowLevelPending(op);
    op.prepare(COMMAND_PAYOUT);
    const std::int16_t sent = sendPayCommand(
        [&] { return g_ostrivane.doPayOut(amountDispense, amountDeposit, transactionId, message); });
    if (payOutFails(op, sent, {"COstrivane::doPayOut", "doPayout", ReadyStatus::PayinEnabled}))
        return op.outcome();
    endOnePayOutSettings(*this);
    return op.done();
}

std::int16_t CTLLogics::amountDue(std::int32_t amountDue, const std::string& transactionId,
                                  std::int32_t& amountRest, std::string& message)
{
    Operation op(*this, "amountDue", message);
    op.enter(pieces("CTLLogics::amountDue(", amountDue, ",", transactionId, ", amountRest)"));
    const std::int32_t paidIn = g_nAmountPaidIn;
    const std::int32_t change = wrappingSubtract(paidIn, amountDue);
    if (change < 0)
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "Paid in amount smaller than amount due",
                         "Paid in amount smaller than amount due");
    return payout(change, paidIn, transactionId, amountRest, message);
}

std::int16_t CTLLogics::informTotalAmount(std::int32_t amountTotal, std::string& message)
{
    Operation op(*this, "informTotalAmount", message);
    op.enter(pieces("CTLLogics::informTotalAmount(", amountTotal, ")"));
    if (op.busy() || op.lacksSession("InformTotalAmount"))
        return op.outcome();

    op.prepare(COMMAND_INFORM_TOTAL);
    if (const std::int16_t sent = g_ostrivane.informTotalAmount(amountTotal, message); sent != TL_STATUS_OK)
        return op.failed("COstrivane::informTotalAmount", sent);
    op.info("Waiting for a message ...");
    const std::int16_t answered = waitForCallback("a", ANSWER_TIMEOUT);
    op.info(pieces("Waiting for a message resulted in:", answered));
    // On a failed wait the message stays at what the send left in it.
    return answered == TL_STATUS_OK ? op.done() : op.failed("COstrivane::informTotalAmount", answered);
}
