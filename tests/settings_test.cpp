// Where settings come from, and how their texts are read.
#include "till.h"

#include "config/settings.h"
#include "config/tagged_text.h"
#include "environment.h"

namespace {

const std::string reading = "## CTLLogics::getIniFileSettings: ";

class StartUp : public Till {
protected:
    /// The lines of the search and the reading in one initTL, without their head.
    Texts search(const std::string& settings = "")
    {
        registerEvents();
        forget();
        EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", settings.c_str()));
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

} // namespace

TEST_F(StartUp, ValuesOfAFile)
{
    scratch::write("tllogics.ini",
                   "[Operation]\r\nPayOutOkCheck=-1\r\nChangeOkCheck = 12abc\r\nRegretOkCheck=x\r\n"
                   "StatusOkTimeout=-7\r\nLegacySystem=0\r\n[Events]\r\nLevelWarningFilter=20260101:100\r\n"
                   "[Logging]\r\nLogDebug=0\r\nLogCRToCAPI=7\r\nLogCAPIToCR=0\r\n");
    registerEvents();
    forget();
    EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", "ChangeOkCheck:3;"));
    Texts lines;
    Texts logic = logicLog();
    for (const std::string& line : logic)
        lines.push_back(line.starts_with(reading) ? line.substr(reading.size()) : line);
    const std::vector<std::pair<const char*, const char*>> rows{
        {"PayOutOkCheck", "0 (default value)"}, {"ChangeOkCheck", "12 (from ini file)"},
        {"RegretOkCheck", "0 (from ini file)"}, {"StatusOkTimeout", "-7 (from ini file)"},
        {"LegacySystem", "0 (from ini file)"},  {"LevelWarningFilter", "20260101:100 (from ini file)"},
        {"LogDebug", "0 (from ini file)"},      {"LogCRToCAPI", "1 (from ini file)"},
        {"LogCAPIToCR", "0 (from ini file)"},   {"LogComToCAPI", "1 (default value)"},
    };
    for (const auto& [key, value] : rows)
        EXPECT_EQ(value, found(key, lines)) << key;
    EXPECT_EQ(1,
              countOf("## CTLSettings::NewSettings: Setting new ChangeOkCheck: 3", lines)); // over the file
    EXPECT_EQ(0, countOf("== CTLLogics::init", lines)); // the gate is shut
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
    Texts lines = search();
    ASSERT_EQ(8U + 19U, lines.size());
    EXPECT_EQ((Texts{"Environment variable TLCONFIG is not defined",
                     "Second settings file location (the application directory): " + second, missing(second),
                     "Third settings file location (the DLL directory): " + third, missing(third)}),
              Texts(lines.begin(), lines.begin() + 5));
    EXPECT_TRUE(lines[5].starts_with("Fourth settings file location (the Windows directory): ")) << lines[5];
    EXPECT_EQ("About to assign default settings since no configuration file was found.", lines[7]);

    setEnvironment("TLCONFIG", scratch::path("config"));
    EXPECT_EQ((Texts{"Read environment variable TLCONFIG: " + scratch::path("config"),
                     "First settings file location (the TLCONFIG environment variable directory): " + first,
                     missing(first)}),
              (lines = search(), Texts(lines.begin(), lines.begin() + 3)));
    int value = 1; // the last written is the first looked for
    for (const auto& [written, path] : {std::pair{"library/tllogics.ini", third},
                                        {"tllogics.ini", second},
                                        {"config/tllogics.ini", first}}) {
        scratch::write(written, compose("[Operation]\nStatusOkTimeout=", ++value));
        lines = search();
        EXPECT_EQ(1, countOf("About to read settings from configuration file: " + path, lines));
        EXPECT_EQ(compose(value, " (from ini file)"), found("StatusOkTimeout", lines));
    }
    for (const char* const written : {"library/tllogics.ini", "tllogics.ini", "config/tllogics.ini"})
        std::filesystem::remove(scratch::path(written));
    EXPECT_EQ("10 (default value)", found("StatusOkTimeout", search())); // read anew each time
}

TEST_F(StartUp, ALibraryThatDoesNotKnowWhereItIs)
{
    ostrivane().ownPath = "";
    ostrivane().ownVersion = "";
    registerEvents();
    EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
    EXPECT_LE(1,
              countOf("!! ctllogics.getRuntimePath: Failed to get full path for runtime module: tllogics.dll",
                      errorLog()));
    const Texts lines = logicLog();
    EXPECT_EQ(1, countOf("## Library Version: No version Info", lines));
    EXPECT_EQ(1, countOf("Third settings file location (the DLL directory): tllogics.ini", lines));
    EXPECT_EQ("0 Done", call(exitTL));
    ostrivane().ownPath = "tllogics.dll";
    search();
    EXPECT_LE(1, countOf("!! ctllogics.getRuntimePath: Failed to extract path part from: tllogics.dll",
                         errorLog()));
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
        {"A:", "A:;", ";", ""},
        {"A:", "XA:5;A:6;", "5", ""}, // wherever it stands
        {"A:", "A: 1 ;", " 1 ", ""},
    };
    for (const auto& [tag, text, value, error] : rows) {
        std::string errorText = "old";
        EXPECT_EQ(value, getSettingsTag(tag, text, errorText)) << text;
        EXPECT_EQ(error, errorText) << text;
    }
}

TEST(TaggedText, Numbers)
{
    const std::string zero = "stringToInt: Zero string value, Ok";
    const std::string number = "stringToInt: Non-zero string value, Ok";
    const std::string none = "stringToInt: inparam non-numeric";
    const std::vector<std::tuple<std::string, std::int32_t, std::string>> rows{
        {"", -1, "stringToInt: Empty string"},
        {"0", 0, zero},
        {"0000", 0, zero},
        {"007", 7, number},
        {"12abc", 12, number},
        {"abc", -1, none},
        {"0a", -1, none},
        {"-5", -5, number},
        {" 8", 8, number},
        {"-0", -1, none},
        {"2147483648", 2147483647, number},
        {"-99999999999999999999", -2147483647 - 1, number},
    };
    for (const auto& [text, value, error] : rows) {
        std::string errorText;
        EXPECT_EQ(value, stringToInt(text, errorText)) << text;
        EXPECT_EQ(error, errorText) << text;
    }
    std::string errorText;
    EXPECT_EQ(-1, getSettingsTagInt("B:", "A:1", errorText));
    EXPECT_EQ("getSettingsTag: Field name not found.", errorText);
}
