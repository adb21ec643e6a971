#include "simulator/machine_service.h"

#include "simulator/link_frames.h"
#include "simulator/panel.h"

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
/// to answer; once the link is closed it answers at once.
class TillLink : public web::Listener {
public:
    TillLink(Machine& machine, std::shared_ptr<web::Socket> socket)
        : m_machine(machine), m_socket(std::move(socket)), m_worker([this] { run(); })
    {}

    void open(bool comesBack)
    {
        // Until the till is told of the opening no message goes out.
        const auto opened = std::make_shared<std::mutex>();
        const std::lock_guard lock(*opened);
        const Opening opening = m_machine.open(
            [till = m_socket, opened](const std::string& message) {
                const std::lock_guard afterOpening(*opened);
                send(*till, {'m', 0, message});
            },
            comesBack);
        m_open = opening.code == 0;
        send(*m_socket, {'o', opening.code, opening.text});
        if (!m_open)
            m_socket->close();
    }

    ~TillLink() override { close(); }

    void received(std::string bytes) override
    {
        auto frame = LinkFrame::parse(bytes);
        const bool isKnown = frame && (frame->kind == 'c' || frame->kind == 'l' || frame->kind == 'b');
        if (!m_open || !isKnown)
            return m_socket->close();
        if (frame->kind != 'b')
            return add(std::move(*frame));
        close();
        send(*m_socket, {'b'});
        m_socket->close();
    }

    bool staysWhenSilent() const override { return true; }

private:
    static void send(web::Socket& socket, const LinkFrame& frame)
    {
        socket.send(frame.bytes(), web::Payload::Binary);
    }

    void add(LinkFrame frame)
    {
        const std::lock_guard lock(m_mutex);
        m_frames.push_back(std::move(frame));
        m_changed.notify_all();
        if (m_frames.size() > MOST_WAITING_COMMANDS)
            m_socket->close();
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
                send(*m_socket, {'a', frame.number, m_machine.command(frame.text)});
            lock.lock();
        }
    }

    void close()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
            m_changed.notify_all();
        }
        if (std::exchange(m_open, false))
            m_machine.close();
        if (m_worker.joinable())
            m_worker.join();
    }

    Machine& m_machine;
    const std::shared_ptr<web::Socket> m_socket;
    bool m_open = false;
    std::mutex m_mutex; // guards the next two
    std::condition_variable m_changed;
    std::deque<LinkFrame> m_frames;
    bool m_ended = false;
    std::thread m_worker; // the last one: it uses the others
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

    if (web::answerWithPage(panelPages(), request, *exchange))
        return;

    const std::string verb =
        request.path.starts_with(API) ? request.path.substr(std::string(API).size()) : "";
    const auto& verbs = Machine::verbs();
    if (std::find(verbs.begin(), verbs.end(), verb) == verbs.end())
        return exchange->answer(complaint(404, "there is no such path"));
    if (!isPost)
        return exchange->answer(complaint(405, "only POST", "POST"));
    if (verb == "wait")
        return wait(request.body, exchange);
    web::Reply reply = replyOf(m_machine.control(verb, request.body));
    if (request.query == "quietly") // as pages ask, to whose browsers a refusal is an error of the page
        reply.status = 200;
    exchange->answer(std::move(reply));
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
    if (request.path == LINK_PATH) {
        auto till = std::make_unique<TillLink>(m_machine, socket);
        till->open(request.query == COMES_BACK);
        return till;
    }
    if (request.path == EVENTS_PATH)
        return std::make_unique<EventFollower>(m_machine, socket);
    return nullptr;
}

} // namespace simulator
