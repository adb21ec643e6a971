// From loaded to ready for a login, and back.
#include "logic/ctllogics.h"

#include "device/ostrivane.h"
#include "diag/language.h"
#include "diag/log.h"
#include "events/decoder.h"
#include "events/event_slots.h"
#include "logic/operation.h"
#include "platform/modules.h"
#include "text/compose.h"
#include "text/tagged_text.h"

namespace {

constexpr const char* SEPARATOR = "==============================================================";

void logApiNote(std::string_view text)
{
    logLine(text, LOG_NOTE, LOG_FILE_API);
}

void logLibraryFacts()
{
    const std::string version = platform::ownModuleVersion(LIBRARY_FILE_NAME);
    logNote(SEPARATOR);
    logNote(pieces("Library Name: ", LIBRARY_FILE_NAME));
    logNote(pieces("Library Name: ", LIBRARY_FILE_NAME)); // twice, as log readers know it
    logNote(pieces("Library Path: ", getRuntimePath()));
    logNote(pieces("Library Version: ", version.empty() ? "No version Info" : version));
    logNote("Windows x64 (64 bit)"); // on every system
    logNote(SEPARATOR);
    logNote(pieces("tllang.ini Path: ", TLLangSupport::getLangFilePath()));
}

} // namespace

CTLLogics::CTLLogics()
{
    logApiNote(SEPARATOR);
    logApiNote("C API Loaded");
    logApiNote(SEPARATOR);
    logNote("Session Starting");
    logNote(SEPARATOR);
    logNote("CTLLogics::CTLLogics");
    logNote(SEPARATOR);
    g_nCallbackDepth = 0;
    g_TLState = STATE_UNINITIATED;
    g_nLastCommand = 0;
}

CTLLogics::~CTLLogics()
{
    expectUnload();
    logNote(SEPARATOR);
    logNote("CTLLogics::~CTLLogics");
    logNote(SEPARATOR);
    logNote("Session Ending");
    logApiNote(SEPARATOR);
    logApiNote("C API Unloaded");
    logApiNote(SEPARATOR);
    if (m_bInitiated) {
        logDebug("CTLLogics::~CTLLogics: Calling exitCom.");
        std::string message;
        try {
            exit(message);
        } catch (...) {
            // No memory: the unloading goes on without it.
        }
        logDebug(pieces("CTLLogics::~CTLLogics: exitCom ans=", message));
        g_TLState = STATE_UNINITIATED;
    }
    g_nLastCommand = 0;
    g_nCallbackDepth = 0;
}

std::int16_t CTLLogics::init(const std::string& portSettings, const std::string& initSettings,
                             std::string& message)
{
    Operation op(*this, "init", message);
    op.enter("CTLLogics::init called");
    if (m_bInitiated)
        return op.refuse(TL_STATUS_ERROR, "Already initiated", "Already initiated");

    logLibraryFacts();
    getIniFileSettings();
    logNote(pieces("CTLLogics::init, supplied parameter portSettings: ", portSettings));
    logNote(pieces("CTLLogics::init, supplied parameter initSettings: ", initSettings));
    if (!initSettings.empty())
        changeSettings(initSettings, DURATION_PERMANENT, message);

    const bool hasCashLevel = g_fnCashLevelEvent != nullptr || g_fnLevelWarningEvent != nullptr;
    if (g_hwndMessageTo.isSet()) {
        if (g_fnStatusEvent != nullptr || hasCashLevel || g_fnErrorEvent != nullptr)
            return op.refuse(TL_STATUS_ERROR, "Both event and callback defined",
                             "Both event and callback defined");
    } else if (g_fnStatusEvent == nullptr || !hasCashLevel || g_fnErrorEvent == nullptr) {
        return op.refuse(TL_STATUS_ERROR, "No Event or callback defined", "No Events defined");
    }

    if (const std::int16_t result = initialize(portSettings, message); result != TL_STATUS_OK)
        return op.failed("CTLLogics::initialize", result);
    m_bInitiated = true;
    g_TLState = STATE_LOGGED_OUT;
    return op.done();
}

void CTLLogics::getIniFileSettings()
{
    m_settings.readFile(findSettingsFile());
}

std::int16_t CTLLogics::initialize(const std::string& portSettings, std::string& message)
{
    Operation op(*this, "initialize", message);
    std::string errorText;
    const std::string portName = getSettingsTag("Name:", portSettings, errorText);
    const std::string ipName = portName.substr(0, portName.find(':'));
    logNote(pieces("CTLLogics::initialize: strPortSettings: ", portSettings));
    logNote(pieces("CTLLogics::initialize: PortName: ", portName));
    logNote(pieces("CTLLogics::initialize: IPName: ", ipName));
    if (portName == SETTINGS_TAG_INVALID)
        return op.refuse(TL_STATUS_ERROR, "Invalid portname", "Invalid portname");

    const char* const port = portName.empty() ? nullptr : portName.c_str();
    if (const std::int16_t result = g_ostrivane.initialize(callbackfunc, port, message);
        result != TL_STATUS_OK) {
        op.error("COstrivane::initialize failed");
        op.error(pieces("COstrivane::initialize return code: ", result, ", message: ", message));
        return result;
    }
    op.done();
    op.info("Returning TL_STATUS_OK.");
    setLogSubfolder(ipName);
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::exit(std::string& message)
{
    Operation op(*this, "exit", message);
    op.enter("CTLLogics::exit()");
    if (!m_bInitiated)
        return op.refuse(TL_STATUS_ERROR, "Already de-initiated", "Already de-initiated");

    logDebug("CTLLogics::exit(): Calling the exit function which will uninitiate the underlying "
             "communication layer.");
    if (const std::int16_t result = g_ostrivane.exit(message); result != TL_STATUS_OK)
        return op.failed("Exit", result);

    op.info("Clearing callback functions.");
    g_fnStatusEvent = nullptr;
    g_fnErrorEvent = nullptr;
    g_fnCashLevelEvent = nullptr;
    g_fnLevelWarningEvent = nullptr;
    g_fnInformationEvent = nullptr;
    g_fnCashSessionEvent = nullptr;
    g_sLastDeviceMessage.clear();
    g_nApiVersionKind = 0;
    g_bCommandMade = true;
    g_nLastCallbackMode = MODE_CONSUMED;
    g_nLastCallbackStatus = DEVICE_UNHEARD;
    g_hwndMessageTo.set(nullptr);
    m_bInitiated = false;
    g_TLState = STATE_UNINITIATED;
    op.done();
    op.info("Returning ok");
    return TL_STATUS_OK;
}
