// All process-wide objects of the library, in one place because their order counts: they are built from top
// to bottom as the library is loaded and destroyed from bottom to top as it is unloaded. The log and the
// language come first, since everything writes and translates to the very end; the logic comes last, since
// its first line opens the log and its last ones still need the link to the device.
#include "config/settings.h"
#include "device/ostrivane.h"
#include "diag/language.h"
#include "diag/log.h"
#include "events/event_slots.h"
#include "events/queues.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"
#include "platform/messages.h"

// Log and language
std::mutex g_logLock;
std::atomic<bool> g_bUnloading{false};
std::string g_sLogSubfolder;
std::unique_ptr<CLogFiles> g_pLogFiles;
std::atomic<bool> g_bLogCRToCAPI{true};
std::atomic<bool> g_bLogCAPIToCR{true};
std::atomic<bool> g_bLogComToCAPI{true};
std::atomic<bool> g_bLogCAPIToCom{true};
std::atomic<bool> g_bLogDebug{true};
std::mutex g_langLock;
std::unique_ptr<CIniFile> g_pLangFile;

// Copies of settings, as they are until the settings file is read
std::atomic<std::int32_t> g_nCurrencyDecimals{2};
std::atomic<std::int32_t> g_nLegacySystem{0};
std::atomic<std::int32_t> g_nAutoDisable{0};
std::atomic<std::int32_t> g_nForwardCallbackChangeOnly{1};
SharedText g_strLevelWarningFilter;
std::atomic<std::int32_t> g_nLoggEveryCallback{0};
std::atomic<std::int32_t> g_nLoggSendEvents{1};

// What the device says, and what the operations note of it
std::atomic<std::int32_t> g_TLState{STATE_UNINITIATED};
std::atomic<std::int32_t> g_nLastCallbackStatus{DEVICE_UNHEARD};
std::atomic<std::int32_t> g_nLastCallbackMode{MODE_CONSUMED};
LastCallbackType g_sLastCallbackType;
SharedText g_sLastDeviceMessage;
std::atomic<char> g_nLastCommand{0};
std::atomic<bool> g_bCommandMade{true};
std::atomic<bool> g_bDeviceOpen{false};
std::atomic<bool> g_bInitiated{false};
std::atomic<std::int32_t> g_nApiVersionKind{0};
SharedText g_sApiVersion;
SharedText g_sMasterVersion;
SharedText g_sSupportedCommands;
std::atomic<std::int32_t> g_nCallbackDepth{0};
std::atomic<std::int32_t> g_nAmountPaidIn{0};
std::atomic<std::int32_t> g_nAskPayoutRest{0};
std::atomic<std::int32_t> g_nAskPayoutAmount{0};
std::atomic<bool> g_bAskPayoutDone{false};
std::atomic<bool> g_bSendingPayCommand{false};
SharedText g_sCountParts;
SharedText g_sEParts;
CashCountResult g_cashCountResult;

// Events
std::atomic<TLStatusEvent> g_fnStatusEvent{nullptr};
std::atomic<TLErrorEvent> g_fnErrorEvent{nullptr};
std::atomic<TLCashLevelEvent> g_fnCashLevelEvent{nullptr};
std::atomic<TLLevelWarningEvent> g_fnLevelWarningEvent{nullptr};
std::atomic<TLInformationEvent> g_fnInformationEvent{nullptr};
std::atomic<TLCashSessionEvent> g_fnCashSessionEvent{nullptr};
std::atomic<TLWindowHandle> g_hwndMessageTo{nullptr};
const WindowMessages g_windowMessages{
    platform::registerWindowMessage(TL_MESSAGE_NAME_CASHLEVEL),
    platform::registerWindowMessage(TL_MESSAGE_NAME_CASHSESSION),
    platform::registerWindowMessage(TL_MESSAGE_NAME_ERROR),
    platform::registerWindowMessage(TL_MESSAGE_NAME_INFORMATION),
    platform::registerWindowMessage(TL_MESSAGE_NAME_STATUS),
};
std::atomic<std::int32_t> g_nLastEventAmount{-1};
std::atomic<std::int32_t> g_nLastEventStatus{-1};
std::atomic<std::int32_t> g_nLastEventMode{-1};
EventQueue errorQueue("ctllogics.pushToErrorQueue: Error: Max number of errors pushed to queue",
                      "ctllogics.pushToErrorQueue: Empty error text (dont save)",
                      "retrieveFromErrorQueue: Queue is empty");
EventQueue
    cashLevelWarningsQueue("pushToCashLevelWarningsQueue: Error: Max number of warnings pushed to queue",
                           "pushToCashLevelWarningsQueue: Empty warning text (dont save)",
                           "retrieveFromCashLevelWarningsQueue: Queue is empty");
EventQueue cashSessionQueue("pushToCashSessionQueue: Error: Max number of sessions pushed to queue",
                            "pushToCashSessionQueue: Empty session text (don't save)",
                            "retrieveFromCashSessionQueue: Queue is empty");
EventQueue informationQueue("pushToInformationQueue: Error: Max number of sessions pushed to queue",
                            "pushToInformationQueue: Empty session text (don't save)",
                            ""); // nobody fetches

// Device and logic
InitiateFunction fp_tl_initiate = nullptr;
DiniFunction fp_tl_dini = nullptr;
CommandFunction fp_tl_002 = nullptr;
LoggedOutFunction fp_tl_loggedout = nullptr;
COstrivane g_ostrivane;
CTLLogics g_logic;
