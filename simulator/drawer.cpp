#include "simulator/drawer.h"

#include <algorithm>
#include <stdexcept>

namespace simulator {

namespace {

using Level = LevelReport::Level;

int movableCount(const Denomination& unit)
{
    return std::max(0, unit.count - unit.stuck);
}

/// A unit that never pays out is not missed when it is empty.
Level levelOf(const Denomination& unit)
{
    if (unit.recycled && unit.count == 0)
        return Level::Empty;
    if (unit.recycled && unit.count <= unit.low)
        return Level::Low;
    if (unit.high > 0 && unit.count >= unit.high)
        return Level::High;
    return Level::Enough;
}

} // namespace

Drawer::Drawer(std::vector<Denomination> units) : m_units(std::move(units))
{
    m_books.start = value();
    newLevels();
}

Drawer::Drawer(std::vector<Denomination> units, const Books& books)
    : m_units(std::move(units)), m_books(books)
{
    newLevels();
}

const Denomination* Drawer::find(Amount denomination) const
{
    const auto found = std::find_if(m_units.begin(), m_units.end(),
                                    [&](const Denomination& unit) { return unit.value == denomination; });
    return found == m_units.end() ? nullptr : &*found;
}

Denomination& Drawer::unit(Amount denomination)
{
    for (Denomination& candidate : m_units)
        if (candidate.value == denomination)
            return candidate;
    throw std::out_of_range("no such denomination");
}

Amount Drawer::value() const
{
    Amount total = 0;
    for (const Denomination& unit : m_units)
        total += unit.value * unit.count;
    return total;
}

Pieces Drawer::payable() const
{
    Pieces pieces;
    for (const Denomination& unit : m_units)
        if (unit.recycled)
            addPieces(pieces, unit.value, movableCount(unit));
    return pieces;
}

Pieces Drawer::movable() const
{
    Pieces pieces;
    for (const Denomination& unit : m_units)
        addPieces(pieces, unit.value, movableCount(unit));
    return pieces;
}

bool Drawer::canMove(const Pieces& pieces) const
{
    return std::all_of(pieces.begin(), pieces.end(), [&](const auto& piece) {
        const Denomination* unit = find(piece.first);
        return unit != nullptr && movableCount(*unit) >= piece.second;
    });
}

int Drawer::room(Amount denomination) const
{
    const Denomination* unit = find(denomination);
    if (unit == nullptr)
        return 0;
    const Amount worth = std::max<Amount>(0, LARGEST_AMOUNT - value()) / denomination;
    const int places = (unit->capacity == 0 ? MOST_PIECES : unit->capacity) - unit->count;
    return static_cast<int>(std::clamp<Amount>(worth, 0, std::max(0, places)));
}

void Drawer::payIn(Amount denomination, int count)
{
    unit(denomination).count += count;
    m_books.paidIn += denomination * count;
}

void Drawer::replenish(Amount denomination, int count)
{
    unit(denomination).count += count;
    m_books.replenished += denomination * count;
}

void Drawer::payOut(Amount denomination)
{
    --unit(denomination).count;
    m_books.paidOut += denomination;
}

void Drawer::collect(Amount denomination)
{
    --unit(denomination).count;
    m_books.collected += denomination;
}

void Drawer::setStuck(Amount denomination, int count)
{
    unit(denomination).stuck = count;
}

void Drawer::setUnit(const Denomination& changed)
{
    Denomination& old = unit(changed.value);
    const int count = old.count;
    old = changed;
    old.count = count;
}

bool Drawer::balances() const
{
    const bool nothingBelowZero =
        std::all_of(m_units.begin(), m_units.end(), [](const Denomination& unit) { return unit.count >= 0; });
    return nothingBelowZero && value() == m_books.start + m_books.paidIn + m_books.replenished -
                                              m_books.paidOut - m_books.collected;
}

std::vector<LevelReport> Drawer::newLevels()
{
    std::vector<LevelReport> reports;
    for (const Denomination& unit : m_units) {
        const Level level = levelOf(unit);
        const auto before = m_reported.find(unit.value);
        const bool changed = before == m_reported.end() || before->second.level != level ||
                             (level == Level::Low && unit.count < before->second.count);
        if (changed && level != Level::Enough)
            reports.push_back({unit.value, level, unit.count});
        m_reported[unit.value] = {level, unit.count};
    }
    return reports;
}

std::vector<LevelReport> Drawer::levels()
{
    m_reported.clear();
    return newLevels();
}

std::vector<LevelReport> Drawer::allFull() const
{
    std::vector<LevelReport> reports;
    for (const Denomination& unit : m_units)
        reports.push_back({unit.value, Level::High, unit.count});
    return reports;
}

} // namespace simulator
