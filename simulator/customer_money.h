// What the customer has paid in and is not settled: the amount, and the pieces in the order in which they
// came. The pieces lie in the drawer; this only remembers them.
#pragma once

#include "simulator/cash.h"

#include <utility>

namespace simulator {

class CustomerMoney {
public:
    CustomerMoney() = default;
    CustomerMoney(Amount amount, std::vector<Amount> pieces) : m_amount(amount), m_pieces(std::move(pieces))
    {}

    Amount amount() const { return m_amount; }

    /// The pieces that are left of those that came in, in their order. Their value is the amount, unless
    /// other pieces were given back for them.
    const std::vector<Amount>& pieces() const { return m_pieces; }

    void payIn(Amount denomination, int count);

    /// The pieces are the customer's again.
    void giveBack(const Pieces& pieces);

    /// Nothing is the customer's any more.
    void settle();

private:
    Amount m_amount = 0;
    std::vector<Amount> m_pieces;
};

} // namespace simulator
