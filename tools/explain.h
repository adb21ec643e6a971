// Answers "what does this status, or this message, mean?".
#pragma once

#include "tools/printer.h"

#include <string>
#include <vector>

namespace tllog {

/// "6", "payoutTL 6", "Timed out", or a whole line of the log. False if nothing is known of it.
bool explain(const std::vector<std::string>& words, const Options& options, Printer& printer);

} // namespace tllog
