// What the device's messages write and the operations poll. All of it is process-wide and shared by two
// threads: the application's, which runs the operations, and the communication library's, which runs the
// decoder. process_objects.cpp has the objects that need building.
#pragma once

#include "api/tllogics.h"
#include "text/shared_text.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// State of the logic, g_TLState.
enum TLState : std::int32_t {
    STATE_UNINITIATED = 0,
    STATE_LOGGED_OUT = 1,
    STATE_PAYIN_ENABLED = 2,
    STATE_PAYIN_DISABLED = 3,
    STATE_CASH_DEPOSITED = 4
};

/// The state's name in log lines.
const char* stateName(std::int32_t state);

/// Status digit of a device message.
enum DeviceStatus : std::int32_t {
    DEVICE_UNHEARD = -1, // nothing came since the link was opened
    DEVICE_READY = 0,
    DEVICE_BUSY = 1,
    DEVICE_ERROR = 2,
    DEVICE_READY_PAYIN_DISABLED = 3
};

/// Mode digit of a device message.
enum DeviceMode : std::int32_t {
    MODE_CONSUMED = -1, // nothing came, or a wait has taken it
    MODE_CLOSED = 0,
    MODE_OPEN = 1,
    MODE_NOT_OPENED = 2, // the device refuses a login
    MODE_ADMINISTRATION = 3
};

/// Version kind 1, devices of the newer kind. They have the long forms: they take the login text whole, and
/// their messages have a kind and a code before the text. They also take some commands despite an error.
constexpr std::int32_t API_VERSION_KIND_LONG = 1;

/// m_nCommandLevel of a device with the extended command set.
constexpr std::int32_t EXTENDED_COMMAND_SET = 3;

/// The most that eight digits hold.
constexpr std::int32_t MAX_AMOUNT = 99999999;

/// Name of the last device message. A name counts as there only once its message's fields are written,
/// so that a wait that sees the name sees the fields too.
class LastCallbackType {
public:
    /// Stores the name of a message whose fields are about to be written.
    void begin(std::string_view name) { store(name, false); }

    /// The fields are written.
    void publish()
    {
        const std::lock_guard lock(m_lock);
        m_bPublished = true;
    }

    void set(std::string_view name) { store(name, true); }
    void clear() { store("", true); }

    /// True if this is the name, which is empty then.
    bool take(const std::string& name)
    {
        const std::lock_guard lock(m_lock);
        if (!m_bPublished || m_name != name)
            return false;
        m_name.clear();
        return true;
    }

private:
    void store(std::string_view name, bool published)
    {
        const std::lock_guard lock(m_lock);
        m_name = name;
        m_bPublished = published;
    }

    std::mutex m_lock;
    std::string m_name;
    bool m_bPublished = true;
};

/// The last cash count that was read.
struct CashCountResult {
    std::mutex lock;
    std::vector<CashCountRecord> coins;
    std::vector<CashCountRecord> notes;
};

inline constinit std::atomic<std::int32_t> g_TLState{STATE_UNINITIATED};
inline constinit std::atomic<std::int32_t> g_nLastCallbackStatus{DEVICE_UNHEARD};
inline constinit std::atomic<std::int32_t> g_nLastCallbackMode{MODE_CONSUMED};
extern LastCallbackType g_sLastCallbackType;
extern SharedText g_sLastDeviceMessage; // operations empty it, so that the first answer is a change
/// Names the last command sent, see command_names.h.
inline constinit std::atomic<char> g_nLastCommand{0};
/// The next status event is logged, repeated or not.
inline constinit std::atomic<bool> g_bCommandMade{true};
/// Open for cash, as the device's last message says.
inline constinit std::atomic<bool> g_bDeviceOpen{false};
/// As the exports see it.
inline constinit std::atomic<bool> g_bInitiated{false};
/// First digit of the device's "v" answer.
inline constinit std::atomic<std::int32_t> g_nApiVersionKind{0};
extern SharedText g_sApiVersion;
extern SharedText g_sMasterVersion;
extern SharedText g_sSupportedCommands;
/// Application callbacks in progress.
inline constinit std::atomic<std::int32_t> g_nCallbackDepth{0};

/// By the device's last message.
inline constinit std::atomic<std::int32_t> g_nAmountPaidIn{0};
/// What the device can't make up of the amount asked.
inline constinit std::atomic<std::int32_t> g_nAskPayoutRest{0};
inline constinit std::atomic<std::int32_t> g_nAskPayoutAmount{0};
/// An ask succeeded and no pay-out has used it up.
inline constinit std::atomic<bool> g_bAskPayoutDone{false};
/// Status messages raise no event meanwhile.
inline constinit std::atomic<bool> g_bSendingPayCommand{false};

extern SharedText g_sCountParts; // parts of a cash count so far
extern SharedText g_sEParts;     // parts of an administration answer so far, joined with "|"
extern CashCountResult g_cashCountResult;

inline bool deviceHasLongForms()
{
    return g_nApiVersionKind == API_VERSION_KIND_LONG;
}
