// What every pay-out goes through around its command: may the amount be paid, is the device to be asked
// first, how much was paid out lately, and what became of it.
#pragma once

#include "logic/operation.h"
#include "logic/paid_out_list.h"

#include <cstdint>
#include <optional>

/// True, and the operation ends, if the amount is below 0 or has more than eight digits.
bool dispensesOutOfRange(Operation& op, std::int32_t amount);

/// Decides and logs; asks nothing. "toPay" is how the operation words a pay-out.
bool mustAskFirst(const Operation& op, std::int32_t amount, const char* toPay);

/// Asks the device. True, and the operation ends, if it can't pay the amount.
bool askFails(Operation& op, std::int32_t amount, std::int32_t& amountRest);

/// The limit that is set, if any, with the list purged for it.
std::optional<PayOutLimit> purgeForLimit(const Operation& op, PaidOutList& list);

/// The entry stays whatever becomes of the pay-out: a failed one may have been paid.
void addToPaidOutList(const Operation& op, PaidOutList& list, std::int32_t amount);

void markLowLevelPending(const Operation& op);

/// How a pay-out is told in the log, and which status says that it is over.
struct PayOutWords {
    const char* command;
    const char* payment;
    ReadyStatus readyAtEnd;
};

/// Follows the payment from its send on: busy must be seen and, if the setting says so, the end of it. True,
/// and the operation ends, if it fails; the settings for one payment have ended then.
bool payOutFails(Operation& op, std::int16_t sent, const PayOutWords& words);

/// At every way out of a pay-out that went as far as the device.
void endOnePayOutSettings(CTLLogics& logic);
