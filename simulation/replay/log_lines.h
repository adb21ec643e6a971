// The lines of a log directory, as tlreplay needs them.
#pragma once

#include "simulation/virtual_system.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace simulation {

struct LoggedLine {
    Milliseconds time; // local, since 1970
    std::string text;  // with its mark, "=> exitTL(message)"
    std::string place; // "tllogic_Mon.log:17"
};

enum Stream : std::size_t { API_LINES, LOGIC_LINES, ERROR_LINES };

/// The files of a directory and of the address folders in it, by family and in the order of their days, from
/// the last "C API Loaded" on whose load the files hold.
struct LoggedDays {
    std::array<std::vector<LoggedLine>, 3> lines;

    /// Throws std::runtime_error with the reason if nothing can be replayed.
    static LoggedDays read(const std::string& directory);
};

} // namespace simulation
