#include "simulator/message_queue.h"

#include <algorithm>
#include <utility>

namespace simulator {

Milliseconds MessageQueue::post(std::string message, Milliseconds gap)
{
    const Milliseconds due = m_lastDue ? std::max(m_earliest, *m_lastDue + gap) : m_earliest;
    m_messages.push_back({due, std::move(message)});
    m_lastDue = due;
    return due;
}

std::optional<std::string> MessageQueue::next(Milliseconds now)
{
    if (m_messages.empty() || m_messages.front().due > now)
        return std::nullopt;
    std::string text = std::move(m_messages.front().text);
    m_messages.pop_front();
    return text;
}

std::optional<Milliseconds> MessageQueue::nextDue() const
{
    return m_messages.empty() ? std::nullopt : std::optional(m_messages.front().due);
}

} // namespace simulator
