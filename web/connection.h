// One client of the server, from its connection to its end. All of it is in this header, for the sake of the
// one source that compiles Beast for the server.
#pragma once

#include "web/messages.h"

#include <array>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace web {

class Connection;

/// What all connections share.
struct Shared {
    explicit Shared(Service& theService) : service(theService) {}

    Service& service;
    std::set<Connection*> connections; // outlives the context, whose end is that of the last ones
    asio::io_context context{1};
};

/// One client, from its connection to its end: request after request, or a WebSocket. Lives as long as
/// something is on its way.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(Shared& shared, TcpSocket socket)
        : m_shared(shared), m_stream(std::move(socket)), m_timer(shared.context.get_executor())
    {
        m_shared.connections.insert(this);
        error_code ignored;
        this->socket().set_option(Tcp::no_delay(true), ignored);
    }

    ~Connection() { m_shared.connections.erase(this); }

    void start()
    {
        if (m_shared.connections.size() > MOST_CONNECTIONS)
            refuse(complaint(503, "too many connections"));
        else
            awaitRequest(REQUEST_TIME);
    }

    void close()
    {
        error_code ignored;
        m_state = State::Closed;
        m_timer.cancel();
        socket().shutdown(TcpSocket::shutdown_both, ignored);
        socket().close(ignored);
        m_listener.reset();
        if (const auto action = std::exchange(m_whenGone, nullptr))
            action();
    }

    // From here on for the ones who have it from their requests.

    void post(std::function<void(Connection& connection)> action)
    {
        asio::post(m_shared.context, [self = shared_from_this(), run = std::move(action)] { run(*self); });
    }

    void answer(int request, const Reply& reply)
    {
        if (m_state != State::Answering || request != m_request)
            return;
        m_whenGone = nullptr;
        write(reply, m_keepAlive);
    }

    void whenGone(int request, std::function<void()> action)
    {
        if (m_state == State::Answering && request == m_request)
            m_whenGone = std::move(action);
    }

    /// From any thread. What is posted from different ones changes its order, so it has a queue before.
    void send(std::string message, Payload payload)
    {
        const std::lock_guard lock(m_mutex);
        m_toSend.push_back({std::move(message), payload});
        if (m_toSend.size() == 1)
            post([](Connection& self) { self.sendAll(); });
    }

    void closeWhenSent()
    {
        sendAll();
        m_closing = true;
        if (m_outgoing.empty())
            close();
    }

private:
    using Parser = http::request_parser<http::string_body>;

    static constexpr std::size_t MOST_HEADER = 16 * 1024;
    static constexpr std::size_t MOST_MESSAGE = 64 * 1024;
    static constexpr std::size_t MOST_UNSENT = 1024 * 1024;
    static constexpr std::size_t MOST_UNREAD = 1024 * 1024;
    static constexpr std::size_t MOST_CONNECTIONS = 64;
    static constexpr auto REQUEST_TIME =
        std::chrono::seconds(10); // for a request to come in, or an answer to go out
    static constexpr auto QUIET_TIME = std::chrono::seconds(30); // between two requests
    static constexpr auto SILENCE =
        std::chrono::seconds(10); // of a WebSocket, which is asked for a sign of life halfway
    static constexpr auto ENDING_TIME = std::chrono::seconds(1); // for the client to close, too

    enum class State { Requested, Answering, Writing, Ending, WebSocket, Closed };

    struct Outgoing {
        std::string message;
        Payload payload;
    };

    class OneExchange : public Exchange {
    public:
        OneExchange(std::weak_ptr<Connection> connection, int request)
            : m_connection(std::move(connection)), m_request(request)
        {}

        void answer(Reply reply) override
        {
            if (const auto connection = m_connection.lock())
                connection->post([request = m_request, text = std::move(reply)](Connection& self) {
                    self.answer(request, text);
                });
        }

        void whenGone(std::function<void()> action) override
        {
            if (const auto connection = m_connection.lock())
                connection->whenGone(m_request, std::move(action));
        }

    private:
        const std::weak_ptr<Connection> m_connection;
        const int m_request;
    };

    class OpenSocket : public Socket {
    public:
        explicit OpenSocket(std::weak_ptr<Connection> connection) : m_connection(std::move(connection)) {}

        void send(std::string message, Payload payload) override
        {
            if (const auto connection = m_connection.lock())
                connection->send(std::move(message), payload);
        }

        void close() override
        {
            if (const auto connection = m_connection.lock())
                connection->post([](Connection& self) { self.closeWhenSent(); });
        }

    private:
        const std::weak_ptr<Connection> m_connection;
    };

    TcpSocket& socket() { return m_stream.next_layer(); }

    void closeAfter(Clock::duration time)
    {
        m_timer.expires_after(time);
        m_timer.async_wait([weak = weak_from_this()](error_code error) {
            const auto self = weak.lock();
            if (!error && self && self->m_timer.expiry() <= Clock::now())
                self->close();
        });
    }

    // ---- Requests ----

    void awaitRequest(Clock::duration time)
    {
        m_state = State::Requested;
        m_parser.emplace();
        m_parser->eager(true);
        m_parser->header_limit(MOST_HEADER);
        m_parser->body_limit(MOST_BODY);
        closeAfter(time);
        parse();
    }

    /// At most one read is on its way; it also tells that the client leaves while it waits for an answer.
    void read()
    {
        if (std::exchange(m_reading, true))
            return;
        socket().async_read_some(asio::buffer(m_chunk),
                                 Done([self = shared_from_this()](error_code error, std::size_t bytes) {
                                     self->m_reading = false;
                                     self->hear(error, bytes);
                                 }));
    }

    void hear(error_code error, std::size_t bytes)
    {
        // Who has said all may still read the answer that is being written.
        if (error && m_state == State::Writing)
            m_keepAlive = false;
        else if (error)
            close();
        else if (m_state == State::Ending)
            endAfter(bytes);
        else
            take(bytes);
    }

    void take(std::size_t bytes)
    {
        m_incoming.commit(asio::buffer_copy(m_incoming.prepare(bytes), asio::buffer(m_chunk.data(), bytes)));
        if (m_state == State::Requested)
            parse();
        else if (m_incoming.size() < MOST_HEADER) // of requests that come before this one is answered
            read();
    }

    void parse()
    {
        while (!m_parser->is_done() && m_incoming.size() > 0) {
            error_code error;
            m_incoming.consume(m_parser->put(m_incoming.data(), error));
            if (error == http::error::need_more && m_incoming.size() < MOST_HEADER)
                break;
            if (error)
                return refuse(complaintOn(error));
        }
        if (m_parser->is_done())
            handle();
        else
            read();
    }

    static Reply complaintOn(const error_code& error)
    {
        if (error == http::error::body_limit)
            return complaint(413, "the body is over 64 KiB");
        if (error == http::error::header_limit || error == http::error::need_more)
            return complaint(431, "the header is over 16 KiB");
        return complaint(400, "not HTTP: " + error.message());
    }

    void handle()
    {
        const auto message = m_parser->release();
        m_keepAlive = message.keep_alive();
        m_state = State::Answering;
        m_timer.cancel();
        ++m_request;
        if (isForeign(message))
            return refuse(complaint(403, "only for pages and programs of this machine"));
        try {
            const Request request = requestOf(message);
            if (websocket::is_upgrade(message) && upgrade(request, message))
                return;
            m_shared.service.handle(request, std::make_shared<OneExchange>(weak_from_this(), m_request));
        } catch (const std::exception&) {
            answer(m_request, complaint(500, "a fault of the program's own"));
        }
        read();
    }

    void write(const Reply& reply, bool keepAlive)
    {
        m_state = State::Writing;
        m_keepAlive = keepAlive;
        m_response = textOf(reply, keepAlive);
        closeAfter(REQUEST_TIME);
        asio::async_write(socket(), asio::buffer(m_response),
                          Done([self = shared_from_this()](error_code error, std::size_t) {
                              if (error)
                                  self->close();
                              else if (self->m_keepAlive)
                                  self->awaitRequest(QUIET_TIME);
                              else
                                  self->end();
                          }));
    }

    void refuse(const Reply& reply) { write(reply, false); }

    /// Closing while something is unread would take the answer away from the client.
    void end()
    {
        error_code ignored;
        m_state = State::Ending;
        socket().shutdown(TcpSocket::shutdown_send, ignored);
        closeAfter(ENDING_TIME);
        read();
    }

    void endAfter(std::size_t bytes)
    {
        m_unread += bytes;
        if (m_unread < MOST_UNREAD)
            read();
        else
            close();
    }

    // ---- The WebSocket ----

    /// False if it isn't one, and is a request like any other.
    bool upgrade(const Request& request, const http::request<http::string_body>& message)
    {
        // Behind other requests the answer might block, and nothing may come before it.
        if (m_request != 1 || m_incoming.size() > 0)
            return false;
        const auto openSocket = std::make_shared<OpenSocket>(weak_from_this());
        m_listener = m_shared.service.open(request, openSocket);
        if (!m_listener)
            return false;
        error_code error;
        const auto silence = m_listener->staysWhenSilent() ? websocket::stream_base::none() : SILENCE;
        m_stream.set_option(websocket::stream_base::timeout{REQUEST_TIME, silence, true});
        m_stream.read_message_max(MOST_MESSAGE);
        m_stream.accept(message, error);
        if (error) {
            close();
            return true;
        }
        m_state = State::WebSocket;
        receive();
        return true;
    }

    void receive()
    {
        m_stream.async_read(m_incoming, Done([self = shared_from_this()](error_code error, std::size_t) {
                                self->received(error);
                            }));
    }

    void received(const error_code& error)
    {
        if (error || m_state != State::WebSocket)
            return close();
        std::string message(static_cast<const char*>(m_incoming.data().data()), m_incoming.size());
        m_incoming.consume(m_incoming.size());
        try {
            m_listener->received(std::move(message));
        } catch (const std::exception&) {
            return close();
        }
        receive();
    }

    void sendAll()
    {
        std::vector<Outgoing> messages;
        {
            const std::lock_guard lock(m_mutex);
            messages.swap(m_toSend);
        }
        if (m_state != State::WebSocket)
            return;
        const bool isIdle = m_outgoing.empty();
        for (Outgoing& outgoing : messages) {
            m_unsent += outgoing.message.size();
            m_outgoing.push_back(std::move(outgoing));
        }
        if (m_unsent > MOST_UNSENT)
            close();
        else if (isIdle && !m_outgoing.empty())
            sendNext();
    }

    void sendNext()
    {
        m_stream.binary(m_outgoing.front().payload == Payload::Binary);
        m_stream.async_write(
            asio::buffer(m_outgoing.front().message),
            Done([self = shared_from_this()](error_code error, std::size_t) { self->sent(error); }));
    }

    void sent(const error_code& error)
    {
        if (error || m_state != State::WebSocket)
            return close();
        m_unsent -= m_outgoing.front().message.size();
        m_outgoing.pop_front();
        if (!m_outgoing.empty())
            sendNext();
        else if (m_closing)
            close();
    }

    Shared& m_shared;
    WebSocketStream m_stream;
    Timer m_timer;
    State m_state = State::Requested;

    std::array<char, 8192> m_chunk{};
    boost::beast::flat_buffer m_incoming;
    std::optional<Parser> m_parser;
    std::string m_response;
    bool m_reading = false;
    bool m_keepAlive = false;
    std::size_t m_unread = 0;
    int m_request = 0;
    std::function<void()> m_whenGone;

    std::unique_ptr<Listener> m_listener;
    std::mutex m_mutex; // guards the next one alone
    std::vector<Outgoing> m_toSend;
    std::deque<Outgoing> m_outgoing;
    std::size_t m_unsent = 0;
    bool m_closing = false;
};

} // namespace web
