// Runs the calls of a log again, from its lines alone. Their order drives it: a message is delivered where
// its line stands, and the clock says what the next line's stamp says.
#pragma once

#include "simulation/communication_library.h"
#include "simulation/replay/log_lines.h"

#include <nlohmann/json.hpp>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace simulation {

class LogReplay : public CommunicationLibrary {
public:
    /// "language": the language file's text, if the till had one. "until": the place of the line to stop
    /// before.
    LogReplay(LoggedDays days, const std::string& language, std::string until);
    LogReplay(const LogReplay&) = delete;
    LogReplay& operator=(const LogReplay&) = delete;
    ~LogReplay() override;

    /// The first line that differs, or can't be replayed, with the reason; empty if there is none.
    std::string run();

    bool hasStopped() const { return m_stopped; }
    int calls() const { return m_calls; }

    int open(Callback callback) override;
    std::string whyNotOpen() const override { return m_openAnswer; }
    void close() override { m_callback = nullptr; }
    std::string command(std::string_view text) override;
    void loggedOut() override {}

private:
    using Lines = std::vector<LoggedLine>;

    const LoggedLine* next(Stream stream, std::size_t further = 0) const;
    bool raisesEvent(std::size_t further) const;
    bool isEvent(const LoggedLine* line) const;
    bool isMessage(const LoggedLine* line) const;
    bool cameWhileSending(std::string_view command) const;
    void deliverNext();
    void compare(Stream stream, std::string_view text);
    void differ(const std::string& place, const std::string& what);
    void setClock(const LoggedLine& line);
    void call(const LoggedLine& entry);
    void prepareInit();
    nlohmann::json argumentsOf(const std::string& name, const std::string& inner, bool& known);
    std::string outcomeOf(const std::string& name) const;
    bool hasOutcome(const std::string& name, const char* words) const;

    LoggedDays m_days;
    std::string m_until;
    std::array<std::size_t, 3> m_at{};
    Callback m_callback = nullptr;
    std::string m_call; // that runs, or ran last
    std::string m_openAnswer;
    std::string m_difference;
    bool m_stopped = false;
    int m_calls = 0;
};

} // namespace simulation
