// What the tool was asked for.
#pragma once

#include "tools/sale.h"
#include "tools/story.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tllog {

enum class Colour { Auto, Always, Never };

struct Options {
    std::vector<std::filesystem::path> places; // never empty
    std::optional<Time> since;
    std::optional<Time> until;
    std::string receipt;
    std::set<std::string> kinds;
    bool json = false;
    bool follow = false;
    bool all = false;
    double followSeconds = 0; // 0: until it is interrupted
    Colour colour = Colour::Auto;
    std::size_t width = 0; // 0: the terminal's, and any in a pipe

    bool covers(Time time) const { return (!since || time >= *since) && (!until || time < *until); }

    /// By its start, its receipt and its kind.
    bool covers(const Sale& sale) const;

    /// True if only some sales are wanted, whatever the time.
    bool choosesSales() const;
    /// By its kind alone; a sale's lines go by the sale.
    bool wants(Mark mark) const;
};

/// What "--kind" takes: kinds of lines, and kinds and ends of sales.
const std::vector<std::string>& lineKinds();
const std::vector<std::string>& saleKinds();

} // namespace tllog
