// What went in and out in one session, and whether it all adds up.
#pragma once

#include "examples/till/machine.h"
#include "examples/till/printer.h"

/// Watches one session from before the first piece moves to after the last.
class DrawerBook {
public:
    /// "isHand": the customer's hand is in this program, and puts in and takes what lies there.
    DrawerBook(Printer& printer, bool isHand);

    const MachineState& before() const { return m_before; }

    void insert(std::int64_t denomination, int count);

    /// The amount that came out since this was last asked, also told to the person who reads.
    std::int64_t cameOut();
    std::int64_t cameOutToBox();

    /// The amount that went in.
    std::int64_t inserted() const { return lookAtMachine().in - m_before.in; }

    /// Shows the drawer before and after, and answers whether the difference is what went in and out. What
    /// the customer left in the tray is not missing.
    bool close();

private:
    Printer& m_printer;
    const bool m_isHand;
    const MachineState m_before = lookAtMachine();
    std::int64_t m_toldOut = m_before.out;
};
