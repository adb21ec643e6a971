// Exports that fetch the texts of events which came as window messages. They have no message: what fails
// shows in the status and the log.
#include "api/frame.h"

#include "logic/ctllogics.h"

namespace {

using FetchText = std::int16_t (CTLLogics::*)(std::string& extInfo);

std::int16_t fetchCall(const char* name, FetchText fetch, char* extInfo)
{
    std::string fetched;
    const auto told = [&](const std::string&) { return compose("extInfo=", fetched); };
    return Call(name, pieces(name, "(extInfo) called from ActiveX API"))
        .requiredByLog("extInfo parameter is null", extInfo)
        .initiated()
        .run(
            [&](std::string&) {
                const std::int16_t result = (g_logic.*fetch)(fetched);
                handOut(fetched, extInfo);
                return result;
            },
            told, told);
}

} // namespace

std::int16_t getCashLevelInfoTL(char* extInfo)
{
    return fetchCall("getCashLevelInfoTL", &CTLLogics::getCashLevelInfo, extInfo);
}

std::int16_t getCashSessionInfoTL(char* extInfo)
{
    return fetchCall("getCashSessionInfoTL", &CTLLogics::getCashSessionInfo, extInfo);
}

std::int16_t getErrorInfoTL(char* errorText, char* extInfo)
{
    std::string error;
    std::string info;
    const auto told = [&](const std::string&) { return compose("errorText=", error, ": extInfo=", info); };
    return Call("getErrorInfoTL", "getErrorInfoTL(errorText, extInfo) called from ActiveX API")
        .requiredByLog("errorText parameter is null", errorText)
        .requiredByLog("extInfo parameter is null", extInfo)
        .initiated()
        .run(
            [&](std::string&) {
                const std::int16_t result = g_logic.getErrorInfo(error, info);
                handOut(error, errorText);
                handOut(info, extInfo);
                return result;
            },
            told, told);
}

std::int16_t getLevelWarningInfoTL(std::int32_t* warningType, char* chTypeString, char* chDenominationString,
                                   char* chWarningMessage, char* extInfo)
{
    // It is the value that must not be 0; a null pointer counts as one.
    const bool hasWarningType = warningType != nullptr && *warningType != 0;
    std::string type;
    std::string denomination;
    std::string warning;
    std::string info;
    return Call("getLevelWarningInfoTL", "getLevelWarningInfoTL(extInfo) called from ActiveX API")
        .requiredByLog("warningType parameter is null", hasWarningType ? warningType : nullptr)
        .requiredByLog("chTypeString parameter is null", chTypeString)
        .requiredByLog("chDenominationString parameter is null", chDenominationString)
        .requiredByLog("chWarningMessage parameter is null", chWarningMessage)
        .requiredByLog("extInfo parameter is null", extInfo)
        .initiated()
        .run(
            [&](std::string&) {
                const std::int16_t result =
                    g_logic.getLevelWarningInfo(*warningType, type, denomination, warning, info);
                handOut(type, chTypeString);
                handOut(denomination, chDenominationString);
                handOut(warning, chWarningMessage);
                handOut(info, extInfo);
                return result;
            },
            [&](const std::string&) { return compose("extInfo=", info); },
            [&](const std::string&) {
                return compose(*warningType, ", ", denomination, ", ", warning, ", extInfo=", info,
                               ", chWarningMessage=", warning);
            });
}
