// The library's events: shown as they come, and kept for whoever waits for something.
#pragma once

#include "api/tllogics.h"
#include "examples/till/printer.h"

#include <condition_variable>
#include <functional>

/// What a status event says.
struct StatusReport {
    std::int32_t amount = 0;
    int status = -1; // 0 ready, 1 busy, 2 error, 3 ready with pay-in closed
    int mode = -1;   // 0 closed, 1 open, 3 administration
};

/// What came so far.
struct EventCounts {
    int errors = 0;
    int low = 0;
    int empty = 0;
};

/// One at a time, since the library's callbacks carry nothing to tell two apart.
class Events {
public:
    explicit Events(Printer& printer);
    ~Events();

    /// Registers all callbacks with the library, which answers.
    std::int16_t registerAll(char* message);

    /// Waits until the last status answers the description.
    bool waitForStatus(const std::function<bool(const StatusReport&)>& answers,
                       std::chrono::seconds time = std::chrono::seconds(5));

    StatusReport status();

    EventCounts counts();

private:
    static void onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode);
    static void onError(std::int32_t code, const char* text, const char* extInfo);
    static void onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t left,
                               const char* typeText, const char* denominationText, const char* warning,
                               const char* extInfo);
    static void onInformation(const char* text);
    static void onCashSession(std::uint16_t type, std::int32_t amount, const char* extInfo);

    static void show(LineKind kind, const std::string& text);
    static void count(int EventCounts::*counter);

    static Events* s_events;

    Printer& m_printer;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    StatusReport m_status;
    EventCounts m_counts;
};
