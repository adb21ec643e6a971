// Runs a tape again: the same calls, answers and messages at the same times, so the same logs to the byte.
#pragma once

#include "simulation/communication_library.h"
#include "simulation/virtual_system.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace simulation {

class TapeReplay : public CommunicationLibrary {
public:
    /// Throws std::runtime_error with a text for people if it can't be read.
    explicit TapeReplay(const std::string& path);
    TapeReplay(const TapeReplay&) = delete;
    TapeReplay& operator=(const TapeReplay&) = delete;
    ~TapeReplay() override;

    /// What was different first, with the tape's line; empty if nothing was.
    std::string run();

    int open(Callback callback) override;
    void close() override {}
    std::string command(std::string_view text) override;
    void loggedOut() override {}

private:
    using Line = nlohmann::json;

    bool isAt(const char* key) const { return m_at < m_lines.size() && m_lines[m_at].contains(key); }
    Milliseconds timeOfLine() const { return m_lines[m_at].at("at").get<Milliseconds>(); }
    void sayUntil(Milliseconds end);
    void differ(const std::string& what);

    std::vector<Line> m_lines;
    std::size_t m_at = 0; // the line that comes next
    Callback m_callback = nullptr;
    std::string m_difference;
};

} // namespace simulation
