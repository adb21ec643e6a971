// Fetching of the texts whose events went to a window.
#include "logic/ctllogics.h"

#include "diag/log.h"
#include "events/level_texts.h"
#include "events/queues.h"

std::int16_t CTLLogics::getErrorInfo(std::string& errorText, std::string& extInfo)
{
    retrieveFromErrorQueue(errorText);
    extInfo = "ErrorInfo Not set";
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::getCashLevelInfo(std::string& extInfo)
{
    logLine("CTLLogics::getCashLevelInfo() starting", LOG_APP_IN, LOG_FILE_LOGIC);
    retrieveFromCashLevelWarningsQueue(extInfo);
    logDebug("CTLLogics::getCashLevelInfo() returning ok");
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::getCashSessionInfo(std::string& extInfo)
{
    retrieveFromCashSessionQueue(extInfo);
    return TL_STATUS_OK;
}

std::int16_t CTLLogics::getLevelWarningInfo(std::int32_t& warningType, std::string& typeString,
                                            std::string& denominationString, std::string& warningMessage,
                                            std::string& extInfo)
{
    logLine("CTLLogics::getLevelWarningInfo() starting", LOG_APP_IN, LOG_FILE_LOGIC);
    retrieveFromCashLevelWarningsQueue(extInfo);
    // Without a code: a window sees the plain word where a callback saw the code's own.
    CashLevel level;
    level.warningType = warningType;
    getCashLevels(extInfo, level, 0);
    warningType = level.warningType;
    typeString = level.typeString;
    denominationString = level.denominationString;
    warningMessage = level.warningMessage;
    logDebug("CTLLogics::getLevelWarningInfo() returning ok");
    return TL_STATUS_OK;
}
