// What the device tells those who watch it.
#pragma once

#include "simulator/cash.h"
#include "simulator/times.h"

namespace simulator {

struct DeviceEvent {
    enum class Kind { Piece, Message, Command, Fault };
    enum class Way { In, Out, Refilled, Collected };

    Kind kind;
    Milliseconds time;

    Way way = Way::In;       // Piece
    Amount denomination = 0; // Piece
    int left = 0;            // Piece: so many are in the drawer now

    std::string text = {};   // Message, Command: as it went over the link. Fault: its name
    std::string answer = {}; // Command: what the till got
    const char* change = ""; // Message: what happened to it on its way. Fault: what happened to it
};

} // namespace simulator
