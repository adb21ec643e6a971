#include "api/frame.h"

#include "diag/language.h"
#include "diag/log.h"
#include "logic/shared_state.h"

#include <cstring>

void handOut(const std::string& text, char* buffer)
{
    if (buffer != nullptr)
        std::strcpy(buffer, text.c_str()); // up to the first NUL, as the application reads it
}

Call::Call(const char* name, const std::string& callText, char* message) : Call(name, callText)
{
    m_pMessage = message;
    requiredByLog("message parameter is null", message);
}

Call::Call(const char* name, const std::string& callText) : m_sName(name), m_pMessage(nullptr)
{
    logLine(callText, LOG_APP_IN, LOG_FILE_API);
}

Call& Call::required(LanguageKey words, const void* pointer)
{
    return pointer != nullptr
               ? *this
               : refuse(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", words.text(), words);
}

Call& Call::requiredByLog(const char* words, const void* pointer)
{
    if (accepted() && pointer == nullptr)
        logRefusal(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", words);
    return *this;
}

Call& Call::initiated(const std::function<std::string()>& clear)
{
    if (!accepted() || g_bInitiated)
        return *this;
    const std::string cleared = clear ? clear() : "";
    return refuse(TL_STATUS_ERROR, "TL_STATUS_ERROR", cleared + "Not initiated", "Not initiated");
}

Call& Call::refuse(std::int16_t status, const char* statusName, const std::string& line, LanguageKey key)
{
    if (!accepted())
        return *this;
    logRefusal(status, statusName, line);
    if (m_pMessage != nullptr)
        handOut(lookupText(key), m_pMessage);
    return *this;
}

void Call::logRefusal(std::int16_t status, const char* statusName, const std::string& line)
{
    m_refusal = status;
    logLineTwice(compose(m_sName, ": Failed! Returning ", status, " (", statusName, "): ", line), LOG_ERROR,
                 LOG_FILE_API, LOG_FILE_ERROR);
}

std::int16_t Call::run(const Operation& operation, const Outcome& onFailure, const Outcome& onSuccess)
{
    if (m_refusal)
        return *m_refusal;
    std::string message;
    const std::int16_t result = operation(message);
    handOut(message, m_pMessage);
    if (result != TL_STATUS_OK)
        logLineTwice(compose(m_sName, ": Failed! Returning ", result, ": ", onFailure(message)), LOG_FAILURE,
                     LOG_FILE_API, LOG_FILE_ERROR);
    else
        logLine(compose(m_sName, ": Ok! Returning 0 (TL_STATUS_OK): ", onSuccess(message)), LOG_DEBUG,
                LOG_FILE_API);
    return result;
}
