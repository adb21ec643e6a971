#include "examples/till/events.h"

#include <fmt/format.h>

Events* Events::s_events = nullptr;

namespace {

const char* statusWord(int status)
{
    switch (status) {
    case 0:
        return "ready";
    case 1:
        return "busy";
    case 2:
        return "error";
    case 3:
        return "ready, pay-in closed";
    default:
        return "unknown status";
    }
}

const char* modeWord(int mode)
{
    switch (mode) {
    case 0:
        return "closed";
    case 1:
        return "open";
    case 3:
        return "administration";
    default:
        return "unknown mode";
    }
}

} // namespace

Events::Events(Printer& printer) : m_printer(printer)
{
    s_events = this;
}

Events::~Events()
{
    s_events = nullptr;
}

std::int16_t Events::registerAll(char* message)
{
    return registerEvents4TL(&onStatus, &onError, &onLevelWarning, &onInformation, &onCashSession, message);
}

bool Events::waitForStatus(const std::function<bool(const StatusReport&)>& answers, std::chrono::seconds time)
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, time, [&] { return answers(m_status); });
}

StatusReport Events::status()
{
    const std::lock_guard lock(m_mutex);
    return m_status;
}

EventCounts Events::counts()
{
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

void Events::onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode)
{
    show(LineKind::Event,
         fmt::format("status       {:>10}  {}, {}", money(amount), modeWord(mode), statusWord(status)));
    const std::lock_guard lock(s_events->m_mutex);
    s_events->m_status = {amount, status, mode};
    s_events->m_changed.notify_all();
}

void Events::onError(std::int32_t code, const char* text, const char* /*extInfo*/)
{
    show(LineKind::Bad, fmt::format("error {}: {}", code, text));
    count(&EventCounts::errors);
}

void Events::onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t /*left*/,
                            const char* /*typeText*/, const char* /*denominationText*/, const char* warning,
                            const char* /*extInfo*/)
{
    show(LineKind::Event, fmt::format("level        {:>10}  {}", money(denomination), warning));
    if (type == 1)
        count(&EventCounts::empty);
    if (type == 2)
        count(&EventCounts::low);
}

void Events::onInformation(const char* text)
{
    show(LineKind::Event, fmt::format("information              {}", text));
}

void Events::onCashSession(std::uint16_t /*type*/, std::int32_t amount, const char* extInfo)
{
    show(LineKind::Event, fmt::format("cash session {:>10}  {}", money(amount), extInfo));
}

void Events::show(LineKind kind, const std::string& text)
{
    s_events->m_printer.line(kind, text);
}

void Events::count(int EventCounts::*counter)
{
    const std::lock_guard lock(s_events->m_mutex);
    ++(s_events->m_counts.*counter);
}
