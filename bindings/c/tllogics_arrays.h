/*
 * Releases the arrays that tllogics hands out, on Linux and on Windows. C99 and C++.
 *
 * They come from the heap of the C run-time that the library uses. On Linux a process has one. On Windows
 * that of tllogics.dll is msvcrt.dll, whatever the application was built with, and a free() of any other
 * run-time may end the process: so it is msvcrt.dll that is asked.
 */
#ifndef TLLOGICS_ARRAYS_H
#define TLLOGICS_ARRAYS_H

#include "tllogics.h"

#ifdef _WIN32

#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* As windows.h declares them, which may come before or after and is not pulled in for two functions. */
struct HINSTANCE__;
__declspec(dllimport) struct HINSTANCE__* __stdcall GetModuleHandleA(const char* name);
__declspec(dllimport) long long(__stdcall* __stdcall GetProcAddress(struct HINSTANCE__* module,
                                                                    const char* name))(void);

#ifdef __cplusplus
}
#endif

/* Null is allowed. */
static inline void tlFreeArray(CashCountRecord* array)
{
    /* Loaded with tllogics.dll, and never unloaded: without it there is no array either. */
    struct HINSTANCE__* const runtime = GetModuleHandleA("msvcrt.dll");
    long long(__stdcall * found)(void) = 0;
    void(__cdecl * release)(void*) = 0;
    if (runtime)
        found = GetProcAddress(runtime, "free");
    memcpy(&release, &found, sizeof release); /* a cast that no compiler warns of, in C and in C++ */
    if (release)
        release(array);
}

#else

#include <stdlib.h>

/* Null is allowed. */
static inline void tlFreeArray(CashCountRecord* array)
{
    free(array);
}

#endif

#endif
