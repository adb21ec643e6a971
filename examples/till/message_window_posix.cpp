#include "examples/till/message_window.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace {

/// What the library sends for one event.
struct Record {
    std::uint32_t message;
    std::uint32_t reserved;
    std::uint64_t wParam;
    std::int64_t lParam;
};
static_assert(sizeof(Record) == 24);

std::optional<EventKind> kindOf(std::uint32_t message)
{
    switch (message) {
    case TL_MESSAGE_STATUS:
        return EventKind::Status;
    case TL_MESSAGE_ERROR:
        return EventKind::Error;
    case TL_MESSAGE_CASHLEVEL:
        return EventKind::CashLevel;
    case TL_MESSAGE_CASHSESSION:
        return EventKind::CashSession;
    case TL_MESSAGE_INFORMATION:
        return EventKind::Information;
    default:
        return std::nullopt;
    }
}

} // namespace

struct MessageWindow::System {
    int ends[2]; // the till's and the library's; sequenced packets keep records whole
};

MessageWindow::MessageWindow() : m_system(std::make_unique<System>())
{
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, m_system->ends) != 0)
        throw std::runtime_error("no socket for events");
}

MessageWindow::~MessageWindow()
{
    for (const int end : m_system->ends)
        close(end);
}

TLWindowHandle MessageWindow::handle() const
{
    return reinterpret_cast<TLWindowHandle>(static_cast<std::intptr_t>(m_system->ends[1]));
}

std::optional<EventMessage> MessageWindow::next(int milliseconds)
{
    pollfd waiting{m_system->ends[0], POLLIN, 0};
    Record record{};
    if (poll(&waiting, 1, milliseconds) != 1 ||
        recv(m_system->ends[0], &record, sizeof(record), 0) != static_cast<ssize_t>(sizeof(record)))
        return std::nullopt;
    const std::optional<EventKind> kind = kindOf(record.message);
    if (!kind)
        return std::nullopt;
    return EventMessage{*kind, record.wParam, record.lParam};
}
