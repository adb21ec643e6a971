// Where events go: the application's callbacks, or its window.
#pragma once

#include "api/tllogics.h"

#include <atomic>
#include <cstdint>

// Filled by registration, emptied by exit. See process_objects.cpp.
extern std::atomic<TLStatusEvent> g_fnStatusEvent;
extern std::atomic<TLErrorEvent> g_fnErrorEvent;
extern std::atomic<TLCashLevelEvent> g_fnCashLevelEvent;
extern std::atomic<TLLevelWarningEvent> g_fnLevelWarningEvent;
extern std::atomic<TLInformationEvent> g_fnInformationEvent;
extern std::atomic<TLCashSessionEvent> g_fnCashSessionEvent;
extern std::atomic<TLWindowHandle> g_hwndMessageTo; // null: none

/// Numbers of the registered messages, the same for the life of the process.
struct WindowMessages {
    std::uint32_t cashLevel;
    std::uint32_t cashSession;
    std::uint32_t error;
    std::uint32_t information;
    std::uint32_t status;
};
extern const WindowMessages g_windowMessages;

// The status event last logged; -1 after any other event.
extern std::atomic<std::int32_t> g_nLastEventAmount;
extern std::atomic<std::int32_t> g_nLastEventStatus;
extern std::atomic<std::int32_t> g_nLastEventMode;
