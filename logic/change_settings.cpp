// Settings that change while the library runs.
#include "logic/ctllogics.h"

#include "logic/operation.h"
#include "text/compose.h"

std::int16_t CTLLogics::changeSettings(const std::string& initSettings, std::int16_t durationType,
                                       std::string& message)
{
    Operation op(*this, "changeSettings", message);
    op.enter(pieces("CTLLogics::changeSettings(\"", initSettings, "\", ", durationType, ")"));
    m_settings.NewSettings(initSettings, durationType);
    for (const SettingRow& row : settingsTable())
        m_settings.refreshCopy(row);
    return op.done();
}

void CTLLogics::restoreSettings()
{
    m_settings.RestoreSettings();
    for (const SettingRow& row : settingsTable()) {
        // What a login or a filter has been working by stays as it is until it is changed or read anew.
        const bool keepsTemporaryCopy =
            row.number == LegacySystem || row.number == AutoDisable || row.number == LevelWarningFilter;
        if (!keepsTemporaryCopy)
            m_settings.refreshCopy(row);
    }
}
