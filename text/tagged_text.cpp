#include "text/tagged_text.h"

#include "text/numbers.h"

std::string getSettingsTag(const std::string& tag, const std::string& text, std::string& errorText)
{
    errorText.clear();
    if (text.empty()) {
        errorText = "getSettingsTag: Input string too small";
        return SETTINGS_TAG_INVALID;
    }
    const std::size_t position = text.find(tag);
    if (position == std::string::npos) {
        errorText = "getSettingsTag: Field name not found.";
        return SETTINGS_TAG_INVALID;
    }
    const std::size_t start = position + tag.size();
    if (start >= text.size()) {
        errorText = "getSettingsTag: Find field value failed.";
        return SETTINGS_TAG_INVALID;
    }
    const std::size_t end = text.find(';', start);
    if (end == std::string::npos || end == start)
        return text.substr(start);
    return text.substr(start, end - start);
}

std::int32_t getSettingsTagInt(const std::string& tag, const std::string& text, std::string& errorText)
{
    const std::string value = getSettingsTag(tag, text, errorText);
    return value == SETTINGS_TAG_INVALID ? -1 : stringToInt(value, errorText);
}

std::int32_t stringToInt(const std::string& text, std::string& errorText)
{
    if (text.empty()) {
        errorText = "stringToInt: Empty string";
        return -1;
    }
    if (text.find_first_not_of('0') == std::string::npos) {
        errorText = "stringToInt: Zero string value, Ok";
        return 0;
    }
    const std::int32_t number = leadingNumber(text);
    if (number == 0) {
        errorText = "stringToInt: inparam non-numeric";
        return -1;
    }
    errorText = "stringToInt: Non-zero string value, Ok";
    return number;
}
