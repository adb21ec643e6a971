// The messages that are on their way to the till, each with the time at which it gets there.
#pragma once

#include "simulator/settings.h"

#include <deque>

namespace simulator {

class MessageQueue {
public:
    /// Messages posted from now on get there no earlier.
    void setEarliest(Milliseconds time) { m_earliest = time; }

    /// Behind all others, and at least "gap" after the last of them: whoever polls must not miss one for
    /// the next. Answers when it gets there.
    Milliseconds post(std::string message, Milliseconds gap);

    /// The next message that is due by "now"; empty if there is none.
    std::optional<std::string> next(Milliseconds now);

    std::optional<Milliseconds> nextDue() const;

    bool empty() const { return m_messages.empty(); }

private:
    struct Message {
        Milliseconds due;
        std::string text;
    };

    std::deque<Message> m_messages;
    Milliseconds m_earliest = 0;
    std::optional<Milliseconds> m_lastDue;
};

} // namespace simulator
