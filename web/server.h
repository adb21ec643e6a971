// A small HTTP and WebSocket server for this machine's own programs and browsers: it listens on 127.0.0.1
// alone, and refuses pages of other sites. What clients send is bounded, and so is what waits for them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace web {

constexpr std::size_t MOST_BODY = 64 * 1024;

struct Request {
    std::string method = {};
    std::string path = {}; // without the query
    std::string query = {};
    std::string body = {};
};

struct Reply {
    int status = 200;
    std::string body = {};
    std::string type = "application/json";
    std::string allow = {}; // with 405: the methods that there are
};

/// One request's way back. May outlive the server.
class Exchange {
public:
    virtual ~Exchange() = default;

    /// Once, from any thread.
    virtual void answer(Reply reply) = 0;

    /// Has "action" called, on the server's thread, if the client leaves before it is answered. To be called
    /// on that thread.
    virtual void whenGone(std::function<void()> action) = 0;
};

enum class Payload { Text, Binary };

/// One open WebSocket. May be used from any thread and outlive the server.
class Socket {
public:
    virtual ~Socket() = default;

    /// Who reads too slowly is cut off.
    virtual void send(std::string message, Payload payload) = 0;

    /// Cut off when all is sent.
    virtual void close() = 0;
};

/// What a WebSocket's messages go to. It is called on the server's thread, and destroyed when the socket is
/// closed.
class Listener {
public:
    virtual ~Listener() = default;
    virtual void received(std::string message) = 0;

    /// Whether a client may give no sign of life, as one that stands at a breakpoint.
    virtual bool staysWhenSilent() const { return false; }
};

/// What the server offers. It is called on the server's thread and must not hold it up; what it throws is
/// answered with 500.
class Service {
public:
    virtual ~Service() = default;

    virtual void handle(const Request& request, const std::shared_ptr<Exchange>& exchange) = 0;

    /// Null if there is no WebSocket with this path; the request is then handled like any other.
    virtual std::unique_ptr<Listener> open(const Request& request, const std::shared_ptr<Socket>& socket) = 0;
};

class Server {
public:
    /// Listens; port 0 is any. Throws std::runtime_error if that can't be had.
    Server(std::uint16_t port, Service& service);
    ~Server();

    std::uint16_t port() const;

    /// Serves until the process is told to end, by Ctrl-C or as the system does it.
    void run();

    /// Ends the run; from any thread.
    void stop();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace web
