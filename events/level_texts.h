// The device's texts about cash levels and cash sessions, turned into numbers and words to show.
#pragma once

#include <cstdint>
#include <string>

enum WarningType : std::int32_t { WARNING_EMPTY = 1, WARNING_LOW = 2, WARNING_HIGH = 3 };

/// What a level text says.
struct CashLevel {
    std::int32_t numberOf = 0;     // how many are left; 999 for high
    std::int32_t denomination = 0; // in the smallest unit
    std::int32_t warningType = 0;  // WarningType
    std::string typeString;        // the type's word, by the language file
    std::string denominationString;
    std::string warningMessage;
};

/// Reads a level text. "code" picks the language file's own wording for the type, 0 for none. 0, or 2 for
/// a text that can't be read, with what was read so far in "level". A text of the low or empty form makes
/// the next small pay-out ask first, whether it can be read or not.
std::int16_t getCashLevels(const std::string& strMessage, CashLevel& level, std::int32_t code);

/// Reads the denomination at "position" and the text behind it. 0 or 2.
std::int16_t getDenomination(const std::string& text, std::size_t position, std::int32_t& denomination,
                             std::string& denominationString, std::string& extraText);

/// Reads a session text. 0, or 2 for an unknown one.
std::int16_t getSessionInfo(const std::string& strMessage, std::int16_t& infoType, std::int32_t& amount);

/// True if the settings silence warnings for this denomination today.
bool isFilteredLevelWarning(std::int32_t denomination);
