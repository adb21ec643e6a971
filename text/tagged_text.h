// Reader of settings texts made of tagged fields: "Type:RS232;Name:COM1;".
#pragma once

#include <cstdint>
#include <string>

/// What getSettingsTag answers when there is no value.
constexpr const char* SETTINGS_TAG_INVALID = "GETSETTINGSTAGINVALID";

/// The value behind "tag" (which has its colon) up to the next ";" or the end of the text, and to the end
/// also where ";" follows the tag at once. SETTINGS_TAG_INVALID with an errorText if there is none.
std::string getSettingsTag(const std::string& tag, const std::string& text, std::string& errorText);

/// The value as a number, -1 if there is none.
std::int32_t getSettingsTagInt(const std::string& tag, const std::string& text, std::string& errorText);

/// The number at the start of a text; -1 if there is none or it is 0 without the text being all zeros.
std::int32_t stringToInt(const std::string& text, std::string& errorText);
