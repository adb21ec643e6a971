// The messages that are on their way to the till, each with the time at which it gets there.
#pragma once

#include "simulator/settings.h"

#include <deque>

namespace simulator {

class MessageQueue {
public:
    struct Message {
        Milliseconds due;
        std::string text;
        const char* change = nullptr; // what a fault did to it; such a one is spared by all others
    };

    /// Messages posted from now on get there no earlier.
    void setEarliest(Milliseconds time) { m_earliest = time; }

    /// Behind all others, and at least "gap" after the last of them: whoever polls must not miss one for
    /// the next. Answers when it gets there.
    Milliseconds post(std::string text, Milliseconds gap);

    /// The next message that is due by "now"; empty if there is none.
    std::optional<Message> next(Milliseconds now);

    /// Puts a message ahead of all others, which wait behind it however late it is.
    void putBack(Message message);

    std::optional<Milliseconds> nextDue() const;

    bool empty() const { return m_messages.empty(); }

    /// Loses all of them.
    void clear();

private:
    std::deque<Message> m_messages;
    Milliseconds m_earliest = 0;
    std::optional<Milliseconds> m_lastDue;
};

} // namespace simulator
