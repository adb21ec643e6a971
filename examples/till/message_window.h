// Where the library posts its events to when callbacks aren't wanted: a window on Windows, a socket
// elsewhere.
#pragma once

#include "api/tllogics.h"

#include <cstdint>
#include <memory>
#include <optional>

enum class EventKind { Status, Error, CashLevel, CashSession, Information };

struct EventMessage {
    EventKind kind;
    std::uint64_t wParam;
    std::int64_t lParam;
};

class MessageWindow {
public:
    /// Throws if there can't be one.
    MessageWindow();
    ~MessageWindow();
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    /// What registerHwndTL takes.
    TLWindowHandle handle() const;

    /// The next event, or nothing if none comes for that long. On the thread that made the window.
    std::optional<EventMessage> next(int milliseconds);

private:
    struct System;
    std::unique_ptr<System> m_system;
};
