// Messages to the window, or on POSIX the socket, that an application registered for events.
#pragma once

#include <cstdint>

namespace platform {

/// The number of a registered message: system-wide on Windows, fixed from 0xC000 on elsewhere. 0 if
/// there is none.
std::uint32_t registerWindowMessage(const char* name);

/// Posts without waiting. Windows: PostMessage to the window. POSIX: "window" is a socket descriptor
/// and the post is one 24-byte record {uint32 message; uint32 reserved; uint64 wParam; int64 lParam}.
/// A post that can't be delivered is lost.
void postWindowMessage(void* window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam);

} // namespace platform
