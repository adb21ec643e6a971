// One archive of what support needs: the last days' logs, the settings and language files, the versions.
#pragma once

#include "tools/options.h"
#include "tools/printer.h"

namespace tllog {

/// Throws std::runtime_error with a text for people to read.
void pack(const std::filesystem::path& archive, bool mask, const Options& options, Printer& printer);

/// A line with its receipts and login texts replaced, each by as many other characters; equal ones stay
/// equal. "key" keeps them from being found by trial.
std::string masked(std::string_view line, std::uint64_t key);

} // namespace tllog
