// What a run found: how often things happened, and the first thing that must not.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace simulation {

struct Report {
    std::map<std::string, std::uint64_t> counts; // "sales", "hazard: ..." and so on
    std::string violation;                       // empty if there was none

    void count(const std::string& what) { ++counts[what]; }

    void violate(const std::string& what)
    {
        ++counts["violations"];
        if (violation.empty())
            violation = what;
    }
};

/// The one of this process.
inline Report& report()
{
    static Report& only = *new Report;
    return only;
}

} // namespace simulation
