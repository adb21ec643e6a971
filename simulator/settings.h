// What the simulated device is set up as, and the JSON text that says so.
#pragma once

#include "simulator/cash.h"
#include "simulator/faults.h"

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// The most that one unit holds. Making change takes time and memory by it.
constexpr int MOST_PIECES = 100'000;

struct Denomination {
    Amount value = 0;
    CashKind kind = CashKind::Coin;
    int count = 0;
    int low = 0;          // reported as low at this many pieces and below; 0 to 99
    int high = 0;         // reported as high at this many pieces and above; 0 for never
    int cashFloat = 0;    // pieces that a collection leaves behind
    int capacity = 0;     // pieces that there is room for; 0 for MOST_PIECES
    bool recycled = true; // false: taken in and never paid out again
    int stuck = 0;        // pieces that can't be moved
};

struct Settings {
    std::vector<Denomination> drawer = defaultDrawer(); // ascending, coins before notes
    std::string currency = "SEK";                       // one to eight letters
    int decimals = 2;

    int versionKind = 1;                            // 1: long messages once the version was asked for
    std::string masterVersion = "0312";             // four digits
    std::string apiVersion = "Tellarion simulator"; // at most 99 characters
    std::string commands = "ABCDEFGHIJKLMNPQRVX";   // letters that the device takes
    std::size_t partSize = 40;                      // characters of payload in one part of a long answer

    Milliseconds answerDelay = 20; // from a command to its first message
    Milliseconds messageGap = 50;  // at least this long between two messages, but for parts of one answer
    Milliseconds payOutTime = 400; // how long paying, giving back or collecting keeps the device busy
    Milliseconds pieceTime = 0;    // in the place of payOutTime: how long each piece takes to come out
    Milliseconds insertTime = 0;   // between two pieces that a hand puts in; 0: all at once
    int speed = 1;                 // all times are divided by it

    bool payInAfterLogin = true;   // false: a login leaves pay-in closed
    bool loginOpens = true;        // false: every login is answered with mode 2
    bool loginClearsError = false; // true: the login commands are taken in the error status and end it
    bool sessionTexts = true;      // false: no cash session texts

    std::map<char, char> refuse; // lower-case command letter to the status character that it gets
    std::string silent;          // lower-case letters of commands that are accepted and then ignored
    bool busyInCall = false;     // true: a command that makes it busy returns when the message has told so
    int openCode = 0;            // what opening the link answers; other than 0 it stays closed

    std::vector<Fault> faults;      // that the device starts with
    std::vector<std::string> notes; // what was set otherwise than asked for, in words

    static std::vector<Denomination> defaultDrawer();
};

/// The least "messageGap": the library looks at the device's state every 10 ms, when the system lets it.
constexpr Milliseconds LEAST_MESSAGE_GAP = 30;

/// Settings that can't be used. What it tells has the cause first, since little of it may be shown.
struct BadSettings : std::runtime_error {
    BadSettings(const std::string& what, std::string asCompilersDo)
        : std::runtime_error(what), line(std::move(asCompilersDo))
    {}

    std::string line; // file:line:column: key: what
};

/// "file" is what the text is called. Throws BadSettings.
Settings parseSettings(std::string_view json, const std::string& file = "settings");

/// All of them, but for what they were set otherwise than asked for.
nlohmann::ordered_json describeSettings(const Settings& settings);

/// The settings with those changed that the object names. Throws std::runtime_error with a text for people to
/// read.
Settings changedSettings(const Settings& settings, const nlohmann::json& changes);

/// Those of "units" that the list names, with what it changes of them. Counts can't be changed, and
/// denominations neither come nor go. Throws likewise.
std::vector<Denomination> changedUnits(const std::vector<Denomination>& units, const nlohmann::json& list);

} // namespace simulator
