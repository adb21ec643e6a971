// Administration mode, and the work on the device's cash. A shortened form of the other operations: a busy
// device is waited for, and nothing but a time-out of that wait is looked at.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "diag/log.h"
#include "events/count_text.h"
#include "logic/command_names.h"
#include "logic/operation.h"
#include "text/compose.h"

namespace {

/// A rest shorter than this, such as ";", names nothing.
constexpr std::size_t SHORTEST_REST = 4;

constexpr std::size_t BODY_AT = 2;

constexpr BusyGate DESPITE_ERROR{.onError = OnError::GoOn};

void prepareForParts(const Operation& op, char letter)
{
    g_bAskPayoutDone = false;
    op.prepare(letter);
    g_sEParts.clear();
}

bool lacksAdminMode(Operation& op, const char* label)
{
    return op.refusedIf(g_nLastCallbackMode != MODE_ADMINISTRATION, TL_STATUS_NOT_SUPPORTED, "Not Supported",
                        pieces(label, " is not supported not in Admin Mode"));
}

void logWaitForParts()
{
    logDebug("start wait for CALLBACK_TYPE_E_ALL_PARTS");
}

/// The device's answer as far as it came in time.
std::string waitForParts(const CTLLogics& logic)
{
    logWaitForParts();
    logic.waitForCallback("e-all", ANSWER_TIMEOUT);
    const std::string parts = g_sEParts.get();
    logDebug(parts);
    return parts;
}

std::int16_t failedToComply(const Operation& op)
{
    return op.answer(TL_STATUS_FAILED_TO_COMPLY, "Failed to comply");
}

bool namesWhatIsLeft(const std::string& part)
{
    return part.size() > 1 && part[1] == '1';
}

/// The part behind its letter and kind, up to "end" or its own end.
std::string bodyUpTo(const std::string& part, char end)
{
    const std::string body = part.substr(BODY_AT);
    return body.substr(0, body.find(end));
}

void appendTo(std::string& list, const std::string& entries)
{
    if (entries.empty())
        return;
    if (!list.empty())
        list += ',';
    list += entries;
}

/// The coins and notes that the device's answer names as left: "<coins>;<notes>".
std::string restOf(const std::string& answer)
{
    std::string coins;
    std::string notes;
    for (const std::string& part : split(answer, '|')) {
        if (!namesWhatIsLeft(part))
            continue;
        const std::vector<std::string> fields = split(bodyUpTo(part, '.'), ';');
        appendTo(coins, fields.empty() ? "" : fields[0]);
        appendTo(notes, fields.size() < 2 ? "" : fields[1]);
    }
    return compose(coins, ";", notes);
}

} // namespace

std::int16_t CTLLogics::adminMode(std::int16_t adminModeType, std::string& message)
{
    Operation op(*this, "adminMode", message);
    op.enter(pieces("CTLLogics::adminMode(", adminModeType, ")"));
    if (op.busy(DESPITE_ERROR))
        return op.outcome();
    const std::int32_t state = g_TLState;
    if (op.refusedIf(state != STATE_PAYIN_DISABLED, TL_STATUS_FAILED_TO_COMPLY, "Failed to comply",
                     pieces("AdminMode is not allowed from state ", stateName(state))) ||
        op.refusedIf(g_nAmountPaidIn >= 1, TL_STATUS_FAILED_TO_COMPLY, "Failed to comply",
                     "AdminMode is not allowed when inserted amount > 0"))
        return op.outcome();

    g_bAskPayoutDone = false;
    op.prepare(COMMAND_ADMIN_MODE);
    const std::int16_t sent = g_ostrivane.adminMode(adminModeType, message);
    if (sent != TL_STATUS_OK && !deviceHasLongForms()) {
        op.failed("COstrivane::adminMode", sent);
        return TL_STATUS_BUSY; // whatever the code was
    }
    return op.done(); // a status event tells when the device is there
}

std::int16_t CTLLogics::endReplenish(const std::string& transactionId, std::string& message)
{
    Operation op(*this, "endReplenish", message);
    op.enter(pieces("CTLLogics::endReplenish(", transactionId, ")"));
    if (op.busy(DESPITE_ERROR) || op.lacksState("End Replenish", {STATE_PAYIN_DISABLED}) ||
        lacksAdminMode(op, "End Replenish"))
        return op.outcome();

    g_bAskPayoutDone = false;
    op.prepare(COMMAND_END_REPLENISH);
    g_ostrivane.endReplenish(transactionId, message); // the answer tells, not the send
    logWaitForParts();
    for (const char* const answer : {"e-all", "a"}) {
        if (const std::int16_t answered = waitForCallback(answer, ANSWER_TIMEOUT); answered != TL_STATUS_OK) {
            op.failed("COstrivane::endReplenish", answered);
            return TL_STATUS_BUSY;
        }
    }
    return op.done();
}

std::int16_t CTLLogics::unlock(std::uint32_t number, std::string& message)
{
    Operation op(*this, "unlock", message);
    op.enter(pieces("CTLLogics::unlock(", number, ")"));
    if (op.busy(DESPITE_ERROR) || op.lacksState("Unlock", {STATE_PAYIN_DISABLED}) ||
        lacksAdminMode(op, "Unlock"))
        return op.outcome();

    g_bAskPayoutDone = false;
    op.prepare(COMMAND_UNLOCK);
    const std::int16_t sent = g_ostrivane.unlock(number, message);
    logLine(pieces("CTLLogics::unlock: COstrivane::unlock status = ", sent, ", message = ", message),
            LOG_APP_IN, LOG_FILE_LOGIC);  // under the kind of an entry line
    g_nLastCallbackStatus = DEVICE_READY; // whatever the send said
    logWaitForParts();
    const std::int16_t answered = waitForCallback("e-all", ANSWER_TIMEOUT);
    if (answered != TL_STATUS_OK && !deviceHasLongForms()) {
        op.failed("COstrivane::unlock", answered);
        return TL_STATUS_BUSY;
    }
    return op.done();
}

std::int16_t CTLLogics::collectToCashFloat(std::int16_t type, std::string& coinsAndNotes,
                                           const std::string& transactionId, std::string& message)
{
    Operation op(*this, "collectToCashFloat", message);
    op.enter(
        pieces("CTLLogics::collectToCashFloat(", type, ",coinsAndNotes,\"", transactionId, "\", message)"));
    if (op.busy(DESPITE_ERROR) || op.lacksState("Collect To CashFloat", {STATE_PAYIN_DISABLED}) ||
        lacksAdminMode(op, "Collect To CashFloat"))
        return op.outcome();

    prepareForParts(op, COMMAND_COLLECT);
    if (const std::int16_t sent = g_ostrivane.collectToCashFloat(type, coinsAndNotes, transactionId, message);
        sent != TL_STATUS_OK)
        return op.failed("COstrivane::collectToCashFloat", sent);
    coinsAndNotes = restOf(waitForParts(*this));
    return coinsAndNotes.size() < SHORTEST_REST ? op.done() : failedToComply(op);
}

std::int16_t CTLLogics::dispenseSpecified(std::int16_t type, std::string& coinsAndNotes, std::int32_t amount,
                                          const std::string& transactionId, std::string& message)
{
    Operation op(*this, "dispenseSpecified", message);
    op.enter(
        pieces("CTLLogics::dispenseSpecified(", type, ",coinsAndNotes,\"", transactionId, "\", message)"));
    if (op.busy(DESPITE_ERROR) ||
        op.lacksState("Dispense Specified", {STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}))
        return op.outcome();
    if (amount > MAX_AMOUNT) {
        coinsAndNotes.clear(); // unlike other refusals, nothing comes back as not paid
        return op.refuse(TL_STATUS_INPUT_PARAM_ERROR, "Amount to dispense too big",
                         "Amount to dispense is too big");
    }

    prepareForParts(op, COMMAND_DISPENSE_SPECIFIED);
    if (const std::int16_t sent = g_ostrivane.dispenseSpecified(type, coinsAndNotes, transactionId, message);
        sent != TL_STATUS_OK)
        return op.failed("COstrivane::dispenseSpecified", sent);
    coinsAndNotes = restOf(waitForParts(*this));
    if (coinsAndNotes.size() >= SHORTEST_REST)
        return failedToComply(op);
    g_TLState = STATE_PAYIN_DISABLED;
    return op.done();
}

std::int16_t CTLLogics::purge(std::uint32_t number, std::string& coinsAndNotes,
                              const std::string& transactionId, std::string& message)
{
    Operation op(*this, "purge", message);
    op.enter(pieces("CTLLogics::purge(", number, ",coinsAndNotes,,\"", transactionId, "\", message)"));
    if (op.busy(DESPITE_ERROR) || op.lacksState("Purge", {STATE_PAYIN_DISABLED, STATE_CASH_DEPOSITED}) ||
        lacksAdminMode(op, "Purge"))
        return op.outcome();

    prepareForParts(op, COMMAND_PURGE);
    if (const std::int16_t sent = g_ostrivane.purge(number, message); sent != TL_STATUS_OK)
        return op.failed("COstrivane::purge", sent);

    // Reads the answer in its own way: any record of what is left is a failure, however short.
    bool anyLeft = false;
    coinsAndNotes.clear();
    for (const std::string& part : split(waitForParts(*this), '|')) {
        if (!namesWhatIsLeft(part))
            continue;
        anyLeft = true;
        coinsAndNotes += bodyUpTo(part, part.find('~', BODY_AT) != std::string::npos ? '~' : '.');
    }
    if (anyLeft || coinsAndNotes.size() >= SHORTEST_REST)
        return failedToComply(op);
    g_TLState = STATE_PAYIN_DISABLED;
    return op.done();
}
