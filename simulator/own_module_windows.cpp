#include "simulator/own_module.h"

#include <windows.h>

namespace simulator {

void keepOwnModuleLoaded()
{
    HMODULE module = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&keepOwnModuleLoaded), &module);
}

bool otherThreadsAreGone()
{
    using Query = BOOLEAN(WINAPI*)();
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "RtlDllShutdownInProgress")));
    return query && query() != 0;
}

} // namespace simulator
