#include "config/settings.h"

#include "diag/log.h"
#include "platform/profile.h"
#include "text/compose.h"
#include "text/tagged_text.h"

const std::array<SettingRow, SETTING_COUNT>& settingsTable()
{
    using enum SettingType;
    static constexpr const char* OPERATION = "Operation";
    static constexpr const char* EVENTS = "Events";
    static constexpr const char* LOGGING = "Logging";
    // clang-format off
    static const std::array<SettingRow, SETTING_COUNT> table{{
        {PayOutAmountPerTimeLimitAmount,  OPERATION, "PayOutAmountPerTimeLimitAmount",  Integer, 0,    {}},
        {PayOutAmountPerTimeLimitSeconds, OPERATION, "PayOutAmountPerTimeLimitSeconds", Integer, 60,   {}},
        {AskPayOutAmountLimit,            OPERATION, "AskPayOutAmountLimit",            Integer, 4900, {}},
        {PayOutOkCheck,                   OPERATION, "PayOutOkCheck",                   Integer, 0,    {}},
        {ChangeOkCheck,                   OPERATION, "ChangeOkCheck",                   Integer, 0,    {}},
        {RegretOkCheck,                   OPERATION, "RegretOkCheck",                   Integer, 0,    {}},
        {StatusOkTimeout,                 OPERATION, "StatusOkTimeout",                 Integer, 10,   {}},
        {CurrencyDecimals,                OPERATION, "CurrencyDecimals",                Integer, 2,    {.number = &g_nCurrencyDecimals}},
        {LegacySystem,                    OPERATION, "LegacySystem",                    Integer, 0,    {.number = &g_nLegacySystem}},
        {AutoDisable,                     OPERATION, "AutoDisable",                     Integer, 0,    {.number = &g_nAutoDisable}},
        {ForwardCallbackChangeOnly,       EVENTS,    "ForwardCallbackChangeOnly",       Integer, 1,    {.number = &g_nForwardCallbackChangeOnly}},
        {LevelWarningFilter,              EVENTS,    "LevelWarningFilter",              Text,    0,    {.text = &g_strLevelWarningFilter}},
        {LoggEveryCallback,               LOGGING,   "LoggEveryCallback",               Integer, 0,    {.number = &g_nLoggEveryCallback}},
        {LoggSendEvents,                  LOGGING,   "LoggSendEvents",                  Integer, 1,    {.number = &g_nLoggSendEvents}},
        {LogCRToCAPI,                     LOGGING,   "LogCRToCAPI",                     Boolean, 1,    {.flag = &g_bLogCRToCAPI}},
        {LogCAPIToCR,                     LOGGING,   "LogCAPIToCR",                     Boolean, 1,    {.flag = &g_bLogCAPIToCR}},
        {LogComToCAPI,                    LOGGING,   "LogComToCAPI",                    Boolean, 1,    {.flag = &g_bLogComToCAPI}},
        {LogCAPIToCom,                    LOGGING,   "LogCAPIToCom",                    Boolean, 1,    {.flag = &g_bLogCAPIToCom}},
        {LogDebug,                        LOGGING,   "LogDebug",                        Boolean, 1,    {.flag = &g_bLogDebug}},
    }};
    // clang-format on
    return table;
}

CTLSettings::CTLSettings()
{
    for (const SettingRow& row : settingsTable())
        at(row).current.number = row.defaultValue;
}

const CTLSettings::Value* CTLSettings::current(SettingNumber number, SettingType type) const
{
    const auto index = static_cast<std::size_t>(number);
    return settingsTable()[index].type == type ? &m_settings[index].current : nullptr;
}

std::int32_t CTLSettings::getIntSetting(SettingNumber number) const
{
    const std::lock_guard lock(m_lock);
    const Value* const value = current(number, SettingType::Integer);
    return value == nullptr ? 0 : value->number;
}

bool CTLSettings::getBoolSetting(SettingNumber number) const
{
    const std::lock_guard lock(m_lock);
    const Value* const value = current(number, SettingType::Boolean);
    return value != nullptr && value->number != 0;
}

std::string CTLSettings::getStringSetting(SettingNumber number) const
{
    const std::lock_guard lock(m_lock);
    const Value* const value = current(number, SettingType::Text);
    return value == nullptr ? "" : value->text;
}

void CTLSettings::readFile(const std::string& path)
{
    const platform::Profile file(path);
    for (const SettingRow& row : settingsTable()) {
        Value value;
        bool absent = false;
        if (row.type == SettingType::Text) {
            value.text = file.text(row.section, row.key);
            absent = value.text.empty();
        } else {
            value.number = file.number(row.section, row.key);
            absent = value.number == -1;
            if (absent)
                value.number = row.defaultValue;
            else if (row.type == SettingType::Boolean)
                value.number = value.number != 0;
        }
        {
            const std::lock_guard lock(m_lock);
            at(row).current = value;
        }
        refreshCopy(row);
        const std::string shown = row.type == SettingType::Text ? value.text : std::to_string(value.number);
        logNote(pieces("CTLLogics::getIniFileSettings: ", row.key, ": ", shown,
                       absent ? " (default value)" : " (from ini file)"));
    }
}

void CTLSettings::refreshCopy(const SettingRow& row) const
{
    const std::lock_guard lock(m_lock);
    const Value& value = m_settings[static_cast<std::size_t>(row.number)].current;
    if (row.copy.number != nullptr)
        *row.copy.number = value.number;
    if (row.copy.text != nullptr)
        row.copy.text->set(value.text);
    if (row.copy.flag != nullptr)
        *row.copy.flag = value.number != 0;
}

void CTLSettings::NewSettings(const std::string& initSettings, std::int16_t durationType)
{
    m_nDurationType = durationType;
    if (durationType == DURATION_PERMANENT) {
        const std::lock_guard lock(m_lock);
        for (Setting& setting : m_settings)
            setting.changed = false;
    }
    for (const SettingRow& row : settingsTable()) {
        const std::string tag = compose(row.key, ":");
        std::string errorText;
        Value fresh;
        std::string shown;
        if (row.type == SettingType::Text) {
            fresh.text = getSettingsTag(tag, initSettings, errorText);
            if (fresh.text == SETTINGS_TAG_INVALID) {
                logNote(pieces("CTLSettings::NewSettings: Failed to get ", row.key,
                               ", with error message: ", errorText));
                continue;
            }
            shown = fresh.text;
        } else {
            fresh.number = getSettingsTagInt(tag, initSettings, errorText);
            if (fresh.number < 0)
                continue;
            if (row.type == SettingType::Boolean)
                fresh.number = fresh.number != 0;
            shown = std::to_string(fresh.number);
        }
        {
            const std::lock_guard lock(m_lock);
            Setting& setting = at(row);
            setting.previous = setting.current;
            setting.current = fresh;
            setting.changed = true;
        }
        logNote(pieces("CTLSettings::NewSettings: Setting new ", row.key, ": ", shown));
    }
}

void CTLSettings::RestoreSettings()
{
    m_nDurationType = DURATION_PERMANENT;
    for (const SettingRow& row : settingsTable()) {
        std::string shown;
        {
            const std::lock_guard lock(m_lock);
            Setting& setting = at(row);
            if (!setting.changed)
                continue;
            setting.current = setting.previous;
            // PayOutOkCheck clears the flag of RegretOkCheck, which is then not restored, and keeps its own
            // until a change for good: applications have got used to what their settings are after a payment.
            Setting& cleared =
                row.number == PayOutOkCheck ? m_settings[static_cast<std::size_t>(RegretOkCheck)] : setting;
            cleared.changed = false;
            shown =
                row.type == SettingType::Text ? setting.current.text : std::to_string(setting.current.number);
        }
        logNote(pieces("CTLSettings::RestoreSettings: Restored ", row.key, ": ", shown));
    }
}
