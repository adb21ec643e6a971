// The settings: their table, the file that they start from, and their changes at run time.
#pragma once

#include "text/shared_text.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

/// Numbers of the settings, in the order of the table.
enum SettingNumber : int {
    PayOutAmountPerTimeLimitAmount = 0,
    PayOutAmountPerTimeLimitSeconds,
    AskPayOutAmountLimit,
    PayOutOkCheck,
    ChangeOkCheck,
    RegretOkCheck,
    StatusOkTimeout,
    CurrencyDecimals,
    LegacySystem,
    AutoDisable,
    ForwardCallbackChangeOnly,
    LevelWarningFilter,
    LoggEveryCallback,
    LoggSendEvents,
    LogCRToCAPI,
    LogCAPIToCR,
    LogComToCAPI,
    LogCAPIToCom,
    LogDebug,
    SETTING_COUNT
};

enum class SettingType { Integer, Text, Boolean };

/// What running code reads instead of asking CTLSettings; at most one is set.
struct SettingCopy {
    std::atomic<std::int32_t>* number = nullptr;
    SharedText* text = nullptr;
    std::atomic<bool>* flag = nullptr;
};

struct SettingRow {
    SettingNumber number;
    const char* section;
    const char* key;
    SettingType type;
    std::int32_t defaultValue;
    SettingCopy copy;
};

/// The one place where the settings are written down.
const std::array<SettingRow, SETTING_COUNT>& settingsTable();

/// Duration types of a change.
enum DurationType : std::int16_t { DURATION_PERMANENT = 0, DURATION_NEXT_PAYMENT = 1 };

/// The settings' values.
class CTLSettings {
public:
    /// Every setting at its default.
    CTLSettings();

    /// 0, false or an empty text for a number of another type.
    std::int32_t getIntSetting(SettingNumber number) const;
    bool getBoolSetting(SettingNumber number) const;
    std::string getStringSetting(SettingNumber number) const;

    std::int16_t getDurationType() const { return m_nDurationType; }

    /// Reads every setting from the file, or its default, and refreshes the copies.
    void readFile(const std::string& path);

    /// Takes the tagged fields over the current values, which are kept for a restore.
    void NewSettings(const std::string& initSettings, std::int16_t durationType);

    /// Goes back to the values before the last change.
    void RestoreSettings();

    void refreshCopy(const SettingRow& row) const;

private:
    struct Value {
        std::int32_t number = 0; // of a boolean 0 or 1
        std::string text;
    };

    struct Setting {
        Value current;
        Value previous;
        bool changed = false; // a restore is due
    };

    Setting& at(const SettingRow& row) { return m_settings[static_cast<std::size_t>(row.number)]; }
    /// Null for a number of another type.
    const Value* current(SettingNumber number, SettingType type) const;

    std::atomic<std::int16_t> m_nDurationType = DURATION_PERMANENT;
    mutable std::mutex m_lock; // held for one copy only
    std::array<Setting, SETTING_COUNT> m_settings;
};

/// Looks for tllogics.ini in its four places. The last place tried if there is none.
std::string findSettingsFile();

/// Directory of this library with its final separator; empty if the platform can't tell.
std::string getRuntimePath();

/// This library's file name, as it is called in the log on every platform.
constexpr const char* LIBRARY_FILE_NAME = "tllogics.dll";

// Process-wide copies, as they are until the settings file is read. Those of the log's gates stand in
// diag/log.h.
inline constinit std::atomic<std::int32_t> g_nCurrencyDecimals{2};
inline constinit std::atomic<std::int32_t> g_nLegacySystem{0};
inline constinit std::atomic<std::int32_t> g_nAutoDisable{0};
inline constinit std::atomic<std::int32_t> g_nForwardCallbackChangeOnly{1};
extern SharedText g_strLevelWarningFilter;
inline constinit std::atomic<std::int32_t> g_nLoggEveryCallback{0};
inline constinit std::atomic<std::int32_t> g_nLoggSendEvents{1};
