// A settings file, and what the settings then do: whatever stands in it, every number has a value.
#include "fuzz/library.h"

#include "config/settings.h"
#include "events/level_texts.h"
#include "simulation/virtual_system.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::begin(fuzz::Log::Silent);
    simulation::virtualSystem().files["./tllogics.ini"] = fuzz::Bytes(data, size).rest();
    CTLSettings settings;
    settings.readFile(findSettingsFile());
    for (const SettingRow& row : settingsTable()) {
        const bool flag = settings.getBoolSetting(row.number);
        fuzz::require(row.type == SettingType::Boolean || !flag);
        fuzz::require(settings.getStringSetting(row.number).size() <= 127);
    }
    isFilteredLevelWarning(settings.getIntSetting(AskPayOutAmountLimit));
    CashLevel level;
    getCashLevels("05 100 SEK", level, 0); // the decimals may be any
    return 0;
}
