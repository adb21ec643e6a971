// The language file: how it is found and read, and that its list, the code and the samples agree.
#include "library_test.h"

#include "config/ini_file.h"
#include "config/settings.h"
#include "diag/language.h"
#include "platform/profile.h"
#include "tests/environment.h"

#include <algorithm>

namespace {

namespace fs = std::filesystem;

const fs::path ROOT = TLLOGICS_SOURCE_DIR;

class Language : public LibraryTest {};

TEST_F(Language, TranslatesWhatReachesTheApplicationAndNotTheLog)
{
    scratch::write("tllang.ini", "[Lang]\ndone=100 % klart %s %n\nNot initiated=\n");
    EXPECT_EQ("0 100 % klart %s %n", call(registerHwndTL, nobody));
    EXPECT_EQ("2 Not initiated", call(exitTL));
    EXPECT_EQ(1, countOf("== registerHwndTL: Ok! Returning 0 (TL_STATUS_OK): 100 % klart %s %n", apiLog()));
    EXPECT_EQ(1, countOf("== CTLLogics::registerHwnd() returning Ok", logicLog()));
    scratch::write("tllang.ini", "[Lang]\nDone=Fertig\n"); // comes too late
    EXPECT_EQ("0 100 % klart %s %n", call(registerHwndTL, nobody));
}

TEST_F(Language, SearchesItsPlacesInOrder)
{
    scratch::write("tllang.ini", "[Lang]\nDone=here\n");
    scratch::write("config/tllang.ini", "[Lang]\nDone=there\n");
    setEnvironment("TLCONFIG", scratch::path("config"));
    EXPECT_EQ("0 there", call(registerHwndTL, nobody));
}

TEST_F(Language, TakesNoHugeFiles)
{
    for (const char* const name : {"tllang.ini", "tllogics.ini"}) {
        std::string content = "[Lang]\nDone=Klart\n[Operation]\nStatusOkTimeout=33\n";
        while (content.size() < 5000000)
            content += "[x]\n";
        scratch::write(name, content);
    }
    registerEvents();
    EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
    EXPECT_EQ(19, countOf("(default value)", logicLog()));
}

TEST(IniFile, TheFirstDelimiterOfALineDecides)
{
    const std::string path = scratch::write(
        "x.ini",
        "header ; comment\r\n=v\nkey=value ; note\nignored\n\n\r\ntext [A] more\na=b=c\nA=second\n [ b\n"
        "[x]y]\n k = v \nempty=\n[a]\nhidden=1\n#c\n7=12abc\n\tstop=1\n[after]\nq=1\n");
    CIniFile file(path);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(file.ReadFile());
    EXPECT_EQ("Failing on char 9\n", testing::internal::GetCapturedStdout());
    const auto value = [&](const char* section, const char* key) { return file.GetValue(section, key, "-"); };
    EXPECT_EQ("v", value("", ""));
    EXPECT_EQ("value ; note", value("", "KEY"));
    EXPECT_EQ("1", value("a", "hidden")); // a second section of a name adds to the first
    EXPECT_EQ("", value("X]Y", "Empty"));
    EXPECT_EQ(" v ", value("x]y", " K "));
    EXPECT_EQ("-", value("x]y", "k"));
    EXPECT_EQ("-", value("after", "q"));
    EXPECT_EQ(-1, file.FindSection("after"));
}

TEST(LanguageKeys, AreAllUsedInAllSamplesAndExplained)
{
    const std::string help = scratch::source("docs/troubleshooting.md");
    for (const std::string_view key : FIXED_KEYS)
        EXPECT_NE(std::string::npos, help.find(compose('`', key, '`'))) << key;
    std::string code;
    for (const char* const room : {"api", "device", "logic", "events"}) {
        for (const auto& entry : fs::directory_iterator(ROOT / room))
            code += scratch::source(compose(room, "/", entry.path().filename().string()));
    }
    for (const char* const language : {"swedish", "swedish-windows-1252", "german"}) {
        const std::string file = compose("docs/samples/", language, "/tllang.ini");
        CIniFile sample((ROOT / file).string());
        EXPECT_TRUE(sample.ReadFile()) << file;
        const std::string content = scratch::source(file);
        EXPECT_EQ(std::ptrdiff_t(FIXED_KEYS.size()),
                  std::count(content.begin(), content.end(), '=') - std::ptrdiff_t(3)); // three are comments
        for (const std::string_view key : FIXED_KEYS) {
            EXPECT_NE("", sample.GetValue("Lang", std::string(key), "")) << language << ": " << key;
            EXPECT_NE(std::string::npos, code.find('"' + std::string(key) + '"')) << key;
        }
    }
}

/// As UTF-8; what windows-1252 has in places of its own, 0x80 to 0x9F, the samples don't use.
std::string fromCodePage(const std::string& bytes)
{
    std::string text;
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        EXPECT_FALSE(byte >= 0x80 && byte < 0xA0) << int{byte};
        if (byte >= 0x80)
            text += {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
        else
            text += each;
    }
    return text;
}

TEST(Samples, TheOneInACodePageSaysTheSame)
{
    const std::string bytes = scratch::source("docs/samples/swedish-windows-1252/tllang.ini");
    std::string expected = scratch::source("docs/samples/swedish/tllang.ini");
    expected.replace(expected.find("UTF-8"), 5, "windows-1252");
    EXPECT_EQ(expected, fromCodePage(bytes));
    EXPECT_NE(std::string::npos, bytes.find("\nClosed=St\xE4ngd\n"));
}

TEST(Samples, TheSettingsFileHoldsEveryDefault)
{
    const std::string file = "docs/samples/tllogics.ini";
    const std::string content = scratch::source(file);
    const platform::Profile profile((ROOT / file).string());
    for (const SettingRow& row : settingsTable()) {
        EXPECT_NE(std::string::npos, content.find("\n" + std::string(row.key) + "=")) << row.key;
        if (row.type != SettingType::Text) {
            EXPECT_EQ(row.defaultValue, profile.number(row.section, row.key)) << row.key;
        }
    }
}

} // namespace
