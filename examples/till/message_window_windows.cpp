#include "examples/till/message_window.h"

#include <windows.h>

#include <array>
#include <stdexcept>

namespace {

struct Registered {
    const char* name;
    EventKind kind;
};

constexpr std::array<Registered, 5> MESSAGES{{{TL_MESSAGE_NAME_STATUS, EventKind::Status},
                                              {TL_MESSAGE_NAME_ERROR, EventKind::Error},
                                              {TL_MESSAGE_NAME_CASHLEVEL, EventKind::CashLevel},
                                              {TL_MESSAGE_NAME_CASHSESSION, EventKind::CashSession},
                                              {TL_MESSAGE_NAME_INFORMATION, EventKind::Information}}};

std::optional<EventKind> kindOf(UINT message)
{
    for (const Registered& registered : MESSAGES)
        if (RegisterWindowMessageA(registered.name) == message)
            return registered.kind;
    return std::nullopt;
}

} // namespace

struct MessageWindow::System {
    HWND window;
};

MessageWindow::MessageWindow() : m_system(std::make_unique<System>())
{
    // Never shown: it is there for its messages.
    m_system->window =
        CreateWindowExA(0, "STATIC", "till", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (m_system->window == nullptr)
        throw std::runtime_error("no window for events");
}

MessageWindow::~MessageWindow()
{
    DestroyWindow(m_system->window);
}

TLWindowHandle MessageWindow::handle() const
{
    return m_system->window;
}

std::optional<EventMessage> MessageWindow::next(int milliseconds)
{
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(milliseconds);
    for (ULONGLONG now = GetTickCount64();; now = GetTickCount64()) {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (const auto kind = message.hwnd == m_system->window ? kindOf(message.message) : std::nullopt)
                return EventMessage{*kind, message.wParam, message.lParam};
            DispatchMessageA(&message);
        }
        if (now >= end)
            return std::nullopt;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
    }
}
