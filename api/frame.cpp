#include "api/frame.h"

#include "diag/language.h"

#include <algorithm>

namespace {

/// What the application's buffers hold, without the NUL.
constexpr std::size_t MOST_HANDED_OUT = 1023;

} // namespace

void handOut(std::string_view text, char* buffer)
{
    if (buffer == nullptr)
        return;
    // Up to the first NUL, as the application reads it.
    const std::size_t length =
        text.substr(0, std::min(text.find('\0'), MOST_HANDED_OUT)).copy(buffer, MOST_HANDED_OUT);
    buffer[length] = '\0';
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

void Call::tell(LanguageKey key) const
try {
    handOut(lookupText(key), m_pMessage);
} catch (...) {
    handOut("", m_pMessage);
}

std::int16_t Call::brokenOff() const
{
    handOut("", m_pMessage);
    logLineTwice(pieces(m_sName, ": Failed! Returning 2: "), LOG_FAILURE, LOG_FILE_API, LOG_FILE_ERROR);
    return TL_STATUS_ERROR;
}
