#include "simulator/remote_link.h"

#include "simulator/command.h"
#include "simulator/link_frames.h"
#include "simulator/own_module.h"
#include "web/client.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <system_error>
#include <thread>

namespace simulator {

namespace {

using namespace std::chrono_literals;

constexpr auto OPENING_TIME = 4s;
constexpr auto CLOSING_TIME = 1s;
constexpr auto CONTROL_TIME = 10s;

/// None of the statuses that there are.
std::string lostAnswer(std::string_view command)
{
    return {std::string{command.empty() ? '?' : command.front(), FIELD_SEPARATOR} + "LLost"};
}

} // namespace

/// One open link, from opening to closing. Its threads have shares of it and are never joined: whoever
/// closes may be in the middle of unloading, where waiting for a thread's end is for ever.
class RemoteLink::Session : public std::enable_shared_from_this<Session> {
public:
    explicit Session(Machine::MessageSink sink) : m_sink(std::move(sink)) {}

    Opening open(std::uint16_t port)
    {
        std::unique_lock lock(m_mutex);
        std::thread worker([self = shared_from_this()] { self->deliver(); });
        m_worker = worker.get_id();
        worker.detach();
        const std::weak_ptr<Session> weak = weak_from_this();
        m_client = std::make_unique<web::SocketClient>(
            port,
            [weak] {
                const auto self = weak.lock();
                return self ? self->path() : LINK_PATH;
            },
            web::SocketClient::Events{[weak](const std::string& bytes) {
                                          if (const auto self = weak.lock())
                                              self->receive(bytes);
                                      },
                                      [weak] {
                                          if (const auto self = weak.lock())
                                              self->lose();
                                      }});
        m_changed.wait_for(lock, OPENING_TIME, [this] { return m_opening.has_value(); });
        const Opening opening = m_opening.value_or(Opening{OpeningCode::NO_ANSWER, "Nobody answers"});
        if (opening.code != 0)
            end();
        return opening;
    }

    bool isOpen() const
    {
        const std::lock_guard lock(m_mutex);
        return m_open;
    }

    void close()
    {
        std::unique_lock lock(m_mutex);
        m_deliver = false;
        if (m_there) {
            m_client->send(LinkFrame{'b'}.bytes());
            m_changed.wait_for(lock, CLOSING_TIME, [this] { return !m_there; });
        }
        end();
        if (std::this_thread::get_id() != m_worker)
            m_changed.wait(lock, [this] { return !m_inSink; });
    }

    std::string command(std::string_view text)
    {
        std::unique_lock lock(m_mutex);
        if (!m_open)
            return Machine::closedAnswer(text);
        if (!m_there)
            return lostAnswer(text);
        const int number = ++m_lastNumber;
        m_answers[number] = std::nullopt;
        // Still locked: a command that is told to be lost must not go out once the machine is there again.
        m_client->send(LinkFrame{'c', number, std::string(text)}.bytes());
        m_changed.wait(lock, [&] { return m_answers.count(number) == 0 || m_answers[number]; });
        const auto found = m_answers.find(number);
        if (found == m_answers.end())
            return lostAnswer(text);
        std::string answer = std::move(*found->second);
        m_answers.erase(found);
        return answer;
    }

    void loggedOut()
    {
        const std::lock_guard lock(m_mutex);
        if (m_there)
            m_client->send(LinkFrame{'l'}.bytes());
    }

private:
    std::string path() const
    {
        const std::lock_guard lock(m_mutex);
        return m_open ? std::string(LINK_PATH) + "?" + COMES_BACK : LINK_PATH;
    }

    // ---- On the client's thread ----

    void receive(const std::string& bytes)
    {
        auto frame = LinkFrame::parse(bytes);
        if (!frame)
            return;
        const std::lock_guard lock(m_mutex);
        switch (frame->kind) {
        case 'o':
            opened({frame->number, frame->text});
            break;
        case 'a':
            if (const auto waits = m_answers.find(frame->number); waits != m_answers.end())
                waits->second = std::move(frame->text);
            break;
        case 'm':
            m_messages.push_back(std::move(frame->text));
            break;
        case 'b':
            m_there = false;
            break;
        default:
            break;
        }
        m_changed.notify_all();
    }

    void opened(const Opening& opening)
    {
        if (m_ended)
            return;
        m_there = opening.code == 0;
        if (!m_opening) {
            m_opening = opening;
            m_open = m_there;
        } else if (!m_there) {
            m_client->drop(); // to try again
        }
    }

    void lose()
    {
        const std::lock_guard lock(m_mutex);
        if (!m_opening)
            m_opening = Opening{OpeningCode::NO_ANSWER, "Nobody answers"};
        m_there = false;
        m_answers.clear();
        m_changed.notify_all();
    }

    // ---- On the thread of its own ----

    void deliver()
    {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_changed.wait(lock, [this] { return m_ended || (m_deliver && !m_messages.empty()); });
            if (m_ended)
                return;
            const std::string message = std::move(m_messages.front());
            m_messages.pop_front();
            m_inSink = true;
            lock.unlock();
            m_sink(message);
            lock.lock();
            m_inSink = false;
            m_changed.notify_all();
        }
    }

    /// Locked.
    void end()
    {
        m_ended = true;
        m_open = false;
        m_there = false;
        m_answers.clear();
        m_client.reset();
        m_changed.notify_all();
    }

    const Machine::MessageSink m_sink;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unique_ptr<web::SocketClient> m_client;
    std::thread::id m_worker;
    std::optional<Opening> m_opening;
    bool m_open = false;
    bool m_there = false; // the machine has the link open, too
    bool m_ended = false;
    bool m_deliver = true;
    bool m_inSink = false;
    int m_lastNumber = 0;
    std::map<int, std::optional<std::string>> m_answers; // of the commands that wait
    std::deque<std::string> m_messages;
};

std::optional<std::uint16_t> RemoteLink::portOf(std::string_view portName)
{
    for (const std::string_view host : {"127.0.0.1:", "localhost:"}) {
        if (!portName.starts_with(host))
            continue;
        const auto port = parseNumber(portName.substr(host.size()));
        if (port && *port >= 1 && *port <= 65535)
            return static_cast<std::uint16_t>(*port);
    }
    return std::nullopt;
}

Opening RemoteLink::open(Machine::MessageSink sink, std::uint16_t port)
{
    keepOwnModuleLoaded();
    const std::shared_ptr<Session> previous = current();
    if (previous && previous->isOpen())
        return {OpeningCode::OPEN_ALREADY, "Link is open already"};
    if (previous)
        previous->close();
    auto session = std::make_shared<Session>(std::move(sink));
    Opening opening{};
    try {
        opening = session->open(port);
    } catch (const std::system_error&) {
        return {OpeningCode::NO_THREAD, "No thread for the link"};
    }
    if (opening.code == 0) {
        const std::lock_guard lock(m_mutex);
        m_session = std::move(session);
        m_port = port;
    }
    return opening;
}

std::string RemoteLink::command(std::string_view text)
{
    const auto session = current();
    return session ? session->command(text) : Machine::closedAnswer(text);
}

void RemoteLink::loggedOut()
{
    if (const auto session = current())
        session->loggedOut();
}

void RemoteLink::close()
{
    // A thread that died with the process may have left a lock behind.
    if (otherThreadsAreGone())
        return;
    if (const auto session = current())
        session->close();
}

bool RemoteLink::isOpen() const
{
    const auto session = current();
    return session && session->isOpen();
}

ControlResult RemoteLink::state()
{
    return ask("GET", "/api/state", "");
}

ControlResult RemoteLink::control(std::string_view verb, std::string_view json)
{
    const auto& verbs = Machine::verbs();
    if (std::find(verbs.begin(), verbs.end(), verb) == verbs.end())
        return {404, R"({"why":"no such verb"})"};
    return ask("POST", "/api/" + std::string(verb), json);
}

ControlResult RemoteLink::ask(const char* method, const std::string& path, std::string_view body) const
{
    const auto port = [this] {
        const std::lock_guard lock(m_mutex);
        return m_port;
    }();
    const auto reply = web::ask(port, {method, path, "", std::string(body)}, CONTROL_TIME);
    return reply ? ControlResult{reply->status, reply->body}
                 : ControlResult{503, R"({"why":"nobody answers"})"};
}

std::shared_ptr<RemoteLink::Session> RemoteLink::current() const
{
    const std::lock_guard lock(m_mutex);
    return m_session;
}

} // namespace simulator
