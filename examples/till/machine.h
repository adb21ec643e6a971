// The simulated device as people see and touch it, be it in this process or on a port of its own.
#pragma once

#include <cstdint>
#include <map>
#include <string>

/// Denomination to number of pieces.
using Cash = std::map<std::int64_t, int>;

std::int64_t amountOf(const Cash& cash);

/// "2 x 20.00, 1 x 5.00", the largest first; "nothing" if there is none.
std::string describe(const Cash& cash);

struct MachineState {
    int decimals = 2;
    std::string currency = {};
    Cash drawer = {}; // every denomination, also those of which there is none
    Cash tray = {};   // what waits to be taken
    std::int64_t paidIn = 0;

    // All that ever went in and out.
    std::int64_t in = 0;
    std::int64_t out = 0;
    std::int64_t collected = 0;
};

/// Throws std::runtime_error, as all here, if the machine isn't there.
MachineState lookAtMachine();

/// The amount that it took.
std::int64_t insertIntoMachine(std::int64_t denomination, int count);

/// What lay in the tray, or in the collection box.
Cash takeFromTray();
Cash takeCollected();
