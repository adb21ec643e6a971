// Every line that the library writes is held against its form and the clock, every call's line against its
// end.
#pragma once

#include "simulation/virtual_system.h"

#include <string>
#include <string_view>

namespace simulation {

class LogCheck {
public:
    void line(const VirtualSystem::LogFile& file, std::string_view line);

    /// A call of an exported function begins; its lines are counted from here.
    void beginCall();
    /// It has ended: what is wrong with its lines in the API file, or nothing.
    std::string endCall(const std::string& name, int status) const;

    std::uint64_t lines() const { return m_lines; }

private:
    void readClock();

    std::uint64_t m_lines = 0;
    std::int64_t m_second = -1;
    std::string m_stamp; // "w47 08:00:00."
    std::string m_date;  // "2026-11-23 Mon "

    bool m_entryIsLogged = true;
    int m_entries = 0;
    std::string m_entry;
    std::string m_lastEnd;
};

} // namespace simulation
