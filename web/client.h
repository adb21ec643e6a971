// The other side of the server: requests to a program of this machine, and a WebSocket to it that comes back
// by itself.
#pragma once

#include "web/server.h"

#include <chrono>
#include <optional>

namespace web {

/// Sends a request and waits for its answer. Empty if nobody answers in time. The port is one of 127.0.0.1.
std::optional<Reply> ask(std::uint16_t port, const Request& request, std::chrono::milliseconds time);

/// A WebSocket on a thread of its own. When it is lost it is opened again and again until it is stopped.
class SocketClient {
public:
    struct Events {
        std::function<void(std::string message)> received;
        std::function<void()> lost; // or could not be opened; it will be tried again soon
    };

    /// "path" is asked for the path at each opening. All functions are called on the client's thread. Throws
    /// std::system_error if there is no thread to be had.
    SocketClient(std::uint16_t port, std::function<std::string()> path, Events events);

    /// As stop. What runs on the client's thread is not waited for.
    ~SocketClient();

    /// From any thread. What is sent while it is not open is lost.
    void send(std::string message);

    /// Opens it anew.
    void drop();

private:
    class Connecting;
    std::shared_ptr<Connecting> m_connecting;
};

} // namespace web
