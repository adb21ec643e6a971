#include "platform/messages.h"

#include <windows.h>

namespace platform {

std::uint32_t registerWindowMessage(const char* name)
{
    return RegisterWindowMessageA(name);
}

void postWindowMessage(void* window, std::uint32_t message, std::uint64_t wParam, std::int64_t lParam)
{
    PostMessageA(static_cast<HWND>(window), message, static_cast<WPARAM>(wParam),
                 static_cast<LPARAM>(lParam));
}

} // namespace platform
