#include "simulator/link.h"

#include "simulator/own_module.h"

#include <chrono>
#include <condition_variable>
#include <system_error>
#include <thread>

namespace simulator {

namespace {

using Clock = std::chrono::steady_clock;

Milliseconds currentTime()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count();
}

Clock::time_point timePoint(Milliseconds time)
{
    return Clock::time_point(std::chrono::milliseconds(time));
}

std::string closedAnswer(std::string_view command)
{
    return {std::string{command.empty() ? '?' : command.front(), FIELD_SEPARATOR} + "3Closed"};
}

} // namespace

/// One open link, from opening to closing. The thread holds a share of it and is never joined: whoever
/// closes may be in the middle of unloading, where waiting for a thread's end is for ever.
class Link::Session : public std::enable_shared_from_this<Session> {
public:
    Session(Callback callback, Settings settings) : m_callback(callback), m_device(std::move(settings)) {}

    void start()
    {
        const std::lock_guard lock(m_mutex);
        std::thread worker([self = shared_from_this()] { self->run(); });
        m_worker = worker.get_id();
        worker.detach();
    }

    bool isOpen()
    {
        const std::lock_guard lock(m_mutex);
        return m_open;
    }

    void close()
    {
        const std::lock_guard lock(m_mutex);
        m_open = false;
        m_device.loggedOut();
        m_changed.notify_all();
    }

    void waitForCallback()
    {
        std::unique_lock lock(m_mutex);
        if (std::this_thread::get_id() != m_worker)
            m_changed.wait(lock, [this] { return !m_inCallback; });
    }

    std::string command(std::string_view text)
    {
        std::unique_lock lock(m_mutex);
        if (!m_open)
            return closedAnswer(text);
        const Milliseconds now = currentTime();
        std::string answer = m_device.command(text, now);
        m_changed.notify_all();
        if (m_device.settings().busyInCall && m_device.isBusy(now) && std::this_thread::get_id() != m_worker)
            m_changed.wait(lock, [this] { return !m_open || (!m_device.hasMessages() && !m_inCallback); });
        return answer;
    }

    void atDevice(const std::function<void(DeviceModel&, Milliseconds)>& action)
    {
        const std::lock_guard lock(m_mutex);
        const Milliseconds now = currentTime();
        m_device.advance(now);
        action(m_device, now);
        m_changed.notify_all();
    }

private:
    void run()
    {
        std::unique_lock lock(m_mutex);
        while (m_open) {
            if (const auto message = m_device.nextMessage(currentTime()))
                deliver(*message, lock);
            else if (const auto due = m_device.nextDue())
                m_changed.wait_until(lock, timePoint(*due));
            else
                m_changed.wait(lock);
        }
    }

    void deliver(const std::string& message, std::unique_lock<std::mutex>& lock)
    {
        m_inCallback = true;
        lock.unlock();
        m_callback(message.c_str());
        lock.lock();
        m_inCallback = false;
        m_changed.notify_all();
    }

    const Callback m_callback;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    DeviceModel m_device;
    std::thread::id m_worker;
    bool m_open = true;
    bool m_inCallback = false;
};

Opening Link::open(Callback callback, Settings settings)
{
    if (callback == nullptr)
        return {OpeningCode::NO_CALLBACK, "No callback"};
    keepOwnModuleLoaded();
    const std::shared_ptr<Session> previous = current();
    if (previous) {
        if (previous->isOpen())
            return {OpeningCode::OPEN_ALREADY, "Link is open already"};
        previous->waitForCallback();
    }
    if (settings.openCode != 0)
        return {settings.openCode, "No contact with the device"};

    auto session = std::make_shared<Session>(callback, std::move(settings));
    const std::lock_guard lock(m_mutex);
    if (m_session != previous)
        return {OpeningCode::OPEN_ALREADY, "Link is open already"};
    try {
        session->start();
    } catch (const std::system_error&) {
        return {OpeningCode::NO_THREAD, "No thread for the link"};
    }
    m_session = std::move(session);
    return {0, "Ok"};
}

void Link::close()
{
    // A thread that died with the process may have left a lock behind.
    if (otherThreadsAreGone())
        return;
    if (const auto session = current()) {
        session->close();
        session->waitForCallback();
    }
}

std::string Link::command(std::string_view text)
{
    const auto session = current();
    return session ? session->command(text) : closedAnswer(text);
}

bool Link::atDevice(const std::function<void(DeviceModel&, Milliseconds)>& action)
{
    const auto session = current();
    if (session)
        session->atDevice(action);
    return session != nullptr;
}

std::shared_ptr<Link::Session> Link::current() const
{
    const std::lock_guard lock(m_mutex);
    return m_session;
}

} // namespace simulator
