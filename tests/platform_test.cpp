// The platform layer: what must hold on every system.
#include "platform/files.h"
#include "platform/modules.h"
#include "platform/profile.h"
#include "scratch.h"

#include <gtest/gtest.h>

namespace {

struct ProfileCase {
    std::string content;
    std::int32_t number;
    std::string text;
};

// Both systems must read a settings file alike, so both get the same table.
const ProfileCase profileCases[] = {
    // Numbers.
    {"[S]\nK=-5\n", -5, "-5"},
    {"[S]\nK=- 5\n", 0, "- 5"},
    {"[S]\nK=017\n", 17, "017"},
    {"[S]\nK=12abc\n", 12, "12abc"},
    {"[S]\nK=5 ;c\n", 5, "5 ;c"},
    {"[S]\nK=4294967297\n", 2147483647, "4294967297"},
    {"[S]\nK=-99999999999\n", -2147483647 - 1, "-99999999999"},
    // Blanks and quotes.
    {"  [S]\n \t K \t = \t 5 \t \n", 5, "5"},
    {"[ S ] x\nK=5", 5, "5"},
    {"[S]\nK=\"7\"\n", 7, "7"},
    {"[S]\nK=' 7 ' \n", 7, " 7 "},
    {"[S]\nK=\"7'\n", 0, "\"7'"},
    {"[S]\nK=\"a\"b\"\n", 0, "a\"b"},
    {"[S]\nK=" + std::string(128, 'a') + "\n", 0, std::string(127, 'a')},
    {"[S]\nK=" + std::string(5000, ' ') + "5\n", 5, "5"},
    // Which line counts.
    {"[s]\nk=5\n", 5, "5"},
    {"[S]\nK=1\nK=2\n", 1, "1"},
    {"[S]\nA=1\n[S]\nK=2\n", -1, ""},
    {"[S]\n;K=1\n ;K=2\n#K=3\nK=4\n", 4, "4"},
    {"[S]\n=1\nKK=2\nK K=3\nK:4\nJ=K=5\nK=6", 6, "6"},
    {"[S]\nK==1\n", 0, "=1"},
    {"K=1\n[S\nK=2\n;[S]\nK=3\nx[S]\nK=4\n", -1, ""},
    {"[S]\r\nK=1\r\n", 1, "1"},
    {"[S]\rK=1\r", 1, "1"},
    {"[S]\n" + std::string(100000, 'x') + "\nK=5\n", 5, "5"},
    // What an editor or an accident leaves behind.
    {"\xEF\xBB\xBF[S]\nK=5\n", 5, "5"},
    {"[S]\nK=5\x1A", 5, "5"},
    {std::string("[S]\nA=\0\nK=5\0006\n", 14), 5, "5"},
    {std::string("\0\0[S]\nK=5\n", 10), -1, ""},
    {"[S]\nK=\xC3\xA4\xFF\n", 0, "\xC3\xA4\xFF"},
};

} // namespace

TEST(PlatformProfile, ReadsFilesAlikeOnAllSystems)
{
    int number = 0;
    for (const ProfileCase& each : profileCases) {
        SCOPED_TRACE(each.content.substr(0, 60));
        const std::string path = scratch::write("case" + std::to_string(++number) + ".ini", each.content);
        EXPECT_EQ(each.number, platform::Profile(path).number("S", "K"));
        EXPECT_EQ(each.text, platform::Profile(path).text("S", "K"));
    }
    for (const std::string& nothing : {scratch::path("missing.ini"), scratch::path("."), std::string()})
        EXPECT_EQ(-1, platform::Profile(nothing).number("S", "K")) << nothing;
}

TEST(PlatformFiles, LogFilesAreAppendedToAndEmptied)
{
    const std::string path = scratch::write("a.log", "kept\n");
    platform::AppendFile first = platform::AppendFile::open(path);
    const platform::AppendFile second = platform::AppendFile::open(path);
    ASSERT_TRUE(first.isOpen() && second.isOpen());
    EXPECT_EQ("kep", first.beginning(3));
    for (const platform::AppendFile* const file : {&std::as_const(first), &second, &std::as_const(first)})
        file->append(file == &first ? "one " : "two ");
    EXPECT_EQ("kept\none two one ", scratch::read("a.log"));

    // What one has emptied, the other goes on with.
    first.close();
    platform::AppendFile::empty(path);
    second.append("three");
    EXPECT_EQ("three", scratch::read("a.log"));
    for (const std::string& nothing : {scratch::path("no/dir.log"), scratch::path(""), std::string()})
        EXPECT_FALSE(platform::AppendFile::open(nothing).isOpen()) << nothing;
}

TEST(PlatformModules, EachLoadCountsOneReference)
{
    EXPECT_EQ(nullptr, platform::loadModule("no_such_library"));
    EXPECT_FALSE(platform::freeModule(nullptr));

    const platform::Module first = platform::loadModule("tllogics");
    ASSERT_NE(nullptr, first);
    EXPECT_EQ(first, platform::loadModule("tllogics"));
    EXPECT_EQ(nullptr, platform::findFunction(first, "noSuchFunctionTL"));
    EXPECT_TRUE(platform::freeModule(first));
    EXPECT_NE(nullptr, platform::findFunction(first, "initTL"));
    EXPECT_TRUE(platform::freeModule(first));
}
