// Money as the simulated device tells it, and whether it all adds up.
#pragma once

#include "examples/till/printer.h"

#include <map>

/// Denomination to number of pieces.
using Cash = std::map<std::int64_t, int>;

std::int64_t amountOf(const Cash& cash);

/// "2 x 20.00, 1 x 5.00", the largest first; "nothing" if there is none.
std::string describe(const Cash& cash);

/// What is in the device, in the customer's tray and in the collection box; the latter two are emptied.
Cash drawerCash();
Cash takeCustomersCash();
Cash takeCollectedCash();

/// Watches one run from before the first piece moves to after the last.
class DrawerBook {
public:
    explicit DrawerBook(Printer& printer);

    void insert(std::int64_t denomination, int count);

    /// What lies in the tray and in the box now, also told to the person who reads.
    Cash take();
    Cash takeCollected();

    std::int64_t inserted() const { return m_inserted; }

    /// Shows the drawer before and after, and answers whether the difference is what went in and out.
    bool close();

private:
    Printer& m_printer;
    const Cash m_before = drawerCash();
    std::int64_t m_inserted = 0;
    std::int64_t m_taken = 0;
    std::int64_t m_collected = 0;
};
