// The export that changes settings. It works on a library that is not initiated too.
#include "api/frame.h"

#include "config/settings.h"
#include "logic/ctllogics.h"

std::int16_t changeSettingsTL(const char* initSettings, std::int16_t durationType, char* message)
{
    const std::string_view settings = textOf(initSettings);
    Call call("changeSettingsTL", pieces("changeSettingsTL(", settings, ", ", durationType, ", message)"),
              message);
    if (durationType != DURATION_PERMANENT && durationType != DURATION_NEXT_PAYMENT)
        call.refuse(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", "Unknown durationType",
                    "unknown durationType");
    if (settings.empty())
        call.refuse(TL_STATUS_INPUT_PARAM_ERROR, "TL_STATUS_INPUT_PARAM_ERROR", "initSettings is empty",
                    "initSettings is empty");
    return call.run(
        [&](std::string& text) { return g_logic.changeSettings(std::string(settings), durationType, text); });
}
