#include "simulation/log_check.h"

#include "diag/log.h"
#include "simulation/report.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace simulation {

/// Worked out from the days since 1970 and not from the calendar that the library is given.
void LogCheck::readClock()
{
    const std::int64_t second = virtualSystem().localTime() / 1000;
    if (second == m_second)
        return;
    m_second = second;
    using namespace std::chrono;
    const sys_days day{days{second / 86400}};
    const year_month_day date{day};
    const auto inYear = (day - sys_days{date.year() / January / 1}).count();
    const unsigned fromMonday = weekday{day}.iso_encoding() - 1;
    const auto week = (inYear + 7 - static_cast<std::int64_t>(fromMonday)) / 7;
    static constexpr std::array<const char*, 7> NAMES{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "w%02d %02d:%02d:%02d.", static_cast<int>(week),
                  static_cast<int>(second / 3600 % 24), static_cast<int>(second / 60 % 60),
                  static_cast<int>(second % 60));
    m_stamp = text.data();
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %s ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), NAMES[fromMonday]);
    m_date = text.data();
}

void LogCheck::line(const VirtualSystem::LogFile& file, std::string_view line)
{
    ++m_lines;
    readClock();
    const auto wrong = [&](const char* what) {
        report().violate(std::string("log: ") + what + ": " + file.name + ": " + std::string(line));
    };
    if (line.empty() || line.find('\n') != line.size() - 1 || line.find('\r') != std::string_view::npos ||
        line.find('\0') != std::string_view::npos)
        return wrong("not one line");
    line.remove_suffix(1);
    if (file.name.starts_with("tlerror")) {
        if (!line.starts_with(m_date))
            return wrong("another date");
        line.remove_prefix(m_date.size());
    }
    if (!line.starts_with(m_stamp))
        return wrong("another time");
    line.remove_prefix(m_stamp.size());
    const int milliseconds = static_cast<int>(virtualSystem().localTime() % 1000);
    if (line.size() < 7 || line[0] != '0' + milliseconds / 100 || line[1] != '0' + milliseconds / 10 % 10 ||
        line[2] != '0' + milliseconds % 10 || line[3] != ' ' || line[6] != ' ')
        return wrong("another form");
    const std::string_view mark = line.substr(4, 2);
    if (mark != "=>" && mark != "<=" && mark != "->" && mark != "<-" && mark != "==" && mark != "!!" &&
        mark != "##")
        return wrong("no such mark");
    if (!file.name.starts_with("tlapi"))
        return;
    line.remove_prefix(7);
    if (mark == "=>") {
        ++m_entries;
        m_entry = line.substr(0, line.find('('));
        m_lastEnd.clear();
    } else if ((mark == "==" || mark == "!!") && line.find(": ") != std::string_view::npos) {
        const std::string_view rest = line.substr(line.find(": ") + 2);
        if (rest.starts_with("Ok! Returning ") || rest.starts_with("Failed! Returning ") ||
            rest.starts_with("Warning! Returning "))
            m_lastEnd = line;
    }
}

void LogCheck::beginCall()
{
    m_entryIsLogged = g_bLogCRToCAPI; // a call may change that
    m_entries = 0;
    m_entry.clear();
    m_lastEnd.clear();
}

std::string LogCheck::endCall(const std::string& name, int status) const
{
    // Two lines go by other names than their function.
    const std::string entry = name == "adminModeTL" ? "adminModeType" : name;
    const std::string end = name == "dispenseSpecifiedTL" ? "dispenseSpecified" : name;
    if (m_entryIsLogged && (m_entries != 1 || m_entry != entry))
        return name + ": " + std::to_string(m_entries) + " entry lines, the last of " + m_entry;
    if (status == 0 && !g_bLogDebug)
        return "";
    const bool warned = status == 3 && m_lastEnd.find(": Warning!") != std::string::npos;
    const std::string word = status == 0 ? ": Ok! Returning 0"
                             : warned    ? ": Warning! Returning 3"
                                         : ": Failed! Returning ";
    if (!m_lastEnd.starts_with(end + word + (status == 0 || warned ? "" : std::to_string(status))))
        return name + ": returned " + std::to_string(status) + ", and its line says \"" + m_lastEnd + "\"";
    return "";
}

} // namespace simulation
