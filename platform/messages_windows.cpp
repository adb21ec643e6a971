#include "platform/messages.h"

#include <windows.h>

namespace platform {

std::uint32_t registerWindowMessage(const char* name, std::uint32_t /*fixedNumber*/)
{
    return RegisterWindowMessageA(name);
}

Window::Window(void* handle) : m_handle(reinterpret_cast<std::intptr_t>(handle)) {}

Window::~Window() = default; // it is the application's

void Window::post(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const
{
    PostMessageA(reinterpret_cast<HWND>(m_handle), message, static_cast<WPARAM>(wParam),
                 static_cast<LPARAM>(lParam));
}

} // namespace platform
