#include "simulator/customer_money.h"

#include <algorithm>

namespace simulator {

void CustomerMoney::payIn(Amount denomination, int count)
{
    m_amount += denomination * count;
    m_pieces.insert(m_pieces.end(), static_cast<std::size_t>(count), denomination);
}

void CustomerMoney::giveBack(const Pieces& pieces)
{
    m_amount -= valueOf(pieces);
    for (const Amount piece : largestFirst(pieces)) {
        const auto last = std::find(m_pieces.rbegin(), m_pieces.rend(), piece);
        if (last != m_pieces.rend())
            m_pieces.erase(std::next(last).base());
    }
    if (m_amount == 0)
        m_pieces.clear();
}

void CustomerMoney::settle()
{
    m_amount = 0;
    m_pieces.clear();
}

} // namespace simulator
