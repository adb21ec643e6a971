// Two processes that write into the same files: their lines can't be told apart, and no sum of them is right.
#pragma once

#include "tools/log_reader.h"

#include <cstdint>
#include <vector>

namespace tllog {

/// Bytes of an API file in which two processes had the library loaded.
struct Overlap {
    std::uint64_t from = 0;
    std::uint64_t to = 0;
};

/// A process that died left no word: only where the former goes on, or unloads too, both were there.
std::vector<Overlap> findOverlaps(const LogFile& apiFile);

} // namespace tllog
