#include "events/level_texts.h"

#include "api/tllogics.h"
#include "config/settings.h"
#include "diag/language.h"
#include "diag/log.h"
#include "logic/low_level_warning.h"
#include "platform/clock.h"
#include "text/compose.h"
#include "text/dates.h"
#include "text/numbers.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr const char* DIGITS = "0123456789";
constexpr const char* DENOMINATION_CHARACTERS = "0123456789/.,";

constexpr std::size_t FORM_MARK_AT = 2; // a space there means low or empty
constexpr std::size_t LOW_DENOMINATION_AT = 3;
constexpr std::int32_t NUMBER_OF_HIGH = 999;

/// The run of "characters" from "position" on.
std::string runOf(const std::string& text, std::size_t position, const char* characters)
{
    const std::size_t end = text.find_first_not_of(characters, position);
    return text.substr(position, end == std::string::npos ? end : end - position);
}

/// More than 32 decimals make every number 0, so the loop has an end whatever the settings say.
std::int32_t scaledByDecimals(std::int32_t number)
{
    const std::int32_t decimals = std::min<std::int32_t>(g_nCurrencyDecimals, 32);
    for (std::int32_t i = 0; i < decimals; ++i)
        number = wrappingMultiply(number, 10);
    return number;
}

/// The word of a warning type: the language file's own for the device's code, or the plain one.
std::string wordFor(std::int32_t code, LanguageKey plainKey)
{
    const std::string plain = lookupText(plainKey);
    return code > 0 ? translationOr(compose("Warning Code ", code), plain) : plain;
}

std::int16_t denominationFailed()
{
    logError("getCashLevels: getDenomination failed");
    return TL_STATUS_ERROR;
}

std::int16_t readHigh(const std::string& text, CashLevel& level, std::int32_t code)
{
    level.numberOf = NUMBER_OF_HIGH;
    level.warningType = WARNING_HIGH;
    level.typeString = wordFor(code, "High");
    std::string extra;
    if (getDenomination(text, 0, level.denomination, level.denominationString, extra) != TL_STATUS_OK)
        return denominationFailed();
    level.warningMessage = compose(level.denominationString, " ", level.typeString, " (", extra, ")");
    return TL_STATUS_OK;
}

std::int16_t readLowOrEmpty(const std::string& text, CashLevel& level, std::int32_t code)
{
    g_nCurrentLowLevelWarningState.assumeLow();
    std::string extra;
    if (getDenomination(text, LOW_DENOMINATION_AT, level.denomination, level.denominationString, extra) !=
        TL_STATUS_OK)
        return denominationFailed();

    std::string number = text.substr(0, 2);
    if (number == "00") {
        level.numberOf = 0;
        level.warningType = WARNING_EMPTY;
        level.typeString = wordFor(code, "Empty");
        level.warningMessage = compose(level.denominationString, " ", level.typeString);
        return TL_STATUS_OK;
    }

    level.numberOf = leadingNumber(number);
    if (level.numberOf == 0) {
        logError("getCashLevels: strNumberOf conversion failed");
        return TL_STATUS_ERROR;
    }
    if (level.numberOf < 10)
        number = number.substr(1);
    level.warningType = WARNING_LOW;
    level.typeString = wordFor(code, "Low");
    level.warningMessage =
        compose(level.denominationString, " ", level.typeString, " (", number, " ", lookupText("Left"), ")");
    return TL_STATUS_OK;
}

} // namespace

std::int16_t getCashLevels(const std::string& strMessage, CashLevel& level, std::int32_t code)
{
    level.numberOf = 0;
    level.denomination = 0;
    if (strMessage.size() < FORM_MARK_AT)
        return TL_STATUS_ERROR; // too short for either form
    const bool lowOrEmpty = strMessage.size() > FORM_MARK_AT && strMessage[FORM_MARK_AT] == ' ';
    return lowOrEmpty ? readLowOrEmpty(strMessage, level, code) : readHigh(strMessage, level, code);
}

std::int16_t getDenomination(const std::string& text, std::size_t position, std::int32_t& denomination,
                             std::string& denominationString, std::string& extraText)
{
    if (position > text.size())
        return TL_STATUS_ERROR;
    denominationString = runOf(text, position, DENOMINATION_CHARACTERS);
    const std::size_t end = position + denominationString.size();
    if (end == text.size())
        return TL_STATUS_ERROR; // a level text has something behind its denomination
    const std::size_t last = text.find_last_not_of(' ');
    extraText = last == std::string::npos || last < end ? "" : text.substr(end, last + 1 - end);

    const char second = position + 1 < text.size() ? text[position + 1] : '\0';
    if (second == ',' || second == '.') {
        // A fraction such as 0,50 is in the smallest unit already.
        if (denominationString.size() < 2)
            return TL_STATUS_ERROR;
        const std::string number = denominationString.substr(2);
        denomination = leadingNumber(number);
        if (denomination == 0) {
            logError(pieces("ctllogics.getDenomination: strDenomination conversion failed (denom=0), "
                            "strDenomination = \"",
                            number, "\", message = \"", text, "\"."));
            return TL_STATUS_ERROR;
        }
        return TL_STATUS_OK;
    }
    const std::string number = runOf(text, position, DIGITS);
    denomination = scaledByDecimals(leadingNumber(number));
    if (denomination == 0) {
        logError(pieces("ctllogics.getDenomination: strDenomination conversion failed (denom=0), "
                        "strDenomination = ",
                        number));
        return TL_STATUS_ERROR;
    }
    return TL_STATUS_OK;
}

std::int16_t getSessionInfo(const std::string& strMessage, std::int16_t& infoType, std::int32_t& amount)
{
    static constexpr std::array<std::string_view, 4> WITH_AMOUNT{"BO/WD", "BO/RF", "CR/WD", "CR/RF"};
    const std::string type = strMessage.substr(0, 5);
    const auto found = std::find(WITH_AMOUNT.begin(), WITH_AMOUNT.end(), type);
    if (found != WITH_AMOUNT.end()) {
        infoType = static_cast<std::int16_t>(found - WITH_AMOUNT.begin());
        amount = leadingNumber(strMessage.substr(5, 8));
        return TL_STATUS_OK;
    }
    if (type == "Tella") {
        infoType = static_cast<std::int16_t>(WITH_AMOUNT.size());
        amount = 0;
        return TL_STATUS_OK;
    }
    logError("getSessionInfo: Unknown infoType");
    return TL_STATUS_ERROR;
}

bool isFilteredLevelWarning(std::int32_t denomination)
{
    const std::string filter = g_strLevelWarningFilter.get();
    if (filter.empty())
        return false;
    const std::string today = dateText(platform::localTime().calendar);
    std::size_t position = 0;
    for (;;) {
        const std::size_t colon = filter.find(':', position);
        if (colon == std::string::npos)
            return false;
        const std::size_t comma = filter.find(',', colon);
        const std::string from = filter.substr(position, colon - position);
        const std::string entry =
            filter.substr(colon + 1, comma == std::string::npos ? comma : comma - colon - 1);
        if (leadingNumber(entry) == denomination && from.size() == today.size() && today >= from)
            return true;
        if (comma == std::string::npos)
            return false;
        position = comma + 1;
    }
}
