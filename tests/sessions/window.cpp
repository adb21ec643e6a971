// Stands in for the platform's window messages: posts are noted in the transcript.
#include "transcript.h"

#include "platform/messages.h"
#include "text/compose.h"

#include <string>
#include <vector>

namespace {

std::vector<std::string>& names()
{
    static std::vector<std::string> all;
    return all;
}

} // namespace

std::uint32_t platform::registerWindowMessage(const char* name, std::uint32_t /*fixedNumber*/)
{
    names().push_back(name);
    return static_cast<std::uint32_t>(names().size());
}

platform::Window::Window(void* handle) : m_handle(reinterpret_cast<std::intptr_t>(handle)) {}

platform::Window::~Window() = default;

void platform::Window::post(std::uint32_t message, std::uint64_t wParam, std::int64_t lParam) const
{
    transcript().happened("posted", compose(names().at(message - 1), " ", wParam, " ", lParam));
}
