#include "simulator/message_queue.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

// More than anybody waits for, and few enough for whoever makes the device talk without end.
constexpr std::size_t MOST_MESSAGES = 10'000;

} // namespace

Milliseconds MessageQueue::post(std::string text, Milliseconds gap)
{
    const Milliseconds due = m_lastDue ? std::max(m_earliest, *m_lastDue + gap) : m_earliest;
    if (m_messages.size() >= MOST_MESSAGES)
        return due;
    m_messages.push_back({due, std::move(text)});
    m_lastDue = due;
    return due;
}

std::optional<MessageQueue::Message> MessageQueue::next(Milliseconds now)
{
    if (m_messages.empty() || m_messages.front().due > now)
        return std::nullopt;
    Message message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

void MessageQueue::putBack(Message message)
{
    m_messages.push_front(std::move(message));
}

std::optional<Milliseconds> MessageQueue::nextDue() const
{
    return m_messages.empty() ? std::nullopt : std::optional(m_messages.front().due);
}

void MessageQueue::clear()
{
    m_messages.clear();
    m_lastDue.reset();
}

} // namespace simulator
