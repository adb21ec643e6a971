// Exports that bring the library up and down: registration of events, initTL, exitTL.
#include "api/frame.h"

#include "diag/language.h"
#include "diag/log.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"
#include "text/tagged_text.h"

namespace {

/// What a port type other than RS232 gets: a line of its own, and the outcome.
std::int16_t refusePortType(const std::string& type, const std::string& readerError, std::string& message)
{
    const auto refuse = [&](std::int16_t status, const std::string& line, LanguageKey key) {
        logLine(pieces("initTL: Failed! Returning ", status, line, readerError), LOG_FAILURE, LOG_FILE_API);
        message = lookupText(key);
        return status;
    };
    if (type == "USB")
        return refuse(TL_STATUS_ERROR, " (TL_STATUS_ERROR): Port type not implemented (PORT_TYPE_USB): ",
                      "Port type not implemented");
    if (type != "CAN")
        return refuse(TL_STATUS_INPUT_PARAM_ERROR,
                      compose(" (TL_STATUS_INPUT_PARAM_ERROR): portSettings invalid (", type, ")"),
                      "portSettings invalid");
    return refuse(TL_STATUS_ERROR, " (TL_STATUS_ERROR): Port type not implemented (PORT_TYPE_CAN): ",
                  "Port type not implemented");
}

/// All five registrations: the logic tests the callbacks, in the order in which they are given.
template <typename Method, typename... Callbacks>
std::int16_t registrationCall(const char* name, Method method, char* message, Callbacks... callbacks)
{
    return Call(name, pieces(name, "(", (callbacks != nullptr ? "value, " : "NULL, ")..., "message)"),
                message)
        .run([&](std::string& text) { return (g_logic.*method)(callbacks..., text); });
}

/// What the exports believe follows the logic, also where the memory ends behind its last step.
struct FollowLogic {
    ~FollowLogic() { g_bInitiated = g_logic.isInitiated(); }
};

} // namespace

std::int16_t initTL(const char* portSettings, const char* initSettings, char* message)
{
    const std::string_view givenPort = textOf(portSettings);
    const std::string_view settings = textOf(initSettings);
    Call call("initTL", pieces("initTL(", givenPort, ", ", settings, ", message)"), message);
    if (givenPort.empty())
        call.refuse(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", "portSettings is empty",
                    "portSettings is empty", Refused::Failure);
    if (g_bInitiated)
        call.refuse(TL_STATUS_WARNING, "TL_STATUS_WARNING", "Already initiated", "Already initiated",
                    Refused::Warning);
    return call.run([&](std::string& text) {
        const std::string port(givenPort);
        std::string readerError;
        const std::string type = getSettingsTag("Type:", port, readerError);
        if (type != "RS232")
            return refusePortType(type, readerError, text);
        const FollowLogic atTheEnd;
        return g_logic.init(port, std::string(settings), text);
    });
}

std::int16_t exitTL(char* message)
{
    return Call("exitTL", "exitTL(message)", message).initiated().run([](std::string& text) {
        const FollowLogic atTheEnd;
        return g_logic.exit(text);
    });
}

std::int16_t registerEventsTL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                              TLCashLevelEvent cashLevelEvent, char* message)
{
    return registrationCall("registerEventsTL", &CTLLogics::registerEvents, message, statusEvent, errorEvent,
                            cashLevelEvent);
}

std::int16_t registerEvents2TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                               TLCashLevelEvent cashLevelEvent, TLCashSessionEvent cashSessionEvent,
                               char* message)
{
    return registrationCall("registerEvents2TL", &CTLLogics::registerEvents2, message, statusEvent,
                            errorEvent, cashLevelEvent, cashSessionEvent);
}

std::int16_t registerEvents3TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                               TLLevelWarningEvent levelWarningEvent, TLCashSessionEvent cashSessionEvent,
                               char* message)
{
    return registrationCall("registerEvents3TL", &CTLLogics::registerEvents3, message, statusEvent,
                            errorEvent, levelWarningEvent, cashSessionEvent);
}

std::int16_t registerEvents4TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                               TLLevelWarningEvent levelWarningEvent, TLInformationEvent informationEvent,
                               TLCashSessionEvent cashSessionEvent, char* message)
{
    return registrationCall("registerEvents4TL", &CTLLogics::registerEvents4, message, statusEvent,
                            errorEvent, levelWarningEvent, informationEvent, cashSessionEvent);
}

std::int16_t registerEvents23TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                TLCashLevelEvent cashLevelEvent, TLLevelWarningEvent levelWarningEvent,
                                TLCashSessionEvent cashSessionEvent, char* message)
{
    return registrationCall("registerEvents23TL", &CTLLogics::registerEvents23, message, statusEvent,
                            errorEvent, cashLevelEvent, levelWarningEvent, cashSessionEvent);
}

std::int16_t registerHwndTL(TLWindowHandle hwndMessageTo, char* message)
{
    return Call("registerHwndTL", "registerHwndTL(hwndMessageTo, message) called from ActiveX API", message)
        .run([&](std::string& text) { return g_logic.registerHwnd(hwndMessageTo, text); });
}
