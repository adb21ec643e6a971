#include "platform/messages.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform {

namespace {

struct Record {
    std::uint32_t message;
    std::uint32_t reserved;
    std::uint64_t wParam;
    std::int64_t lParam;
};
static_assert(sizeof(Record) == 24);

} // namespace

std::uint32_t registerWindowMessage(const char* /*name*/, std::uint32_t fixedNumber)
{
    return fixedNumber;
}

// Above the standard streams: where those are closed, what the application prints would reach the peer.
Window::Window(void* handle)
    : m_handle(fcntl(static_cast<int>(reinterpret_cast<std::intptr_t>(handle)), F_DUPFD_CLOEXEC,
                     STDERR_FILENO + 1))
{}

Window::~Window()
{
    if (m_handle >= 0)
        close(static_cast<int>(m_handle));
}

void Window::post(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const
{
    const Record record{message, 0, wParam, lParam};
    // Neither a slow reader nor one that has gone may hold up or end the application.
    send(static_cast<int>(m_handle), &record, sizeof record, MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace platform
