// What became of the money of one sale, as far as the log tells it.
#pragma once

#include "tools/calendar.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tllog {

struct Sale {
    std::uint64_t id = 0; // from 1, in the order of their starts
    std::string folder;
    Time start = 0;
    Time end = 0;        // the device ready with nothing paid in, or the last that is known
    std::string receipt; // the last one that was given
    std::string kind;    // "payout", "deposit+dispense", "regret", ...; empty before any pay call

    std::int64_t paidIn = 0;
    std::int64_t kept = 0; // what the till keeps by its pay commands, less what it pays out besides
    bool hasDue = false;   // false: nothing was sold (change, regret, a dispense alone)
    std::int64_t paidOut = 0;
    bool isOver = false;     // the device was ready with nothing paid in
    bool wasRefused = false; // no pay command went out, or the device took none
    std::string unknown;     // why the sums can't be told; empty if they can
    std::string call;        // the last pay call
    int status = -1;         // of its end; -1: the log has none
    std::string message;
    std::string deviceError; // what the device said of itself meanwhile
    int decimals = 2;

    bool isKnown() const { return unknown.empty(); }
    std::optional<std::int64_t> due() const;
    /// What the customer had to get.
    std::int64_t owed() const { return paidIn - kept; }
    /// What the customer did not get of it; none while money of the sale is still in the device.
    std::optional<std::int64_t> missing() const;
    bool needsALook() const { return !isKnown() || missing().value_or(1) != 0; }
    /// "ok", "given back", "refused: ...", "timed out, ...", "unknown: ..."
    std::string result() const;
};

} // namespace tllog
