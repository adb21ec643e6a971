// The system that the library runs on in a simulation: a clock that only waits move, files in memory, an
// environment of its own. The same seed finds the same system everywhere.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace simulation {

/// Milliseconds since the simulation began.
using Milliseconds = std::int64_t;

class VirtualSystem {
public:
    // Time. It begins on a Monday at 8 o'clock.
    Milliseconds now() const { return m_now; }
    void setNow(Milliseconds now) { m_now = now; }
    /// Milliseconds from 1970 to the local time.
    std::int64_t localTime() const { return m_now + START; }
    /// The wall clock, in seconds; people set it.
    std::int64_t wallClock() const { return (m_now + START + m_turned) / 1000; }
    void turnWallClock(std::int64_t seconds) { m_turned += seconds * 1000; }

    /// What a sleep of the library does: time goes on, and the device with it.
    std::function<void(Milliseconds)> onSleep;

    // Files to be read, and the environment. What is not there doesn't exist.
    std::map<std::string, std::string> files;
    std::map<std::string, std::string> environment;

    // Log files. Of each only the beginning is kept, which the library reads again.
    struct LogFile {
        std::string name; // "tlapi_Mon.log"
        std::string beginning;
        std::FILE* copy = nullptr; // on the disk, if somebody wants the logs
    };

    /// Told of each line that the library writes.
    std::function<void(const LogFile& file, std::string_view line)> onLine;

    /// Where to write the logs to; empty for nowhere.
    std::string logDirectory;

    std::intptr_t openLog(const std::string& path);
    void closeLog(std::intptr_t handle);
    void emptyLog(const std::string& path);
    LogFile& log(std::intptr_t handle) { return m_logs.at(handle); }
    std::size_t openLogs() const { return m_open; }

    /// What was posted to a window.
    std::uint64_t posts = 0;

private:
    static constexpr std::int64_t START = 1'795'420'800'000; // 2026-11-23 08:00

    std::string onDisk(const std::string& path) const;

    Milliseconds m_now = 0;
    std::int64_t m_turned = 0;
    std::map<std::intptr_t, LogFile> m_logs;
    std::map<std::string, std::intptr_t> m_logByPath;
    std::map<std::intptr_t, int> m_users;
    std::size_t m_open = 0;
};

/// The one of this process; it outlives the library's objects.
VirtualSystem& virtualSystem();

} // namespace simulation
