#include "platform/end_process.h"

#include <cstdlib>

#include <windows.h>

namespace platform {

void endProcess()
{
    // abort() of the C run-time could show a message box and wait.
    constexpr UINT RANGE_FAILURE = 0xC0000409; // STATUS_STACK_BUFFER_OVERRUN
    TerminateProcess(GetCurrentProcess(), RANGE_FAILURE);
    std::abort();
}

} // namespace platform
