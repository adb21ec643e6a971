// What lies in the device: one unit for each denomination, and the books on all money that moved.
#pragma once

#include "simulator/settings.h"

namespace simulator {

/// What became of one unit since it was last reported.
struct LevelReport {
    enum class Level { Enough, Low, Empty, High };

    Amount denomination;
    Level level;
    int count;
};

/// Everything that ever went in or out, in amounts.
struct Books {
    Amount start = 0;
    Amount paidIn = 0;
    Amount paidOut = 0;
    Amount replenished = 0;
    Amount collected = 0;
};

class Drawer {
public:
    explicit Drawer(std::vector<Denomination> units);
    Drawer(std::vector<Denomination> units, const Books& books);

    /// Coins before notes, each ascending. A unit's number, as people count, is its place here, from 1.
    const std::vector<Denomination>& units() const { return m_units; }
    const Denomination* find(Amount denomination) const;

    Amount value() const;

    /// What can be used to make up amounts.
    Pieces payable() const;

    /// What can be moved at all: everything but the stuck pieces.
    Pieces movable() const;

    /// Whether all of "pieces" are there and can be moved.
    bool canMove(const Pieces& pieces) const;

    /// How many more pieces the unit takes; 0 for a denomination that the device doesn't know.
    int room(Amount denomination) const;

    void payIn(Amount denomination, int count);
    void replenish(Amount denomination, int count);
    void payOut(Amount denomination);
    void collect(Amount denomination);
    void setStuck(Amount denomination, int count);

    /// All but the count.
    void setUnit(const Denomination& unit);

    const Books& books() const { return m_books; }

    /// Start + paid in + replenished - paid out - collected is what lies here, and no unit holds less
    /// than nothing.
    bool balances() const;

    /// Units that are low, empty or high and weren't so, or were fuller, when last asked.
    std::vector<LevelReport> newLevels();

    /// All units that are low, empty or high.
    std::vector<LevelReport> levels();

    /// All units, as if there was no room in any.
    std::vector<LevelReport> allFull() const;

private:
    struct Reported {
        LevelReport::Level level;
        int count;
    };

    Denomination& unit(Amount denomination);

    std::vector<Denomination> m_units;
    std::map<Amount, Reported> m_reported;
    Books m_books;
};

} // namespace simulator
