// What can be wrong with the device and its link: each fault has a name, something that begins it and
// something that ends it. What a fault does to the device is the device model's.
#pragma once

#include "simulator/times.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

enum class FaultName {
    // The device is in its error status.
    NoteJam,
    CoinJam,
    DoorOpen,
    CassetteOut,
    DeviceError, // any other, by its code

    // The device works, but not as it should.
    NoteRejected,
    NoteNotTaken,
    DeviceFull,
    Busy,
    Slow,
    PowerCut,

    // The link.
    OpenRefused,
    LinkLost,
    AnswerLost,
    AnswerLate,
    MessageLost,
    MessageLate,
    MessageTwice,
    MessageGarbled,
};

/// All of them, in this order.
const std::vector<FaultName>& faultNames();

/// "note-jam" and so on.
const char* textOf(FaultName name);
std::optional<FaultName> faultNamed(std::string_view text);

/// The code of a fault that brings the device into the error status; 0 for all others. A device error has
/// one of its own.
int errorCodeOf(FaultName name);

/// Whether it befalls single answers, messages or notes, and so may end after some of them.
bool strikesSingly(FaultName name);

struct Fault {
    enum class Start { Now, AtCommand, AfterPieces, ByChance };

    FaultName name;

    Start start = Start::Now;
    char letter = '\0';       // AtCommand: of this letter; NUL for any
    int pieces = 0;           // AfterPieces: so many have to move yet
    int chance = 0;           // ByChance: in a million, at each thing that it could befall
    std::uint64_t random = 0; // ByChance, MessageGarbled: the seed, then whatever came of it

    std::optional<Milliseconds> lasts = {}; // ends by itself after that time
    bool untilReset = false;                // what ended it leaves the error status to the device's reset
    int times = 0;                          // ends after so many strikes; 0 for never

    int code = 0;              // DeviceError: 1 to 99. OpenRefused: what the opening answers
    Milliseconds lateness = 0; // AnswerLate, MessageLate
    int factor = 0;            // Slow: all times are so many times as long
    bool on = false;           // it has begun
    bool awaitsReset = false;  // it is gone, but for the error status
    int strikes = 0;           // since it began
    Milliseconds endsAt = 0;   // while it is on, if it ends by itself
};

/// The faults that are on, or wait for what begins them; one of a name. Random numbers come from the
/// faults' own seeds, so that the same run has the same faults.
class Faults {
public:
    bool empty() const { return m_faults.empty(); }
    const std::vector<Fault>& all() const { return m_faults; }

    /// In place of one of the same name.
    void put(const Fault& fault);

    bool remove(FaultName name);

    /// Null if there is none.
    Fault* find(FaultName name);
    const Fault* find(FaultName name) const;

    bool isOn(FaultName name) const;

    // What begins now. The device model begins each of them, which marks it as on.

    std::vector<FaultName> atCommand(char letter);
    std::vector<FaultName> atPiece();

    /// Only faults that befall messages.
    std::vector<FaultName> atMessage();

    /// When the next one ends by itself, and which.
    std::optional<Milliseconds> nextEnd() const;
    std::optional<FaultName> endingBy(Milliseconds now) const;

private:
    std::vector<Fault> m_faults;
};

/// The next number of a sequence that is the same everywhere.
std::uint64_t nextRandom(std::uint64_t& state);

} // namespace simulator
