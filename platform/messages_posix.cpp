#include "platform/messages.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

namespace platform {

namespace {

struct Record {
    std::uint32_t message;
    std::uint32_t reserved;
    std::uint64_t wParam;
    std::int64_t lParam;
};
static_assert(sizeof(Record) == 24);

// In alphabetical order; a message's number is its place. Applications may have the numbers
// compiled in: a new name would have to go last.
constexpr const char* MESSAGE_NAMES[] = {
    "WM_TL_CALLBACK_CASHLEVEL",   "WM_TL_CALLBACK_CASHSESSION", "WM_TL_CALLBACK_ERROR",
    "WM_TL_CALLBACK_INFORMATION", "WM_TL_CALLBACK_STATUS",
};
constexpr std::uint32_t FIRST_MESSAGE = 0xC000;

} // namespace

std::uint32_t registerWindowMessage(const char* name)
{
    std::uint32_t number = FIRST_MESSAGE;
    for (const char* known : MESSAGE_NAMES) {
        if (std::strcmp(known, name) == 0)
            return number;
        ++number;
    }
    return 0;
}

Window::Window(void* handle)
    : m_handle(fcntl(static_cast<int>(reinterpret_cast<std::intptr_t>(handle)), F_DUPFD_CLOEXEC, 0))
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
