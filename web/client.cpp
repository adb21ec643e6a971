#include "web/client.h"

#include "web/asio.h"

#include <boost/asio/connect.hpp>

#include <algorithm>
#include <array>
#include <deque>
#include <thread>

namespace web {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t MOST_ANSWER = 16 * 1024 * 1024;
constexpr auto OPENING_TIME = 3s;
constexpr auto SILENCE = 10s; // after half of it a sign of life is asked for
constexpr auto FIRST_PAUSE = 10ms;
constexpr auto LONGEST_PAUSE = 320ms;

/// One request and its answer.
class Asking {
public:
    Asking(std::uint16_t port, const Request& request)
    {
        const std::string host = "127.0.0.1:" + std::to_string(port);
        m_text = request.method + " " + request.path + (request.query.empty() ? "" : "?" + request.query) +
                 " HTTP/1.1\r\nHost: " + host + "\r\nContent-Type: application/json\r\nContent-Length: " +
                 std::to_string(request.body.size()) + "\r\nConnection: close\r\n\r\n" + request.body;
        m_parser.body_limit(MOST_ANSWER);
        m_parser.eager(true);
        m_socket.async_connect(loopback(port), [this](error_code error) {
            if (!error)
                write();
        });
    }

    std::optional<Reply> within(std::chrono::milliseconds time)
    {
        m_context.run_for(time);
        if (!m_parser.is_done())
            return std::nullopt;
        const auto& message = m_parser.get();
        return Reply{static_cast<int>(message.result_int()), message.body(),
                     std::string(message[http::field::content_type]), ""};
    }

private:
    void write()
    {
        // Refused early, it may fail to be written, and be answered all the same.
        asio::async_write(m_socket, asio::buffer(m_text), Done([](error_code, std::size_t) {}));
        read();
    }

    void read()
    {
        m_socket.async_read_some(asio::buffer(m_chunk), Done([this](error_code error, std::size_t bytes) {
                                     if (!error)
                                         take(bytes);
                                 }));
    }

    void take(std::size_t bytes)
    {
        m_incoming.commit(asio::buffer_copy(m_incoming.prepare(bytes), asio::buffer(m_chunk.data(), bytes)));
        error_code error;
        while (!error && m_incoming.size() > 0 && !m_parser.is_done())
            m_incoming.consume(m_parser.put(m_incoming.data(), error));
        if (!m_parser.is_done() && (!error || error == http::error::need_more))
            read();
    }

    asio::io_context m_context{1};
    TcpSocket m_socket{m_context.get_executor()};
    std::string m_text;
    std::array<char, 16384> m_chunk{};
    boost::beast::flat_buffer m_incoming;
    http::response_parser<http::string_body> m_parser;
};

} // namespace

std::optional<Reply> ask(std::uint16_t port, const Request& request, std::chrono::milliseconds time)
{
    return Asking(port, request).within(time);
}

/// What the thread has a share of, which is never joined: whoever stops may be in the middle of unloading,
/// where waiting for a thread's end is for ever.
class SocketClient::Connecting : public std::enable_shared_from_this<Connecting> {
public:
    Connecting(std::uint16_t port, std::function<std::string()> path, Events events)
        : m_port(port), m_path(std::move(path)), m_events(std::move(events)),
          m_timer(m_context.get_executor())
    {}

    void start()
    {
        connect();
        std::thread([self = shared_from_this()] { self->m_context.run(); }).detach();
    }

    void stop()
    {
        asio::post(m_context, [self = shared_from_this()] {
            self->m_stopped = true;
            self->cutOff();
            self->m_timer.cancel();
        });
    }

    void send(std::string message)
    {
        asio::post(m_context,
                   [self = shared_from_this(), text = std::move(message)] { self->sendNow(text); });
    }

    void drop()
    {
        asio::post(m_context, [self = shared_from_this()] { self->cutOff(); });
    }

private:
    /// One connection; what is on its way in it may come to its end after the next one has begun.
    struct Connection {
        explicit Connection(asio::io_context& context) : stream(context.get_executor()) {}

        WebSocketStream stream;
        boost::beast::flat_buffer incoming;
        std::deque<std::string> outgoing;
        bool open = false;
        Clock::time_point since = {}; // it is open
        bool lost = false;
    };
    using Handle = std::shared_ptr<Connection>;

    void connect()
    {
        const auto connection = m_connection = std::make_shared<Connection>(m_context);
        m_timer.expires_after(OPENING_TIME);
        m_timer.async_wait([self = shared_from_this(), connection](error_code error) {
            if (!error && !connection->open)
                self->lose(connection);
        });
        connection->stream.next_layer().async_connect(
            loopback(m_port), [self = shared_from_this(), connection](error_code error) {
                if (error)
                    self->lose(connection);
                else
                    self->shakeHands(connection);
            });
    }

    void shakeHands(const Handle& connection)
    {
        error_code ignored;
        auto& stream = connection->stream;
        stream.next_layer().set_option(Tcp::no_delay(true), ignored);
        stream.set_option(websocket::stream_base::timeout{OPENING_TIME, SILENCE, true});
        stream.read_message_max(MOST_BODY);
        stream.binary(true);
        stream.async_handshake(
            "127.0.0.1:" + std::to_string(m_port), m_path(),
            std::function<void(error_code)>([self = shared_from_this(), connection](error_code error) {
                if (error)
                    return self->lose(connection);
                connection->open = true;
                connection->since = Clock::now();
                self->m_timer.cancel();
                self->receive(connection);
            }));
    }

    void receive(const Handle& connection)
    {
        connection->stream.async_read(
            connection->incoming,
            Done([self = shared_from_this(), connection](error_code error, std::size_t) {
                if (error)
                    return self->lose(connection);
                auto& incoming = connection->incoming;
                std::string message(static_cast<const char*>(incoming.data().data()), incoming.size());
                incoming.consume(incoming.size());
                self->m_events.received(std::move(message));
                self->receive(connection);
            }));
    }

    void sendNow(const std::string& message)
    {
        if (!m_connection->open)
            return;
        m_connection->outgoing.push_back(message);
        if (m_connection->outgoing.size() == 1)
            sendNext(m_connection);
    }

    void sendNext(const Handle& connection)
    {
        connection->stream.async_write(
            asio::buffer(connection->outgoing.front()),
            Done([self = shared_from_this(), connection](error_code error, std::size_t) {
                if (error)
                    return self->lose(connection);
                connection->outgoing.pop_front();
                if (!connection->outgoing.empty())
                    self->sendNext(connection);
            }));
    }

    /// What is on its way fails, and tells that the connection is lost.
    void cutOff()
    {
        error_code ignored;
        m_connection->stream.next_layer().close(ignored);
    }

    void lose(const Handle& connection)
    {
        if (std::exchange(connection->lost, true))
            return;
        const bool lasted = connection->open && Clock::now() - connection->since > LONGEST_PAUSE;
        connection->open = false;
        m_pause = lasted ? FIRST_PAUSE : std::min<Clock::duration>(m_pause * 2, LONGEST_PAUSE);
        cutOff();
        m_events.lost();
        if (m_stopped)
            return;
        m_timer.expires_after(m_pause);
        m_timer.async_wait([self = shared_from_this()](error_code error) {
            if (!error && !self->m_stopped)
                self->connect();
        });
    }

    const std::uint16_t m_port;
    const std::function<std::string()> m_path;
    const Events m_events;
    asio::io_context m_context{1};
    Timer m_timer;
    Handle m_connection;
    Clock::duration m_pause = FIRST_PAUSE;
    bool m_stopped = false;
};

SocketClient::SocketClient(std::uint16_t port, std::function<std::string()> path, Events events)
    : m_connecting(std::make_shared<Connecting>(port, std::move(path), std::move(events)))
{
    m_connecting->start();
}

SocketClient::~SocketClient()
{
    m_connecting->stop();
}

void SocketClient::send(std::string message)
{
    m_connecting->send(std::move(message));
}

void SocketClient::drop()
{
    m_connecting->drop();
}

} // namespace web
