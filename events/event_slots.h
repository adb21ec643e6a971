// Where events go: the application's callbacks, or its window.
#pragma once

#include "api/tllogics.h"

#include <atomic>
#include <cstdint>

// Filled by registration, emptied by exit.
inline constinit std::atomic<TLStatusEvent> g_fnStatusEvent{nullptr};
inline constinit std::atomic<TLErrorEvent> g_fnErrorEvent{nullptr};
inline constinit std::atomic<TLCashLevelEvent> g_fnCashLevelEvent{nullptr};
inline constinit std::atomic<TLLevelWarningEvent> g_fnLevelWarningEvent{nullptr};
inline constinit std::atomic<TLInformationEvent> g_fnInformationEvent{nullptr};
inline constinit std::atomic<TLCashSessionEvent> g_fnCashSessionEvent{nullptr};
inline constinit std::atomic<TLWindowHandle> g_hwndMessageTo{nullptr}; // null: none

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
inline constinit std::atomic<std::int32_t> g_nLastEventAmount{-1};
inline constinit std::atomic<std::int32_t> g_nLastEventStatus{-1};
inline constinit std::atomic<std::int32_t> g_nLastEventMode{-1};
