// What all sales have in common.
#pragma once

#include "examples/till/session.h"

/// Runs "sale" in a session of its own and answers whether all went well, the sale's own answer included. If
/// anything fails the customer gets the money back.
bool runSale(Printer& printer, const SessionOptions& options, const std::function<bool(Session&)>& sale);
