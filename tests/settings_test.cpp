// Where settings come from, how their texts are read, and their changes at run time.
#include "library_test.h"

#include "config/settings.h"
#include "diag/log.h"
#include "environment.h"
#include "text/tagged_text.h"

namespace {

const std::string reading = "## CTLLogics::getIniFileSettings: ";

class StartUp : public LibraryTest {
protected:
    /// The lines of the search and the reading in one initTL, without their head.
    Texts search()
    {
        registerEvents();
        forget();
        EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
        Texts found;
        for (const std::string& line : logicLog())
            if (line.starts_with(reading))
                found.push_back(line.substr(reading.size()));
        EXPECT_EQ("0 Done", call(exitTL));
        return found;
    }

    /// The value that a search found for this key, and its origin.
    static std::string found(const std::string& key, const Texts& lines)
    {
        for (const std::string& line : lines)
            if (line.starts_with(key + ": "))
                return line.substr(key.size() + 2);
        return "(nothing)";
    }
};

class SettingsChange : public LibraryTest {
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

} // namespace

TEST_F(StartUp, ValuesOfAFile)
{
    scratch::write("tllogics.ini",
                   "[Operation]\r\nPayOutOkCheck=-1\r\nChangeOkCheck = 12abc\r\nRegretOkCheck=x\r\n"
                   "StatusOkTimeout=-7\r\nLegacySystem=0\r\n[Events]\r\nLevelWarningFilter=20260101:100\r\n"
                   "[Logging]\r\nLogDebug=0\r\nLogCRToCAPI=7\r\nLogCAPIToCR=0\r\n");
    registerEvents();
    EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", "ChangeOkCheck:3;"));
    const Texts lines = logicLog();
    const std::vector<std::pair<const char*, const char*>> rows{
        {"PayOutOkCheck", "0 (default value)"}, {"ChangeOkCheck", "12 (from ini file)"},
        {"RegretOkCheck", "0 (from ini file)"}, {"StatusOkTimeout", "-7 (from ini file)"},
        {"LegacySystem", "0 (from ini file)"},  {"LevelWarningFilter", "20260101:100 (from ini file)"},
        {"LogDebug", "0 (from ini file)"},      {"LogCRToCAPI", "1 (from ini file)"},
        {"LogCAPIToCR", "0 (from ini file)"},   {"LogComToCAPI", "1 (default value)"}};
    for (const auto& [key, value] : rows)
        EXPECT_EQ(value, found(reading + key, lines)) << key;
    EXPECT_EQ(1, countOf("Setting new ChangeOkCheck: 3", lines)); // over the file
    EXPECT_EQ(0, countOf("== CTLLogics::init", lines));           // the gate is shut
    EXPECT_EQ("20260101:100", g_strLevelWarningFilter.get());
    device.say(head('a', 0, 0));
    EXPECT_EQ(0, countOf("StatusEvent", apiLog()));
}

TEST_F(StartUp, FourPlacesOneAfterTheOther)
{
    const std::string slash = std::filesystem::path("/").make_preferred().string();
    const std::string first = scratch::path("config") + slash + "tllogics.ini";
    const std::string second = "." + slash + "tllogics.ini";
    const std::string third = scratch::path("library/") + "tllogics.ini";
    const auto missing = [](const std::string& path) {
        return "Settings file \"" + path + "\" can't be opened for reading.";
    };
    const Texts lines = search();
    ASSERT_EQ(8U + 19U, lines.size());
    EXPECT_EQ((Texts{"Environment variable TLCONFIG is not defined",
                     "Second settings file location (the application directory): " + second, missing(second),
                     "Third settings file location (the DLL directory): " + third, missing(third)}),
              Texts(lines.begin(), lines.begin() + 5));
    EXPECT_TRUE(lines[5].starts_with("Fourth settings file location (the Windows directory): "));
    EXPECT_EQ("About to assign default settings since no configuration file was found.", lines[7]);

    setEnvironment("TLCONFIG", scratch::path("config"));
    int value = 1; // the last written is the first looked for
    for (const auto& [written, path] : {std::pair{"library/tllogics.ini", third},
                                        {"tllogics.ini", second},
                                        {"config/tllogics.ini", first}}) {
        scratch::write(written, compose("[Operation]\nStatusOkTimeout=", ++value));
        const Texts read = search();
        EXPECT_EQ(1, countOf("About to read settings from configuration file: " + path, read));
        EXPECT_EQ(compose(value, " (from ini file)"), found("StatusOkTimeout", read));
    }
}

TEST(TaggedText, Tags)
{
    const std::string invalid = "GETSETTINGSTAGINVALID";
    const std::vector<std::array<std::string, 4>> rows{
        // tag, text, value, error text
        {"A:", "", invalid, "getSettingsTag: Input string too small"},
        {"A:", "B:1;", invalid, "getSettingsTag: Field name not found."},
        {"a:", "A:1;", invalid, "getSettingsTag: Field name not found."},
        {"A:", "B:1;A:", invalid, "getSettingsTag: Find field value failed."},
        {"A:", "A:1", "1", ""},
        {"A:", "A:1;B:2", "1", ""},
        {"B:", "A:1;B:2;", "2", ""},
        {"A:", "A:;B:2", ";B:2", ""},
        {"A:", "XA:5;A:6;", "5", ""}, // wherever it stands
    };
    for (const auto& [tag, text, value, error] : rows) {
        std::string errorText = "old";
        EXPECT_EQ(value, getSettingsTag(tag, text, errorText)) << text;
        EXPECT_EQ(error, errorText) << text;
    }
    const std::vector<std::tuple<std::string, int, std::string>> numbers{
        {"", -1, "stringToInt: Empty string"},
        {"00", 0, "stringToInt: Zero string value, Ok"},
        {"x", -1, "stringToInt: inparam non-numeric"},
        {"7x", 7, "stringToInt: Non-zero string value, Ok"},
    };
    for (const auto& [text, value, error] : numbers) {
        std::string errorText = "old";
        EXPECT_EQ(value, stringToInt(text, errorText)) << text;
        EXPECT_EQ(error, errorText) << text;
    }
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
