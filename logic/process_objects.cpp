// The process-wide objects that are built as the library is loaded and destroyed as it is unloaded, in one
// place because their order counts: from top to bottom, and back from bottom to top. The logic comes last:
// its first line opens the log, and its end may close a session, which takes the link, and with it messages
// and events, texts and queues, the language and, to the very last line, the log. What needs neither (numbers
// and flags, there before any code runs and there to the end) stands in the headers.
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
std::mutex g_logLock; // not every system has a mutex that needs no building
std::string g_sLogSubfolder;
std::unique_ptr<CLogFiles> g_pLogFiles;
std::unique_ptr<CLogFiles> g_pFormerLogFiles;
std::mutex g_langLock;
std::unique_ptr<CIniFile> g_pLangFile;

// The one setting whose copy is a text
SharedText g_strLevelWarningFilter;

// What the device says, and what the operations note of it
LastCallbackType g_sLastCallbackType;
SharedText g_sLastDeviceMessage;
SharedText g_sApiVersion;
SharedText g_sMasterVersion;
SharedText g_sSupportedCommands;
SharedText g_sCountParts;
SharedText g_sEParts;
CashCountResult g_cashCountResult;

// Events
RegisteredWindow g_hwndMessageTo;
const WindowMessages g_windowMessages{
    platform::registerWindowMessage(TL_MESSAGE_NAME_CASHLEVEL, TL_MESSAGE_CASHLEVEL),
    platform::registerWindowMessage(TL_MESSAGE_NAME_CASHSESSION, TL_MESSAGE_CASHSESSION),
    platform::registerWindowMessage(TL_MESSAGE_NAME_ERROR, TL_MESSAGE_ERROR),
    platform::registerWindowMessage(TL_MESSAGE_NAME_INFORMATION, TL_MESSAGE_INFORMATION),
    platform::registerWindowMessage(TL_MESSAGE_NAME_STATUS, TL_MESSAGE_STATUS),
};
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
COstrivane g_ostrivane;
CTLLogics g_logic;
