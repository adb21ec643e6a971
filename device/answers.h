// How the communication library's answer to a command reads.
#pragma once

#include "api/tllogics.h"
#include "diag/language_keys.h"

#include <cstdint>

struct AnswerMeaning {
    LanguageKey key;
    std::int16_t status;
};

/// By the answer's third character; the first two repeat the command.
inline AnswerMeaning meaningOf(char statusCharacter)
{
    switch (statusCharacter) {
    case '0':
        return {"Done", TL_STATUS_OK};
    case '1':
        return {"Busy", TL_STATUS_BUSY};
    case '2':
        return {"Error", TL_STATUS_ERROR};
    case '3':
        return {"Closed", TL_STATUS_CLOSED};
    default:
        return {"Send failed", TL_STATUS_SEND_FAILED};
    }
}
