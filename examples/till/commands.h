// The till's commands. Each runs one session and answers whether all went well; a call that fails throws.
#pragma once

#include "examples/till/session.h"

struct SaleOptions {
    // As people write amounts: only the device tells how many decimals they have.
    std::string due = "63";
    std::vector<std::string> pieces = {}; // what the customer pays with; if there are none, whatever fits
};

/// Paid with change in one call.
bool runPayOutSale(Printer& printer, const SessionOptions& session, const SaleOptions& sale);

/// Pay-in closed, the money kept, and the change dispensed.
bool runDepositSale(Printer& printer, const SessionOptions& session, const SaleOptions& sale);

/// The customer takes back the last note, and then everything.
bool runRegretSale(Printer& printer, const SessionOptions& session, const SaleOptions& sale);

/// What the device holds, as the library counts it.
bool runCount(Printer& printer, const SessionOptions& session);

/// A drawer that runs dry, with its warnings.
bool runLevels(Printer& printer, const SessionOptions& session);

/// Events as messages to a window or a socket, their texts fetched.
bool runWindow(Printer& printer, const SessionOptions& session);

struct ServeOptions {
    std::uint16_t port = 7411; // of the page; 0 for any
    std::string portFile = {}; // gets the number of the port
};

/// The till in the browser, until the process is told to end.
bool runServe(const SessionOptions& session, const ServeOptions& serve);

/// Replenishes, collects to the float, purges and unlocks.
bool runAdministration(Printer& printer, const SessionOptions& session);
