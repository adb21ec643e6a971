// Where events go: the application's callbacks, or its window.
#pragma once

#include "api/tllogics.h"
#include "platform/messages.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

/// The window that the application registered, if any.
class RegisteredWindow {
public:
    void set(TLWindowHandle handle)
    {
        auto window = handle == nullptr ? nullptr : std::make_shared<const platform::Window>(handle);
        const std::lock_guard lock(m_lock);
        m_window.swap(window);
        m_bSet = m_window != nullptr;
    }

    /// Null if there is none. It stays what it is while somebody posts to it, though the registration ends.
    std::shared_ptr<const platform::Window> get() const
    {
        if (!m_bSet) // most tills have none, and need no lock to know it
            return nullptr;
        const std::lock_guard lock(m_lock);
        return m_window;
    }

    bool isSet() const { return m_bSet; }

private:
    mutable std::mutex m_lock;
    std::atomic<bool> m_bSet{false};
    std::shared_ptr<const platform::Window> m_window;
};

// Filled by registration, emptied by exit.
inline constinit std::atomic<TLStatusEvent> g_fnStatusEvent{nullptr};
inline constinit std::atomic<TLErrorEvent> g_fnErrorEvent{nullptr};
inline constinit std::atomic<TLCashLevelEvent> g_fnCashLevelEvent{nullptr};
inline constinit std::atomic<TLLevelWarningEvent> g_fnLevelWarningEvent{nullptr};
inline constinit std::atomic<TLInformationEvent> g_fnInformationEvent{nullptr};
inline constinit std::atomic<TLCashSessionEvent> g_fnCashSessionEvent{nullptr};
extern RegisteredWindow g_hwndMessageTo; // built in process_objects.cpp

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
