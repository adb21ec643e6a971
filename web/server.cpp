#include "web/server.h"

#include "web/connection.h"
#include "web/listening.h"

#include <boost/asio/signal_set.hpp>

#include <csignal>
#include <stdexcept>

namespace web {

namespace {

constexpr auto PAUSE_AFTER_FAILED_ACCEPT = std::chrono::milliseconds(100);

} // namespace

class Server::Implementation {
public:
    Implementation(std::uint16_t port, Service& service)
        : m_shared(service), m_acceptor(m_shared.context.get_executor()),
          m_signals(m_shared.context.get_executor(), SIGINT, SIGTERM),
          m_pause(m_shared.context.get_executor())
    {
        m_acceptor.open(Tcp::v4());
        if (portsStayTaken())
            m_acceptor.set_option(Acceptor::reuse_address(true));
        m_acceptor.bind(loopback(port));
        m_acceptor.listen();
        accept();
        m_signals.async_wait([this](error_code error, int) {
            if (!error)
                end();
        });
    }

    std::uint16_t port() const { return m_acceptor.local_endpoint().port(); }

    void run() { m_shared.context.run(); }

    void stop()
    {
        asio::post(m_shared.context, [this] { end(); });
    }

private:
    using Acceptor = asio::basic_socket_acceptor<Tcp, Executor>;

    void accept()
    {
        m_acceptor.async_accept([this](error_code error, TcpSocket socket) {
            if (!m_acceptor.is_open())
                return;
            if (error) // such as that there are no more descriptors
                return acceptLater();
            std::make_shared<Connection>(m_shared, std::move(socket))->start();
            accept();
        });
    }

    void acceptLater()
    {
        m_pause.expires_after(PAUSE_AFTER_FAILED_ACCEPT);
        m_pause.async_wait([this](error_code) { accept(); });
    }

    /// All listeners hear of the end, so that nobody sends any more.
    void end()
    {
        error_code ignored;
        m_acceptor.close(ignored);
        const std::set<Connection*> connections = m_shared.connections;
        for (Connection* connection : connections)
            connection->close();
        m_shared.context.stop();
    }

    Shared m_shared;
    Acceptor m_acceptor;
    asio::basic_signal_set<Executor> m_signals;
    Timer m_pause;
};

Server::Server(std::uint16_t port, Service& service)
{
    try {
        m_implementation = std::make_unique<Implementation>(port, service);
    } catch (const std::exception& error) {
        throw std::runtime_error("can't listen on 127.0.0.1:" + std::to_string(port) + ": " + error.what());
    }
}

Server::~Server() = default;

std::uint16_t Server::port() const
{
    return m_implementation->port();
}

void Server::run()
{
    m_implementation->run();
}

void Server::stop()
{
    m_implementation->stop();
}

} // namespace web
