// Making up an amount from the pieces that are there.
#pragma once

#include "simulator/cash.h"

namespace simulator {

/// The pieces of "available" that make up as much of "amount" as can be made, never more, the largest
/// denominations preferred. Exact whenever any combination is. An amount of 0 or less needs no pieces.
Pieces makeUp(Amount amount, const Pieces& available);

} // namespace simulator
