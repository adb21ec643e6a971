// Messages to the window, or on POSIX the socket, that an application registered for events.
#pragma once

#include <cstdint>

namespace platform {

/// The number of a registered message: by its name and system-wide on Windows, "fixedNumber" elsewhere.
std::uint32_t registerWindowMessage(const char* name, std::uint32_t fixedNumber);

/// Where an application wants its messages. POSIX: the handle is a socket's descriptor, of which a duplicate
/// is kept, so that nobody else's file gets the messages once the application has closed its own. What can't
/// be duplicated gets none.
class Window {
public:
    explicit Window(void* handle);
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window();

    /// Posts without waiting. Windows: PostMessage. POSIX: one 24-byte record {uint32 message; uint32
    /// reserved; uint64 wParam; int64 lParam}. A post that can't be delivered is lost.
    void post(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const;

private:
    std::intptr_t m_handle;
};

} // namespace platform
