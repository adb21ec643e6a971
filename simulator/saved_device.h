// What of a device outlives its process: the money and the faults, as they would be if the power had been
// cut at that moment. So work that was half done needs no place of its own: its pieces that came out are
// out, and what was paid in is settled by them.
#pragma once

#include "simulator/drawer.h"

namespace simulator {

struct SavedDevice {
    std::vector<Denomination> units;
    Books books;
    Pieces tray;
    Pieces collected;
    Amount takenPaidOut = 0;
    Amount takenCollected = 0;
    Amount paidIn = 0;
    std::vector<Amount> paidInPieces;
    std::vector<Fault> faults; // "endsAt" is the time that is left
    bool longForm = false;
};

/// With a checksum, so that no byte can be lost or changed unseen.
std::string savedText(const SavedDevice& saved);

/// Throws std::runtime_error if anything of it is not as savedText wrote it.
SavedDevice parseSaved(std::string_view text);

} // namespace simulator
