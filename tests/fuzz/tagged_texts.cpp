// Settings as a till passes them. The first line is the tag that is looked for.
#include "fuzz/library.h"

#include "config/settings.h"
#include "text/tagged_text.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    fuzz::begin(fuzz::Log::Silent);
    const std::string tag = input.line();
    const std::string text(input.rest());
    std::string errorText;
    const std::string value = getSettingsTag(tag, text, errorText);
    fuzz::require(value == SETTINGS_TAG_INVALID || text.find(value) != std::string::npos);
    getSettingsTagInt(tag, text, errorText);
    stringToInt(text, errorText);

    CTLSettings settings;
    const std::int32_t limit = settings.getIntSetting(AskPayOutAmountLimit);
    settings.NewSettings(text, DURATION_NEXT_PAYMENT);
    settings.RestoreSettings();
    fuzz::require(settings.getIntSetting(AskPayOutAmountLimit) == limit);
    settings.NewSettings(text, DURATION_PERMANENT);
    return 0;
}
