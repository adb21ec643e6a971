// HTTP requests, their bodies, WebSockets and a till's link, as bytes that come over a connection to the
// running machine, which is as new for each input.
#include "fuzz/bytes.h"
#include "simulator/machine_service.h"
#include "web/asio.h"

#include <array>
#include <chrono>
#include <memory>
#include <thread>

namespace {

/// Served until the process ends.
class Running {
public:
    Running()
    {
        std::thread([this] { m_server.run(); }).detach();
    }

    void connect(std::string_view bytes)
    {
        fuzz::require(
            m_machine.control("reset", "{\"settings\":{\"answerDelay\":0,\"payOutTime\":1}}").status == 200);
        web::asio::io_context context;
        web::TcpSocket socket(context.get_executor());
        web::error_code error;
        // Ports of connections that have ended stay taken for a while.
        for (int tries = 0; socket.connect(web::loopback(m_server.port()), error); ++tries) {
            fuzz::require(tries < 1200);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            socket.close(error);
        }
        web::asio::write(socket, web::asio::buffer(bytes), error);
        socket.shutdown(web::TcpSocket::shutdown_send, error);
        std::array<char, 4096> answer{};
        while (!error)
            socket.read_some(web::asio::buffer(answer), error);
        fuzz::require(!m_machine.state().empty());
    }

private:
    simulator::Machine m_machine{simulator::Settings()};
    simulator::MachineService m_service{m_machine};
    web::Server m_server{0, m_service};
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Running& machine = *new Running;
    machine.connect(fuzz::Bytes(data, size).rest());
    return 0;
}
