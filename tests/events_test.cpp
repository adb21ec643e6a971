// What reaches the application: level texts as numbers and words, the filter, cut texts, queues of a window.
#include "till.h"

#include "config/settings.h"

namespace {

// Nobody's handle on either platform: what is posted to it is lost.
const TLWindowHandle nobody = reinterpret_cast<TLWindowHandle>(std::intptr_t{99999});

class Events : public Till {
protected:
    /// The events of a "b" that has this text and nothing else to tell.
    Texts of(const std::string& text)
    {
        device.say(head('a', 0, 0));
        happened();
        device.say(head('b', 0, 0, 1, text));
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
        {2, "12 20 SEK", "2000 12", "2 Low 20 20 Low (12 Left)"},
        {2, "00 0,50 SEK", "50 0", "1 Empty 0,50 0,50 Empty"},
        {2, "00 1,50 SEK", "50 0", "1 Empty 1,50 1,50 Empty"}, // the second character alone decides
        {2, "03 10,50 SEK", "1000 3", "2 Low 10,50 10,50 Low (3 Left)"},
        {2, "100 SEK  ", "10000 999", "3 High 100 100 High ( SEK)"},
        {0, "100 SEK", "100 999", "3 High 100 100 High ( SEK)"},
        {3, "09 5/6 x", "5000 9", "2 Low 5/6 5/6 Low (9 Left)"},
        {-1, "05 7 ", "7 5", "2 Low 7 7 Low (5 Left)"},
    };
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
    const std::string noDenomination =
        "!! ctllogics.getDenomination: strDenomination conversion failed (denom=0), strDenomination = ";
    const std::string failed = "!! getCashLevels: getDenomination failed";
    const std::string noNumber = "!! getCashLevels: strNumberOf conversion failed";
    const std::vector<std::pair<const char*, Texts>> rows{
        {"50 SEK", {noDenomination, failed}}, // the space at that place makes it a low text
        {"00 0,00 SEK", {noDenomination + "\"00\", message = \"00 0,00 SEK\".", failed}},
        {"0x 100 SEK", {noNumber}},
        {"0  100 SEK", {noNumber}},
        {"-- 100 SEK", {noNumber}},
        {"00 100", {failed}}, // nothing behind the denomination
        {"00 5, SEK", {failed}},
        {"12", {failed}},
        {"00 ", {failed}},
        {"1", {}},
        {"", {}},
    };
    open();
    for (const auto& [text, lines] : rows) {
        g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
        errorLog();
        EXPECT_EQ(Texts{}, of(text)) << text;
        EXPECT_EQ(lines, errorLog()) << text;
        EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState) << text;
    }
}

TEST_F(Events, SessionAndErrorTexts)
{
    open();
    const std::vector<std::pair<const char*, Texts>> sessions{
        {"BO/WD00000150", {"session 0 150 BO/WD00000150"}},
        {"BO/RF000012xx9", {"session 1 12 BO/RF000012xx9"}},
        {"CR/WD", {"session 2 0 CR/WD"}},
        {"CR/RF-0000005", {"session 3 -5 CR/RF-0000005"}},
        {"Tellarion 00000099 and more", {"session 4 0 Tellarion 00000099 "}}, // cut to its room
        {"Tell", {}},
        {"XY/WD00000001", {}},
    };
    for (const auto& [text, events] : sessions)
        EXPECT_EQ(events, of(text)) << text;
    EXPECT_EQ(2, countOf("!! getSessionInfo: Unknown infoType", errorLog()));

    const std::vector<std::tuple<std::string, int, Texts>> errors{
        {"A jam at place05.", 5, {}},
        {"A jam at place 5", 5, {}},
        {"A jam at place00", 0, {}},
        {"A jam at place", 0, {"!! getErrorCode: wrong message length: A jam at place"}},
        {"A jam at placexx", 0, {"!! getErrorCode: errCode atoi-conversion failed"}},
        {"A jam at place-5", 0, {"!! getErrorCode: invalid errorCode from: A jam at place-5"}}};
    for (auto [text, code, lines] : errors) {
        device.say(head('a', 0, 0));
        forget();
        device.say(head('b', 0, 2, 1, text));
        EXPECT_EQ(compose("error ", code, " ", text, " ErrorInfo Not set"), happened().back());
        lines.push_back(
            compose("!! ErrorEvent: errorCode=", code, ", errorText=", text, ", extInfo=ErrorInfo Not set"));
        EXPECT_EQ(lines, errorLog());
    }
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
    device.say(head('b', 0, 2, 1, filler));
    EXPECT_EQ("error 0 " + filler.substr(0, 127) + " ErrorInfo Not set", happened().back());
}

TEST_F(Events, FilterSilencesADenominationFromItsDateOn)
{
    open();
    const std::vector<std::pair<const char*, bool>> rows{
        {"20261122:10000", true},
        {"20261123:10000", false},
        {"20200101:10000", true},
        {"20261122:100", false}, // in the smallest unit
        {"2026112:10000", false},
        {"2026112:10000,20261122:10000", true},
        {"20261122:2000,20991231:10000,20261122:10000x", true},
        {"20261122", false},
        {",20261122:10000", false},
        {"20261122:10000,", true},
        {"20261122:,20261122:10000", true},
    };
    for (const auto& [filter, filtered] : rows) {
        ASSERT_EQ("0 Done", call(changeSettingsTL, compose("LevelWarningFilter:", filter).c_str(), 0));
        g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
        EXPECT_EQ(filtered, of("05 100 SEK").empty()) << filter;
        EXPECT_EQ(filtered, of("100 SEK").empty()) << filter;
        EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState); // silenced is not forgotten
    }
}

TEST_F(Events, AWindowFetchesItsTexts)
{
    openWindow();
    EXPECT_EQ("0 ", call(getCashLevelInfoTL)); // nothing there
    EXPECT_EQ(Texts{"!! retrieveFromCashLevelWarningsQueue: Queue is empty"}, errorLog());
    EXPECT_EQ(Texts{}, of("05 100 SEK"));
    const Texts lines = apiLog();
    EXPECT_EQ((Texts{"<= CashLevelEvent: denomination=10000, numberOf=5, extInfo=05 100 SEK",
                     "<= LevelWarningEvent: warningType=2, denomination=10000, numberOf=5, typeString=Low, "
                     "denominationString=100, warningMessage=100 Low (5 Left), extInfo=05 100 SEK"}),
              Texts(lines.end() - 2, lines.end()));
    of("100 SEK");
    of("00 20 SEK");
    EXPECT_EQ("0 05 100 SEK", call(getCashLevelInfoTL));
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
    EXPECT_EQ("3|High|100|100 High ( SEK)|0 100 SEK", levelWarningInfo());
    EXPECT_EQ(LOW_LEVEL_WARNING_FALSE, g_nCurrentLowLevelWarningState);
    EXPECT_EQ("1|Empty|20|20 Empty|0 00 20 SEK", levelWarningInfo());
    EXPECT_EQ(LOW_LEVEL_WARNING_TRUE, g_nCurrentLowLevelWarningState); // fetching counts as hearing
    EXPECT_EQ("== getLevelWarningInfoTL: Ok! Returning 0 (TL_STATUS_OK): 1, 20, 20 Empty, extInfo=00 20 SEK, "
              "chWarningMessage=20 Empty",
              apiLog().back());
    EXPECT_EQ("9||||0 ", levelWarningInfo());

    of("BO/WD00000150");
    EXPECT_EQ("0 BO/WD00000150", call(getCashSessionInfoTL));
    device.say(head('b', 0, 2, 1, "A jam at place05."));
    EXPECT_EQ("A jam at place05.", errorInfo());
    EXPECT_EQ("", errorInfo());
}

TEST_F(Events, QueuesHoldTheOldestHundredAlsoAfterExit)
{
    openWindow();
    for (int i = 1; i <= 101; ++i) {
        of(compose("05 ", i, " SEK"));
        of(compose("BO/WD", leftPadded(i, 8)));
        device.say(head('b', 0, 2, 1, compose("Error ", i)));
        EXPECT_EQ(i <= 100 ? 0 : 3, countOf("Error: Max number of", errorLog()));
    }
    device.say(head('a', 0, 0));
    device.say(head('b', 0, 2));
    ASSERT_EQ("0 Done", call(exitTL));
    openWindow();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_EQ(compose("0 05 ", i, " SEK"), call(getCashLevelInfoTL));
        EXPECT_EQ(compose("0 BO/WD", leftPadded(i, 8)), call(getCashSessionInfoTL));
        EXPECT_EQ(compose("Error ", i), errorInfo());
    }
    EXPECT_EQ("0 ", call(getCashLevelInfoTL));
    device.say(head('a', 0, 0));
    device.say(head('b', 0, 2));
    EXPECT_EQ(1, countOf("ctllogics.pushToErrorQueue: Empty error text (dont save)", errorLog()));
    g_nApiVersionKind = 1;
    for (int i = 1; i <= 101; ++i)
        of(compose("3000003", leftPadded(i, 3))); // nobody fetches these
    EXPECT_EQ(1,
              countOf("pushToInformationQueue: Error: Max number of sessions pushed to queue", errorLog()));
}
