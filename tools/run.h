// Puts logs, story and view together.
#pragma once

#include "tools/options.h"
#include "tools/printer.h"
#include "tools/views.h"

namespace tllog {

/// Reads all there is, or follows what is being written. False if there are no logs.
bool run(const Options& options, Printer& printer, View& view);

} // namespace tllog
