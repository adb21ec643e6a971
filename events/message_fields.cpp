// Splitting of a device message into its fields.
#include "events/decoder.h"

#include "api/tllogics.h"
#include "diag/log.h"
#include "logic/shared_state.h"
#include "text/compose.h"
#include "text/numbers.h"

#include <algorithm>

namespace {

// Offsets from the first character of the message.
constexpr std::size_t AMOUNT_AT = 1;
constexpr std::size_t AMOUNT_WIDTH = 8;
constexpr std::size_t STATUS_AT = 9;
constexpr std::size_t MODE_AT = 10;
constexpr std::size_t HEAD_LENGTH = 11;
// What stands behind the head if the device has the long forms.
constexpr std::size_t KIND_AT = 11;
constexpr std::size_t CODE_AT = 12;
constexpr std::size_t CODE_WIDTH = 4;
constexpr std::size_t LENGTH_AT = 16;
constexpr std::size_t LENGTH_WIDTH = 2;
constexpr std::size_t LONG_TEXT_AT = 18;

constexpr std::size_t SHORTEST_X = 21;

std::int16_t tooShort()
{
    logError("formatCallbackArg: Callback string too short");
    return TL_STATUS_ERROR;
}

std::int16_t readAmount(std::string_view whole, std::int32_t& amount)
{
    const std::string_view field = whole.substr(AMOUNT_AT, AMOUNT_WIDTH);
    amount = field == "00000000" ? 0 : leadingNumber(field);
    if (amount == 0 && field != "00000000") {
        // Twice to the logic file and not to the error file: log readers know it so.
        logLineTwice("formatCallbackArg: amountOrRest atoi-conversion failed", LOG_ERROR, LOG_FILE_LOGIC,
                     LOG_FILE_LOGIC);
        return TL_STATUS_ERROR;
    }
    if (amount < 0) {
        amount = 0;
        logError(pieces("formatCallbackArg invalid amountOrRest from: ", whole));
        return TL_STATUS_ERROR;
    }
    return TL_STATUS_OK;
}

/// Status and mode: one digit. A digit can't be negative, so the invalid line is a guard only.
std::int16_t readDigit(std::string_view whole, std::size_t at, const char* name, std::int32_t& value)
{
    const std::string_view field = whole.substr(at, 1);
    value = field == "0" ? 0 : leadingNumber(field);
    if (value == 0 && field != "0") {
        logError(pieces("formatCallbackArg: ", name, " atoi-conversion failed"));
        return TL_STATUS_ERROR;
    }
    if (value < 0) {
        value = 0;
        logError(pieces("formatCallbackArg: invalid ", name, " from: ", whole));
        return TL_STATUS_ERROR;
    }
    return TL_STATUS_OK;
}

std::int16_t readStatusAndMode(std::string_view whole, std::size_t statusAt, DeviceMessage& message)
{
    if (readDigit(whole, statusAt, "nStatus", message.nStatus) != TL_STATUS_OK)
        return TL_STATUS_ERROR;
    return readDigit(whole, statusAt + 1, "nMode", message.nMode);
}

std::int16_t readTail(std::string_view whole, DeviceMessage& message)
{
    if (whole.size() == HEAD_LENGTH)
        return TL_STATUS_OK;
    if (!deviceHasLongForms()) {
        message.strMessage = whole.substr(HEAD_LENGTH);
        return TL_STATUS_OK;
    }
    if (whole.size() < LONG_TEXT_AT)
        return tooShort();
    message.nMessageKind = leadingNumber(whole.substr(KIND_AT, 1));
    message.nMessageCode = leadingNumber(whole.substr(CODE_AT, CODE_WIDTH));
    const std::int32_t length = leadingNumber(whole.substr(LENGTH_AT, LENGTH_WIDTH));
    message.strMessage = whole.substr(LONG_TEXT_AT, static_cast<std::size_t>(std::max(length, 0)));
    return TL_STATUS_OK;
}

std::int16_t readHead(std::string_view whole, DeviceMessage& message)
{
    if (whole.size() < HEAD_LENGTH)
        return tooShort();
    if (readAmount(whole, message.amountOrRest) != TL_STATUS_OK ||
        readStatusAndMode(whole, STATUS_AT, message) != TL_STATUS_OK)
        return TL_STATUS_ERROR;
    return readTail(whole, message);
}

} // namespace

static_assert(MODE_AT == STATUS_AT + 1);

std::int16_t formatCallbackArg(std::string_view strCallbackArg, DeviceMessage& message)
{
    if (strCallbackArg.empty())
        return tooShort();
    message.strCmd = strCallbackArg.substr(0, 1);
    switch (strCallbackArg.front()) {
    case 'a':
    case 'b':
    case 'c':
        return readHead(strCallbackArg, message);
    case 'e': // status and mode are its last two characters
        if (strCallbackArg.size() < 2)
            return tooShort();
        return readStatusAndMode(strCallbackArg, strCallbackArg.size() - 2, message);
    case 'x':
        if (strCallbackArg.size() < SHORTEST_X)
            return tooShort();
        message.strMessage = strCallbackArg.substr(1);
        return TL_STATUS_OK;
    case 'v':
        message.strMessage = strCallbackArg.substr(1);
        return TL_STATUS_OK;
    default:
        return TL_STATUS_OK;
    }
}
