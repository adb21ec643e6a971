// The text of a cash count, and the lists of coins and notes in it.
#pragma once

#include "logic/shared_state.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The pieces between separators. Nothing stands behind a separator at the very end, and an empty piece
/// between two in a row.
std::vector<std::string> split(std::string_view text, char separator);

/// "<denomination>:<count>[:<recycle>],..." as records. Missing or unreadable fields are 0.
std::vector<CashCountRecord> readRecords(std::string_view list);

/// Reads a whole count, "<coins>;<notes>[.]". 0, or 2 with a log line.
std::int16_t formatCashCountResult(std::string_view text, CashCountResult& result);
