// Paying an amount out, and asking whether it can be paid.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "logic/payout_rules.h"
#include "text/compose.h"
#include "text/numbers.h"

std::int16_t CTLLogics::dispense(std::int32_t amountDispense, const std::string& transactionId,
                                 std::int32_t& amountRest, std::string& message)
{
    Operation op(*this, "dispense", message);
    op.enter(pieces("CTLLogics::dispense(", amountDispense, ", ", transactionId, ", amountRest)"));
    amountRest = 0;
    if (op.busy() || dispensesOutOfRange(op, amountDispense) || op.lacksSession("Dispense") ||
        op.lacksExtendedCommandSet("Dispense") ||
        op.lacksState("Dispense", {STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
        return op.outcome();

    if (mustAskFirst(op, amountDispense, "dispense") && askFails(op, amountDispense, amountRest))
        return op.outcome();
    if (const auto limit = purgeForLimit(op, m_paidOutList)) {
        const std::int32_t sum = m_paidOutList.sum();
        if (wrappingAdd(sum, amountDispense) > limit->amount) {
            op.info(pieces("sumPaidOutAmount = ", sum, ", amountDispense = ", amountDispense));
            return op.refuse(TL_STATUS_PAYOUT_LIMIT, "Payout larger than allowed limit per time unit",
                             pieces("(", sum, " + ", amountDispense, " > ", limit->amount,
                                    "), Payout larger than allowed limit per time unit: ", limit->seconds,
                                    " seconds!"));
        }
        addToPaidOutList(op, m_paidOutList, amountDispense);
    }

    g_bAskPayoutDone = false;
    markLowLevelPending(op);
    op.prepare(COMMAND_DISPENSE);
    const std::int16_t sent =
        sendPayCommand([&] { return g_ostrivane.dispense(amountDispense, transactionId, message); });
    if (payOutFails(op, sent, {"dispense", "dispense", ReadyStatus::Either}))
        return op.outcome();
    g_TLState = STATE_PAYIN_DISABLED;
    endOnePayOutSettings(*this);
    return op.done();
}

std::int16_t CTLLogics::askPayout(std::int32_t amount, std::string& message)
{
    Operation op(*this, "askPayout", message);
    op.enter(pieces("CTLLogics::askPayout(", amount, ")"));
    std::int32_t amountRest = 0;
    return askPayout(amount, amountRest, message);
}

std::int16_t CTLLogics::askPayout(std::int32_t amount, std::int32_t& amountRest, std::string& message)
{
    Operation op(*this, "askPayout", message);
    op.enter(pieces("CTLLogics::askPayout(", amount, ", amountRest)"));
    amountRest = 0;
    g_nAskPayoutAmount = amount;
    if (op.busy() || op.lacksSession("Ask Payout") ||
        op.lacksState("Ask Payout", {STATE_PAYIN_ENABLED, STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
        return op.outcome();
    if (amount == 0) {
        op.info("Zero askPayout, Ok");
        g_bAskPayoutDone = true;
        return op.done();
    }

    op.prepare(COMMAND_ASK_PAYOUT);
    if (const std::int16_t sent = g_ostrivane.askPayout(amount, message); sent != TL_STATUS_OK)
        return op.failed("COstrivane::askPayOut", sent);
    const std::int16_t answered = waitForCallback("c", ANSWER_TIMEOUT);
    if (answered == TL_STATUS_TIMEOUT)
        return op.refuse(TL_STATUS_TIMEOUT, "Timed out", "askPayout timed out");
    if (answered == TL_STATUS_ERROR)
        return op.deviceHasErrors();

    const std::int32_t rest = g_nAskPayoutRest;
    if (rest != 0) {
        amountRest = rest;
        // The device has more to say about a rest; how these waits end decides nothing.
        const std::string notPossible = compose("Not possible (rest: ", rest, ")");
        for (const char* const letter : {"b", "a"}) {
            op.info(pieces(notPossible, ". Waiting for ", letter, " message ..."));
            const std::int16_t waited = waitForCallback(letter, ANSWER_TIMEOUT);
            op.info(pieces("Waiting for ", letter, " message resulted in:", waited));
        }
        return op.refuse(TL_STATUS_NOT_POSSIBLE, "Not possible (rest)", notPossible);
    }
    g_bAskPayoutDone = true;
    return op.done();
}
