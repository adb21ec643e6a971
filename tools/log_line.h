// One line of a log, and what stands in it: calls and their ends, commands, device messages.
#pragma once

#include "tools/calendar.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tllog {

enum class Family : char { Api, Logic, Error };

enum class Mark : char {
    Call,     // =>
    Event,    // <=
    Command,  // ->
    Message,  // <-
    Progress, // ==
    Error,    // !!
    Note,     // ##
    Foreign   // no line of ours
};

constexpr char FIELD_SEPARATOR = '\x1C';

struct LogLine {
    Mark mark = Mark::Foreign;
    int week = -1;
    std::int32_t clock = 0; // milliseconds of the day
    Day day = -1;           // only lines of the error file say it
    std::string_view text;  // all of a foreign line
};

/// Without its line end.
LogLine parseLogLine(std::string_view line);

/// "payoutTL(300, 1000, ...)": the name, and what is between the brackets.
struct CallText {
    std::string_view name;
    std::string_view arguments;
};
/// Null name if it is no call. The names are those of the exports, also where the log writes another.
CallText parseCall(std::string_view text);

/// "payoutTL: Failed! Returning 6: Timed out"
struct CallEnd {
    std::string_view name; // of the export; empty if the line is no end of a call
    int status = 0;
    std::string_view message; // what stands behind the last colon of the frame
    std::optional<std::int64_t> rest;
};
CallEnd parseCallEnd(std::string_view text);

/// An "a", "b" or "c" has all fields, other letters only the letter and the text.
struct DeviceMessage {
    char letter = '\0'; // none if it can't be read
    std::int64_t amount = 0;
    int status = 0;
    int mode = 0;
    std::string_view text;
};
/// "longForm": the device answered its version with kind 1.
DeviceMessage parseMessage(std::string_view text, bool longForm);

/// "F|00001200|00007500|SALE-1"; the letter is in lower case here.
struct DeviceCommand {
    char letter = '\0';
    std::array<std::string_view, 4> fields{}; // what is led by a separator; the last one is all the rest
    std::size_t count = 0;
    std::string_view whole;

    std::int64_t amount(std::size_t field) const;
    /// The transaction id of commands that pay.
    std::string_view receipt() const;
};
DeviceCommand parseCommand(std::string_view text);

/// The money in "100:2,50:1;1000:3".
std::int64_t valueOfList(std::string_view list);

/// A number that may have a sign, up to the first character that is none; 0 if there is none.
std::int64_t leadingNumber(std::string_view text);

/// What comes between two texts; empty if one of them is missing.
std::string_view between(std::string_view text, std::string_view before, std::string_view after);

const char* markText(Mark mark);
const char* statusName(int status);

/// The device's digits in words.
const char* deviceStatusWords(int status);
const char* deviceModeWords(int mode);

/// True for the exports that move a sale's money.
bool isPayCall(std::string_view name);

} // namespace tllog
