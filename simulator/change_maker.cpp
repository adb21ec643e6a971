#include "simulator/change_maker.h"

#include <algorithm>
#include <numeric>

namespace simulator {

namespace {

/// Which amounts, in steps of the common divisor, a set of pieces can make up. Packed into words, since
/// the largest amount in the smallest steps needs a hundred million of them.
class Reachable {
public:
    explicit Reachable(std::size_t limit) : m_limit(limit), m_words(limit / WORD_BITS + 1) { m_words[0] = 1; }

    bool contains(std::size_t steps) const
    {
        return (m_words[steps / WORD_BITS] >> (steps % WORD_BITS) & 1) != 0;
    }

    std::size_t largest() const
    {
        std::size_t steps = m_limit;
        while (!contains(steps))
            --steps;
        return steps;
    }

    /// Doubling bundles: a bundle of 1, 2, 4, ... pieces and one of what is left give every count.
    void addPieces(std::size_t denomination, std::size_t count)
    {
        for (std::size_t bundle = 1; count > 0; bundle *= 2) {
            const std::size_t pieces = std::min(bundle, count);
            addShifted(pieces * denomination);
            count -= pieces;
        }
    }

private:
    static constexpr std::size_t WORD_BITS = 64;

    void addShifted(std::size_t steps)
    {
        if (steps > m_limit)
            return;
        const std::size_t words = steps / WORD_BITS;
        const std::size_t bits = steps % WORD_BITS;
        // Downwards, so that a word is read before it is changed.
        for (std::size_t target = m_words.size(); target-- > words;) {
            const std::size_t source = target - words;
            std::uint64_t shifted = m_words[source] << bits;
            if (bits != 0 && source > 0)
                shifted |= m_words[source - 1] >> (WORD_BITS - bits);
            m_words[target] |= shifted;
        }
    }

    std::size_t m_limit;
    std::vector<std::uint64_t> m_words;
};

struct Stock {
    Amount denomination;
    std::size_t steps; // the denomination in steps of the common divisor
    std::size_t count;
};

} // namespace

Pieces makeUp(Amount amount, const Pieces& available)
{
    const Amount most = std::min(amount, valueOf(available));
    if (most <= 0)
        return {};

    Amount step = 0;
    for (const auto& [denomination, count] : available)
        step = std::gcd(step, denomination);
    const auto limit = static_cast<std::size_t>(most / step);

    // One table per denomination: what it and all smaller ones can make up together.
    std::vector<Stock> stocks;
    std::vector<Reachable> tables{Reachable(limit)};
    for (const auto& [denomination, count] : available) {
        stocks.push_back(
            {denomination, static_cast<std::size_t>(denomination / step), static_cast<std::size_t>(count)});
        tables.push_back(tables.back());
        tables.back().addPieces(stocks.back().steps, stocks.back().count);
    }

    Pieces chosen;
    std::size_t left = tables.back().largest();
    for (std::size_t i = stocks.size(); i-- > 0;) {
        std::size_t count = std::min(stocks[i].count, left / stocks[i].steps);
        while (!tables[i].contains(left - count * stocks[i].steps))
            --count;
        addPieces(chosen, stocks[i].denomination, static_cast<int>(count));
        left -= count * stocks[i].steps;
    }
    return chosen;
}

} // namespace simulator
