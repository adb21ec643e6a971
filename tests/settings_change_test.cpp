// Settings changed at run time, for good and for the next payment.
#include "till.h"

#include "config/settings.h"
#include "diag/log.h"

namespace {

const char* const FILTER_LINE =
    "## CTLSettings::NewSettings: Failed to get LevelWarningFilter, with error message: "
    "getSettingsTag: Field name not found.";

class SettingsChange : public Till {
protected:
    std::string change(const std::string& settings, int duration)
    {
        return call(changeSettingsTL, settings.c_str(), duration);
    }

    /// The restore lines of a payment that is made now.
    Texts restoredByPayment()
    {
        std::int32_t rest = 0;
        logicLog();
        call(payout2TL, 0, 0, "", &rest);
        Texts restored;
        for (const std::string& line : logicLog()) {
            if (line.find("RestoreSettings") != std::string::npos)
                restored.push_back(line.substr(line.find("Restored")));
        }
        return restored;
    }
};

TEST_F(SettingsChange, RefusesInOrder)
{
    EXPECT_EQ(4, changeSettingsTL("x:1", 2, nullptr));
    EXPECT_EQ("4 unknown durationType", change("", 2));
    EXPECT_EQ("4 unknown durationType", change("x:1", -1));
    EXPECT_EQ("4 initSettings is empty", change("", 0));
    EXPECT_EQ("4 initSettings is empty", call(changeSettingsTL, nullptr, 1));
    EXPECT_EQ(
        (Texts{
            "!! changeSettingsTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): message parameter is "
            "null",
            "!! changeSettingsTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): Unknown durationType",
            "!! changeSettingsTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): Unknown durationType",
            "!! changeSettingsTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): initSettings is empty",
            "!! changeSettingsTL: Failed! Returning 4 (TL_STATUS_INPUT_PARAM_ERROR): initSettings is empty"}),
        errorLog());
}

TEST_F(SettingsChange, TakesWhatReadsAndPassesOverTheRest)
{
    EXPECT_EQ("0 Done", change("nonsense", 0));
    EXPECT_EQ((Texts{"=> CTLLogics::changeSettings(\"nonsense\", 0)", FILTER_LINE}), logicLog());
    EXPECT_EQ("0 Done", change("StatusOkTimeout:-1;PayOutOkCheck:x;AutoDisable:007;LogDebug:5;"
                               "CurrencyDecimals:;LevelWarningFilter:20270101:100",
                               0));
    EXPECT_EQ(
        (Texts{"=> CTLLogics::changeSettings(\"StatusOkTimeout:-1;PayOutOkCheck:x;AutoDisable:007;LogDebug:5;"
               "CurrencyDecimals:;LevelWarningFilter:20270101:100\", 0)",
               "## CTLSettings::NewSettings: Setting new AutoDisable: 7",
               "## CTLSettings::NewSettings: Setting new LevelWarningFilter: 20270101:100",
               "## CTLSettings::NewSettings: Setting new LogDebug: 1"}),
        logicLog());
    EXPECT_EQ(7, g_nAutoDisable);
    EXPECT_EQ("20270101:100", g_strLevelWarningFilter.get());
    // What was changed before initTL is read over by it.
    init();
    EXPECT_EQ(0, g_nAutoDisable);
    EXPECT_EQ("", g_strLevelWarningFilter.get());
}

TEST_F(SettingsChange, EveryNumberReachesItsCopyAtOnce)
{
    EXPECT_EQ("0 Done",
              change("CurrencyDecimals:3;LegacySystem:1;AutoDisable:4;ForwardCallbackChangeOnly:5;"
                     "LoggEveryCallback:6;LoggSendEvents:8;LogCRToCAPI:0;LogCAPIToCR:0;LogComToCAPI:0;"
                     "LogCAPIToCom:0;LogDebug:0;",
                     0));
    EXPECT_EQ((std::vector<int>{3, 1, 4, 5, 6, 8}),
              (std::vector<int>{g_nCurrencyDecimals, g_nLegacySystem, g_nAutoDisable,
                                g_nForwardCallbackChangeOnly, g_nLoggEveryCallback, g_nLoggSendEvents}));
    EXPECT_FALSE(g_bLogCRToCAPI || g_bLogCAPIToCR || g_bLogComToCAPI || g_bLogCAPIToCom || g_bLogDebug);
    logicLog();
    apiLog();
    change("LogCRToCAPI:1", 0);
    EXPECT_EQ(Texts{}, apiLog()); // entry shut, outcome shut
    change("LogDebug:1", 0);
    EXPECT_EQ((Texts{"=> changeSettingsTL(LogDebug:1, 0, message)",
                     "== changeSettingsTL: Ok! Returning 0 (TL_STATUS_OK): Done"}),
              apiLog());
}

TEST_F(SettingsChange, ComesBackAfterAPaymentThatReachedTheDevice)
{
    open("AskPayOutAmountLimit:100000");
    device.say(head('a', 500, 0));
    change("LogDebug:0;StatusOkTimeout:20;PayOutAmountPerTimeLimitAmount:50", 1);
    std::int32_t rest = 0;
    EXPECT_EQ("11 Payout larger than allowed limit per time unit", call(payout2TL, 300, 100, "", &rest));
    EXPECT_EQ("10 Amount to deposit too big", call(payout2TL, 0, 501, "", &rest));
    EXPECT_EQ("12 Not Supported", call(dispenseTL, 10, "", &rest));
    EXPECT_FALSE(g_bLogDebug); // refusals end nothing
    device.on("f").answers("1");
    // The text of initTL was a change for good, which the next temporary one undoes.
    EXPECT_EQ((Texts{"Restored PayOutAmountPerTimeLimitAmount: 0", "Restored AskPayOutAmountLimit: 4900",
                     "Restored StatusOkTimeout: 10", "Restored LogDebug: 1"}),
              restoredByPayment());
    EXPECT_TRUE(g_bLogDebug);
    EXPECT_EQ(Texts{}, restoredByPayment());

    // Each way out of a dispense that got as far ends them too.
    for (const char* const fate : {"refused", "never busy", "never ready", "paid"}) {
        g_TLState = STATE_PAYIN_DISABLED;
        change("PayOutOkCheck:1;CurrencyDecimals:1", 1);
        Reply& reply = device.on("c");
        if (fate == std::string("refused"))
            reply.answers("2");
        else if (fate != std::string("never busy"))
            reply.says(10, head('a', 0, 1));
        if (fate == std::string("paid"))
            reply.says(50, head('a', 0, 0));
        call(dispenseTL, 0, "", &rest);
        EXPECT_EQ(2, g_nCurrencyDecimals) << fate;
        device.say(head('a', 0, 0));
    }
}

TEST_F(SettingsChange, KeepsItsIrregularities)
{
    open();
    // PayOutOkCheck clears the flag of RegretOkCheck instead of its own.
    change("PayOutOkCheck:1;RegretOkCheck:1", 1);
    EXPECT_EQ(Texts{"Restored PayOutOkCheck: 0"}, restoredByPayment());
    change("ChangeOkCheck:1", 1);
    EXPECT_EQ((Texts{"Restored PayOutOkCheck: 0", "Restored ChangeOkCheck: 0"}), restoredByPayment());
    change("StatusOkTimeout:12", 0); // for good: nothing that stood open is restored
    change("StatusOkTimeout:15", 1);
    change("StatusOkTimeout:17", 1);
    EXPECT_EQ(Texts{"Restored StatusOkTimeout: 15"}, restoredByPayment());

    // A change for good whose flag still stands is undone with the next temporary one.
    change("AskPayOutAmountLimit:1", 0);
    change("ChangeOkCheck:1", 1);
    EXPECT_EQ((Texts{"Restored AskPayOutAmountLimit: 4900", "Restored ChangeOkCheck: 0"}),
              restoredByPayment());

    // Three copies stay as they were changed.
    change("LegacySystem:1;AutoDisable:1;LevelWarningFilter:20260101:5;ForwardCallbackChangeOnly:0", 1);
    restoredByPayment();
    EXPECT_EQ((std::vector<int>{1, 1, 1}),
              (std::vector<int>{g_nLegacySystem, g_nAutoDisable, g_nForwardCallbackChangeOnly}));
    EXPECT_EQ("20260101:5", g_strLevelWarningFilter.get());
}

} // namespace
