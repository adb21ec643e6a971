// The fixed keys of the language file. They are the English texts themselves and stand where they are used;
// this list has the compiler refuse a mistyped one.
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

inline constexpr std::array<std::string_view, 49> FIXED_KEYS{
    "Already de-initiated",
    "Already initiated",
    "Amount to deposit too big",
    "Amount to deposit too small",
    "Amount to dispense too big",
    "Amount to dispense too small",
    "Both event and callback defined",
    "Busy",
    "Tellarion has error(s)",
    "Tellarion is busy",
    "Closed",
    "Done",
    "Empty",
    "Error",
    "Failed to comply",
    "Failed to free library",
    "Failed to get dll handle",
    "Handle to library is null",
    "High",
    "Hwnd already set",
    "Invalid portname",
    "Invalid regretType",
    "Left",
    "Low",
    "No Event or callback defined",
    "Not Supported",
    "Not initiated",
    "Not possible (rest)",
    "Paid in amount smaller than amount due",
    "Payout larger than allowed limit per time unit",
    "Port type not implemented",
    "Send failed",
    "Timed out",
    "amountRest parameter is null",
    "callbacks already set",
    "commands parameter is null",
    "tl_002 is null",
    "tl_dini is null",
    "tl_initiate is null",
    "empty Hwnd",
    "empty callbacks",
    "info parameter is null",
    "initSettings is empty",
    "level parameter is null",
    "master parameter is null",
    "open parameter is null",
    "portSettings invalid",
    "portSettings is empty",
    "unknown durationType",
};

/// A key of the list. Only a literal can become one, and only if it is in the list.
class LanguageKey {
public:
    consteval LanguageKey(const char* text) : m_sText(text)
    {
        if (std::find(FIXED_KEYS.begin(), FIXED_KEYS.end(), std::string_view(text)) == FIXED_KEYS.end())
            throw "not a key of the language file";
    }

    constexpr const char* text() const { return m_sText; }

private:
    const char* m_sText;
};
