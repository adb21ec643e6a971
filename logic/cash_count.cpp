// Counting what the device holds, denomination by denomination.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "diag/log.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "text/compose.h"

namespace {

constexpr std::int64_t COUNT_TIMEOUT = 10000;

using CountCommand = std::int16_t (COstrivane::*)(std::string& message);

/// Both counts: they differ in their command alone. Asked for in every state, an error included.
std::int16_t count(Operation& op, char letter, CountCommand command, std::vector<CashCountRecord>& coins,
                   std::vector<CashCountRecord>& notes)
{
    op.enter(pieces("CTLLogics::", op.name(), "()"));
    if (op.busy({.onError = OnError::GoOn}))
        return op.outcome();
    g_bAskPayoutDone = false;
    op.prepare(letter);
    if (const std::int16_t sent = (g_ostrivane.*command)(op.message()); sent != TL_STATUS_OK)
        return op.failed("COstrivane::reset", sent); // worded so for both counts

    logDebug("start wait for CALLBACK_TYPE_J_ALL_PARTS");
    const std::int16_t answered = op.logic().waitForCallback("j-all", COUNT_TIMEOUT);
    logDebug("finished wait for CALLBACK_TYPE_J_ALL_PARTS");
    if (answered == TL_STATUS_TIMEOUT)
        return op.refuse(TL_STATUS_TIMEOUT, "Timed out", pieces(op.name(), " timed out"));
    if (answered == TL_STATUS_ERROR)
        return op.deviceHasErrors();
    {
        const std::lock_guard lock(g_cashCountResult.lock);
        coins = g_cashCountResult.coins;
        notes = g_cashCountResult.notes;
    }
    logDebug("results combined!");
    op.done();
    logDebug(pieces("CTLLogics::", op.name(), " returning status = Ok."));
    return TL_STATUS_OK;
}

} // namespace

std::int16_t CTLLogics::cashCount(std::vector<CashCountRecord>& coins, std::vector<CashCountRecord>& notes,
                                  std::string& message)
{
    Operation op(*this, "cashCount", message);
    return count(op, COMMAND_CASH_COUNT, &COstrivane::cashCount, coins, notes);
}

std::int16_t CTLLogics::completeCashCount(std::vector<CashCountRecord>& coins,
                                          std::vector<CashCountRecord>& notes, std::string& message)
{
    Operation op(*this, "completeCashCount", message);
    return count(op, COMMAND_COMPLETE_CASH_COUNT, &COstrivane::completeCashCount, coins, notes);
}
