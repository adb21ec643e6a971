#include "simulator/machine_service.h"

#include "simulator/link_frames.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace simulator {

namespace {

constexpr const char* API = "/api/";
constexpr const char* EVENTS_PATH = "/api/events";
constexpr std::size_t MOST_WAITING_COMMANDS = 64;

web::Reply replyOf(const ControlResult& result)
{
    return {result.status, result.body + "\n"};
}

web::Reply complaint(int status, const std::string& why, const std::string& allow = {})
{
    return {status, "{\"why\":\"" + why + "\"}\n", "application/json", allow};
}

/// A till's link. Its commands run one after the other on a thread of its own, since the device may be slow
/// to answer; the thread is let go with what it is at.
class TillLink : public web::Listener {
public:
    TillLink(Machine& machine, std::shared_ptr<web::Socket> socket, bool comesBack)
        : m_machine(machine), m_shared(std::make_shared<Shared>(machine, std::move(socket)))
    {
        const std::weak_ptr<Shared> weak = m_shared;
        const std::lock_guard lock(m_shared->opening);
        const Opening opening = machine.open(
            [weak](const std::string& message) {
                if (const auto shared = weak.lock()) {
                    const std::lock_guard afterOpening(shared->opening);
                    shared->send({'m', 0, message});
                }
            },
            comesBack);
        m_open = opening.code == 0;
        m_shared->send({'o', opening.code, opening.text});
        if (m_open)
            std::thread([shared = m_shared] { shared->run(); }).detach();
        else
            m_shared->socket->close();
    }

    ~TillLink() override { close(); }

    void received(std::string bytes) override
    {
        auto frame = LinkFrame::parse(bytes);
        const bool isKnown = frame && (frame->kind == 'c' || frame->kind == 'l' || frame->kind == 'b');
        if (!m_open || !isKnown || (frame->kind != 'b' && !m_shared->add(std::move(*frame))))
            return m_shared->socket->close();
        if (frame->kind != 'b')
            return;
        close();
        m_shared->send({'b'});
        m_shared->socket->close();
    }

    bool staysWhenSilent() const override { return true; }

private:
    class Shared {
    public:
        Shared(Machine& theMachine, std::shared_ptr<web::Socket> theSocket)
            : socket(std::move(theSocket)), m_machine(theMachine)
        {}

        void send(const LinkFrame& frame) { socket->send(frame.bytes(), web::Payload::Binary); }

        /// False if there are too many already.
        bool add(LinkFrame frame)
        {
            const std::lock_guard lock(m_mutex);
            m_frames.push_back(std::move(frame));
            m_changed.notify_all();
            return m_frames.size() <= MOST_WAITING_COMMANDS;
        }

        void end()
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
            m_changed.notify_all();
        }

        void run()
        {
            std::unique_lock lock(m_mutex);
            while (true) {
                m_changed.wait(lock, [this] { return m_ended || !m_frames.empty(); });
                if (m_ended)
                    return;
                const LinkFrame frame = std::move(m_frames.front());
                m_frames.pop_front();
                lock.unlock();
                if (frame.kind == 'l')
                    m_machine.loggedOut();
                else
                    send({'a', frame.number, m_machine.command(frame.text)});
                lock.lock();
            }
        }

        const std::shared_ptr<web::Socket> socket;
        std::mutex opening; // until the till is told of it, no message goes out

    private:
        Machine& m_machine;
        std::mutex m_mutex;
        std::condition_variable m_changed;
        std::deque<LinkFrame> m_frames;
        bool m_ended = false;
    };

    void close()
    {
        m_shared->end();
        if (std::exchange(m_open, false))
            m_machine.close();
    }

    Machine& m_machine;
    const std::shared_ptr<Shared> m_shared;
    bool m_open = false;
};

/// One who follows the events.
class EventFollower : public web::Listener {
public:
    EventFollower(Machine& machine, const std::shared_ptr<web::Socket>& socket)
        : m_machine(machine), m_number(machine.subscribe([socket](const std::string& json) {
              socket->send(json, web::Payload::Text);
          }))
    {}

    ~EventFollower() override { m_machine.unsubscribe(m_number); }

    void received(std::string /*message*/) override {} // nothing to be said here

private:
    Machine& m_machine;
    const int m_number;
};

} // namespace

void MachineService::handle(const web::Request& request, const std::shared_ptr<web::Exchange>& exchange)
{
    const bool isGet = request.method == "GET";
    const bool isPost = request.method == "POST";
    if (request.path == LINK_PATH || request.path == EVENTS_PATH)
        return exchange->answer(isGet ? complaint(400, "a WebSocket is there, as the first request")
                                      : complaint(405, "only GET", "GET"));
    if (request.path == "/api/state")
        return exchange->answer(isGet ? web::Reply{200, m_machine.state() + "\n"}
                                      : complaint(405, "only GET", "GET"));

    const std::string verb =
        request.path.starts_with(API) ? request.path.substr(std::string(API).size()) : "";
    const auto& verbs = Machine::verbs();
    if (std::find(verbs.begin(), verbs.end(), verb) == verbs.end())
        return exchange->answer(complaint(404, "there is no such path"));
    if (!isPost)
        return exchange->answer(complaint(405, "only POST", "POST"));
    if (verb == "wait")
        return wait(request.body, exchange);
    exchange->answer(replyOf(m_machine.control(verb, request.body)));
}

void MachineService::wait(const std::string& json, const std::shared_ptr<web::Exchange>& exchange)
{
    const int number =
        m_machine.wait(json, [exchange](const ControlResult& result) { exchange->answer(replyOf(result)); });
    exchange->whenGone([this, number] { m_machine.cancelWait(number); });
}

std::unique_ptr<web::Listener> MachineService::open(const web::Request& request,
                                                    const std::shared_ptr<web::Socket>& socket)
{
    if (request.path == LINK_PATH)
        return std::make_unique<TillLink>(m_machine, socket, request.query == COMES_BACK);
    if (request.path == EVENTS_PATH)
        return std::make_unique<EventFollower>(m_machine, socket);
    return nullptr;
}

} // namespace simulator
