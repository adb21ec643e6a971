#include "simulator/embedded_link.h"

#include "simulator/own_module.h"

#include <system_error>

namespace simulator {

Opening EmbeddedLink::open(Machine::MessageSink sink, Settings settings)
{
    if (!sink)
        return {OpeningCode::NO_CALLBACK, "No callback"};
    keepOwnModuleLoaded();
    const std::shared_ptr<Machine> previous = machine();
    if (previous) {
        if (previous->isOpen())
            return {OpeningCode::OPEN_ALREADY, "Link is open already"};
        previous->close();
    }

    std::shared_ptr<Machine> fresh;
    try {
        fresh = std::make_shared<Machine>(std::move(settings));
    } catch (const std::system_error&) {
        return {OpeningCode::NO_THREAD, "No thread for the link"};
    }
    const std::lock_guard lock(m_mutex);
    if (m_machine != previous)
        return {OpeningCode::OPEN_ALREADY, "Link is open already"};
    const Opening opening = fresh->open(std::move(sink));
    if (opening.code == 0)
        m_machine = std::move(fresh);
    return opening;
}

void EmbeddedLink::close()
{
    // A thread that died with the process may have left a lock behind.
    if (otherThreadsAreGone())
        return;
    if (const auto open = machine()) {
        open->close();
        open->stop();
    }
}

bool EmbeddedLink::isOpen() const
{
    const auto open = machine();
    return open && open->isOpen();
}

std::string EmbeddedLink::command(std::string_view text)
{
    const auto open = machine();
    return open ? open->command(text) : Machine::closedAnswer(text);
}

std::shared_ptr<Machine> EmbeddedLink::machine() const
{
    const std::lock_guard lock(m_mutex);
    return m_machine;
}

} // namespace simulator
