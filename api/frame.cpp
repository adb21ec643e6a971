#include "api/frame.h"

#include "diag/language.h"
#include "diag/log.h"
#include "logic/shared_state.h"

#include <cstring>

void handOut(const std::string& text, char* buffer)
{
    if (buffer != nullptr)
        std::memcpy(buffer, text.c_str(), text.size() + 1);
}

Call::Call(const char* name, const std::string& callText, char* message) : Call(name, callText)
{
    m_pMessage = message;
    required("message", message);
}

Call::Call(const char* name, const std::string& callText) : m_sName(name), m_pMessage(nullptr)
{
    logLine(callText, LOG_APP_IN, LOG_FILE_API);
}

Call& Call::required(const char* parameter, const void* pointer)
{
    if (pointer != nullptr)
        return *this;
    const std::string words = compose(parameter, " parameter is null");
    return refuse(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", words, words);
}

Call& Call::initiated(const std::function<std::string()>& clear)
{
    if (!accepted() || g_bInitiated)
        return *this;
    const std::string cleared = clear ? clear() : "";
    return refuse(TL_STATUS_ERROR, "TL_STATUS_ERROR", cleared + "Not initiated", "Not initiated");
}

Call& Call::refuse(std::int16_t status, const char* statusName, const std::string& line,
                   const std::string& key)
{
    if (!accepted())
        return *this;
    m_refusal = status;
    logLineTwice(compose(m_sName, ": Failed! Returning ", status, " (", statusName, "): ", line), LOG_ERROR,
                 LOG_FILE_API, LOG_FILE_ERROR);
    if (m_pMessage != nullptr)
        handOut(lookupText(key), m_pMessage);
    return *this;
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
