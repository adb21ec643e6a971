// The commands that the device understands, as they come over the link.
#pragma once

#include "simulator/cash.h"

namespace simulator {

constexpr char FIELD_SEPARATOR = '\x1c';

struct Command {
    char letter = '\0';    // lower case
    int number = 0;        // e, k, m, n: the digit; q, r: the number
    Amount amount = 0;     // c, d, l: the amount; f: what to pay out
    Amount deposit = 0;    // f: what to keep of the paid-in amount
    std::string text = {}; // a: login text; c, f, m, n, p: transaction id; x: time stamp
    CashList list = {};    // m: what to pay out
};

/// Empty for an unknown letter and for fields that are not of the letter's form.
std::optional<Command> parseCommand(std::string_view text);

} // namespace simulator
