// A stopwatch for finding out what takes time.
#pragma once

#include <string>

/// Reads the processor time that the process has used.
class Timer {
public:
    void start();
    /// Milliseconds since the start, in decimal; the watch runs on.
    std::string elapsed();
    /// The same, and the watch is as new.
    std::string stop();

private:
    std::string sinceStart(double now);

    double m_dStart = -1.0; // milliseconds; -1 is unset
    double m_dStop = -1.0;
};
