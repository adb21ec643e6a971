// What people do at a machine, and what they expect of it, as a list of steps. The README tells of them.
#pragma once

#include "simulator/machine.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <nlohmann/json.hpp>

namespace simulator {

class Script {
public:
    /// Throws BadSettings if the text is no script.
    Script(const std::string& text, std::string file);

    /// Plays it from its first step to its last, tells of each, and answers whether all went well.
    bool play(Machine& machine);

    /// From another thread: ends the playing.
    void stop();

private:
    struct Step {
        std::string on = {};     // waits for this
        std::string after = {};  // or for so many pieces, or so long
        std::string expect = {}; // or for this, which has to come in time
        Milliseconds within = 0;
        std::string verb = {}; // and then does this; empty for nothing
        nlohmann::json members = nlohmann::json::object();
    };

    static Step parseStep(const nlohmann::json& object);
    static std::string wordsOf(const Step& step);

    std::string carryOut(Machine& machine, const Step& step);
    std::string waitFor(const Step& step);
    bool isSo(const std::string& what) const;
    void hearAll();
    void hear(const nlohmann::json& event);

    const std::string m_file;
    std::vector<Step> m_steps;

    std::mutex m_mutex; // guards the next two
    std::condition_variable m_changed;
    std::deque<std::string> m_heard;
    bool m_stopped = false;

    nlohmann::json m_state = nlohmann::json::object();
    int m_pieces = 0;     // that moved since the last step
    Amount m_paidOut = 0; // since the last payout that was expected
};

} // namespace simulator
