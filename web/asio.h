// What of Boost.Asio both sides use. With the io_context's own executor, and with handlers of one type, a
// source compiles in seconds instead of a minute.
#pragma once

#include <utility> // Asio forgets it

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <chrono>
#include <functional>

namespace web {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

using boost::system::error_code;
using Tcp = asio::ip::tcp;
using Executor = asio::io_context::executor_type;
using TcpSocket = asio::basic_stream_socket<Tcp, Executor>;
using Clock = std::chrono::steady_clock;
using Timer = asio::basic_waitable_timer<Clock, asio::wait_traits<Clock>, Executor>;
using WebSocketStream = websocket::stream<TcpSocket, false>;
using Done = std::function<void(error_code error, std::size_t bytes)>;

inline Tcp::endpoint loopback(std::uint16_t port)
{
    return {asio::ip::address_v4::loopback(), port};
}

} // namespace web
