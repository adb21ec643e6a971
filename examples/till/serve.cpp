// The till in the browser: its page, its events, and what the cashier asks for.
#include "examples/till/commands.h"
#include "examples/till/counter.h"
#include "examples/till/pages.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using nlohmann::json;

constexpr const char* API = "/api/";
constexpr const char* EVENTS_PATH = "/api/events";

web::Reply complaint(int status, const std::string& why, const std::string& allow = {})
{
    return {status, json{{"why", why}}.dump(-1, ' ', false, json::error_handler_t::replace) + "\n",
            "application/json", allow};
}

class Follower : public web::Listener {
public:
    Follower(Counter& counter, const std::shared_ptr<web::Socket>& socket)
        : m_counter(counter), m_number(counter.subscribe([socket](const std::string& event) {
              socket->send(event, web::Payload::Text);
          }))
    {}

    ~Follower() override { m_counter.unsubscribe(m_number); }

    void received(std::string /*message*/) override {} // nothing to be said here

private:
    Counter& m_counter;
    const int m_number;
};

class TillService : public web::Service {
public:
    explicit TillService(Counter& counter) : m_counter(counter) {}

    void handle(const web::Request& request, const std::shared_ptr<web::Exchange>& exchange) override
    {
        if (web::answerWithPage(tillPages(), request, *exchange))
            return;
        web::Reply reply = answer(request);
        if (request.query == "quietly" && (reply.status == 400 || reply.status == 409))
            reply.status = 200;
        exchange->answer(std::move(reply));
    }

    std::unique_ptr<web::Listener> open(const web::Request& request,
                                        const std::shared_ptr<web::Socket>& socket) override
    {
        return request.path == EVENTS_PATH ? std::make_unique<Follower>(m_counter, socket) : nullptr;
    }

private:
    web::Reply answer(const web::Request& request)
    {
        if (request.path == EVENTS_PATH)
            return complaint(400, "a WebSocket is there, as the first request");
        if (request.path == "/api/state")
            return request.method == "GET" ? web::Reply{200, m_counter.state() + "\n"}
                                           : complaint(405, "only GET", "GET");
        const std::string verb =
            request.path.starts_with(API) ? request.path.substr(std::string(API).size()) : "";
        if (verb != "due" && !Counter::isAction(verb))
            return complaint(404, "there is no such path");
        if (request.method != "POST")
            return complaint(405, "only POST", "POST");
        const std::string why = verb == "due" ? setDue(request.body) : m_counter.begin(verb);
        return why.empty() ? web::Reply{200, "{}\n"} : complaint(409, why);
    }

    std::string setDue(const std::string& body)
    {
        const json members = json::parse(body, nullptr, false);
        const auto amount = members.is_object() ? members.find("amount") : members.end();
        if (!members.is_object() || amount == members.end() || !amount->is_string())
            return "\"amount\" is missing, a text like \"63.00\"";
        return m_counter.setDue(amount->get<std::string>());
    }

    Counter& m_counter;
};

} // namespace

bool runServe(const SessionOptions& session, const ServeOptions& serve)
{
    Counter counter(session);
    TillService service(counter);
    web::Server server(serve.port, service);
    if (!serve.portFile.empty()) {
        std::ofstream(serve.portFile + ".new") << server.port() << '\n';
        std::filesystem::rename(serve.portFile + ".new", serve.portFile);
    }
    std::printf("The till is on http://127.0.0.1:%d/, its device on %s\n", server.port(),
                session.port.c_str());
    std::fflush(stdout);
    server.run();
    return true;
}
