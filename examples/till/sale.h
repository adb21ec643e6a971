// What all sales have in common.
#pragma once

#include "examples/till/commands.h"

/// What a sale costs and how it is paid, in the device's money.
struct Sale {
    std::int64_t due = 0;
    std::vector<std::int64_t> pieces = {};
};

/// Runs "run" in a session of its own and answers whether all went well, its own answer included. If anything
/// fails the customer gets the money back, unless it can't be known what is back already.
bool runSale(Printer& printer, const SessionOptions& options, const SaleOptions& wanted,
             const std::function<bool(Session&, const Sale&)>& run);
