// What the process has taken of memory.
#pragma once

#include <cstddef>

namespace bench {

/// Allocations of this thread so far, the library's among them.
std::size_t allocations();

/// Bytes that are allocated at present.
std::size_t heapInUse();

} // namespace bench
