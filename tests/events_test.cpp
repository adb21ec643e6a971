// What reaches the application: level texts as numbers and words, the filter, cut texts, queues of a window.
#include "library_test.h"

#include "config/settings.h"
#include "events/queues.h"

namespace {

class Events : public LibraryTest {
protected:
    /// The events of a "b" that has this text and nothing else to tell.
    Texts of(const std::string& text, int status = 0)
    {
        device.say(head('a', 0, 0));
        happened();
        device.say(head('b', 0, status, 1, text));
        return happened();
    }

    void openWindow()
    {
        ASSERT_EQ("0 Done", call(registerHwndTL, nobody));
        ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
        forget();
    }

    static std::string levelWarningInfo()
    {
        std::int32_t type = 9;
        std::array<char, 256> word{}, name{}, warning{};
        const std::string outcome =
            call(getLevelWarningInfoTL, &type, word.data(), name.data(), warning.data());
        return compose(type, "|", word.data(), "|", name.data(), "|", warning.data(), "|", outcome);
    }

    static std::string errorInfo()
    {
        std::array<char, 256> text{};
        EXPECT_EQ("0 ErrorInfo Not set", call(getErrorInfoTL, text.data()));
        return text.data();
    }
};

} // namespace

TEST_F(Events, LevelTextsAsNumbersAndWords)
{
    struct Row {
        int decimals;
        std::string text;
        std::string level;   // denomination and number
        std::string warning; // type, and then word, denomination's name, message
    };
    const std::vector<Row> rows{
        {2, "05 100 SEK", "10000 5", "2 Low 100 100 Low (5 Left)"},
        {2, "00 0,50 SEK", "50 0", "1 Empty 0,50 0,50 Empty"},
        {2, "00 1,50 SEK", "50 0", "1 Empty 1,50 1,50 Empty"}, // the second character alone decides
        {2, "03 10,50 SEK", "1000 3", "2 Low 10,50 10,50 Low (3 Left)"},
        {2, "100 SEK  ", "10000 999", "3 High 100 100 High ( SEK)"},
        {0, "100 SEK", "100 999", "3 High 100 100 High ( SEK)"},
        {-1, "05 7 ", "7 5", "2 Low 7 7 Low (5 Left)"}};
    open();
    for (const auto& [decimals, text, level, warning] : rows) {
        g_nCurrencyDecimals = decimals;
        EXPECT_EQ((Texts{"level " + level + " " + text,
                         "warning " + warning.substr(0, 2) + level + warning.substr(1) + " " + text}),
                  of(text));
    }
}

TEST_F(Events, LevelTextsThatCannotBeReadAreAWarningStill)
{
    open();
    // A space where a low text has one, no number, no denomination, nothing behind it, and less than that.
    for (const char* const text : {"50 SEK", "0x 100 SEK", "0  100 SEK", "-- 100 SEK", "00 0,00 SEK",
                                   "00 100", "00 ", "1", "", "0,x", "-,5"}) {
        setLowLevelWarning(LOW_LEVEL_WARNING_FALSE);
        EXPECT_EQ(Texts{}, of(text)) << text;
        EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState) << text;
    }
    const Texts errors = errorLog();
    EXPECT_EQ(3, countOf("!! getCashLevels: strNumberOf conversion failed", errors));
    // Nothing behind the point is a number that reads as 0.
    EXPECT_EQ(1, countOf("!! ctllogics.getDenomination: strDenomination conversion failed (denom=0), "
                         "strDenomination = \"\", message = \"0,x\".",
                         errors));
    EXPECT_EQ(0, countOf("message = \"-,5\"", errors));
}

TEST_F(Events, TextsAreCutToTheRoomThatTheyHaveAndWholeInTheLog)
{
    openLong();
    const std::string filler(200, 'y');
    const std::string level = ("100 " + filler).substr(0, 99);
    const std::string cut = level.substr(0, 63);
    EXPECT_EQ((Texts{"level 10000 999 " + cut,
                     "warning 3 10000 999 High 100 " + ("100 High ( " + filler).substr(0, 63) + " " + cut}),
              of("0000099" + level));
    EXPECT_EQ(2, countOf("extInfo=" + level, apiLog()));
    EXPECT_EQ(Texts{"information " + filler.substr(0, 98)}, of("3000199" + filler));
    g_nApiVersionKind = 0;
    EXPECT_EQ(Texts{"session 4 0 Tellarion 00000099 "}, of("Tellarion 00000099 and more"));
    EXPECT_EQ("error 0 " + filler.substr(0, 127) + " ErrorInfo Not set", of(filler, 2).back());
}

TEST_F(Events, FilterSilencesADenominationFromItsDateOn)
{
    open();
    const std::vector<std::pair<const char*, bool>> rows{
        {"20261122:10000", true},
        {"20261123:10000", false},
        {"20261122:100", false}, // in the smallest unit
        {"2026112:10000", false},
        {"20261122:2000,20991231:10000,20261122:10000x", true},
        {"20261122", false},
        {"20261122:10000,", true},
        {"20261122:,20261122:10000", true}};
    for (const auto& [filter, filtered] : rows) {
        ASSERT_EQ("0 Done", call(changeSettingsTL, compose("LevelWarningFilter:", filter).c_str(), 0));
        setLowLevelWarning(LOW_LEVEL_WARNING_FALSE);
        EXPECT_EQ(filtered, of("05 100 SEK").empty()) << filter;
        EXPECT_EQ(filtered, of("100 SEK").empty()) << filter;
        EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState); // silenced is not forgotten
    }
}

TEST_F(Events, AWindowFetchesItsTexts)
{
    openWindow();
    EXPECT_EQ("0 ", call(getCashLevelInfoTL)); // nothing there
    EXPECT_EQ(Texts{}, of("05 100 SEK"));
    of("100 SEK");
    of("00 20 SEK");
    EXPECT_EQ("0 05 100 SEK", call(getCashLevelInfoTL));
    setLowLevelWarning(LOW_LEVEL_WARNING_FALSE);
    EXPECT_EQ("3|High|100|100 High ( SEK)|0 100 SEK", levelWarningInfo());
    EXPECT_EQ(LOW_LEVEL_WARNING_FALSE, g_nCurrentLowLevelWarningState);
    EXPECT_EQ("1|Empty|20|20 Empty|0 00 20 SEK", levelWarningInfo());
    EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState); // fetching counts as hearing
    EXPECT_EQ("9||||0 ", levelWarningInfo());

    of("BO/WD00000150");
    EXPECT_EQ("0 BO/WD00000150", call(getCashSessionInfoTL));
    of("A jam at place05.", 2);
    EXPECT_EQ("A jam at place05.", errorInfo());
    EXPECT_EQ("", errorInfo());
}

TEST_F(Events, QueuesHoldTheOldestHundredAlsoAfterExit)
{
    openWindow();
    for (int i = 1; i <= 101; ++i) {
        of(compose("05 ", i, " SEK"));
        of(compose("BO/WD", leftPadded(i, 8)));
        of(compose("Error ", i), 2);
        EXPECT_EQ(i <= 100 ? 0 : 2, pushToInformationQueue("Door open")); // nobody fetches these
        const Texts errors = errorLog();
        for (const char* const line :
             {"!! ctllogics.pushToErrorQueue: Error: Max number of errors pushed to queue",
              "!! pushToCashLevelWarningsQueue: Error: Max number of warnings pushed to",
              "!! pushToCashSessionQueue: Error: Max number of sessions pushed to queue",
              "!! pushToInformationQueue: Error: Max number of sessions pushed to queue"})
            EXPECT_EQ(i <= 100 ? 0 : 1, countOf(line, errors)) << i;
    }
    ASSERT_EQ("0 Done", call(exitTL));
    openWindow();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_EQ(compose("0 05 ", i, " SEK"), call(getCashLevelInfoTL));
        EXPECT_EQ(compose("0 BO/WD", leftPadded(i, 8)), call(getCashSessionInfoTL));
        EXPECT_EQ(compose("Error ", i), errorInfo());
    }
    EXPECT_EQ("0 ", call(getCashLevelInfoTL));
    of("", 2);
    EXPECT_EQ(1, countOf("ctllogics.pushToErrorQueue: Empty error text (dont save)", errorLog()));
}
