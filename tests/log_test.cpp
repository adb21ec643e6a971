// The log files: what becomes of them as time goes by.
#include "library_test.h"

#include "diag/log.h"
#include "environment.h"

namespace {

using namespace std::chrono;

constexpr sys_days MONDAY = 2026y / November / 23;
constexpr sys_days NEXT_MONDAY = 2026y / November / 30;

class LogFiles : public LibraryTest {
protected:
    void SetUp() override {} // the lines of the load count

    /// The first line at this date and time opens that day's files.
    void logAt(sys_time<milliseconds> dateAndTime)
    {
        virtual_clock::set(dateAndTime);
        for (const LogFile file : {LOG_FILE_API, LOG_FILE_LOGIC, LOG_FILE_ERROR})
            logLine("hello", LOG_NOTE, file);
    }

    /// All of a file as it is, with plain line ends.
    static std::string whole(const std::string& file)
    {
        std::string text = scratch::read("logs/" + file);
        std::erase(text, '\r');
        return text;
    }
};

} // namespace

TEST_F(LogFiles, TheFirstLineAfterMidnightOpensTheNextDays)
{
    apiLog();
    logAt(MONDAY - 1ms);
    EXPECT_EQ(Texts{"## hello"}, apiLog());
    logAt(MONDAY);
    EXPECT_EQ("w47 00:00:00.000 ## hello\n", whole("tlapi_Mon.log"));
    EXPECT_EQ("w47 00:00:00.000 ## hello\n", whole("tllogic_Mon.log"));
    EXPECT_EQ("2026-11-22 Sun w46 23:59:59.999 ## hello\n2026-11-23 Mon w47 00:00:00.000 ## hello\n",
              whole("tlerror_Nov.log"));
    EXPECT_EQ(Texts{}, apiLog());
    logAt(sys_days{2027y / January / 1} + 8h + 9min + 10s + 11ms);
    EXPECT_EQ("w00 08:09:10.011 ## hello\n", whole("tlapi_Fri.log"));
    EXPECT_EQ("2027-01-01 Fri w00 08:09:10.011 ## hello\n", whole("tlerror_Jan.log"));
}

TEST_F(LogFiles, OldFilesAreEmptiedAtTheirFirstUse)
{
    const std::vector<std::pair<std::string, bool>> weeks{{"w47 10:00:00.000 ## kept\n", true},
                                                          {"w46 10:00:00.000 ## old\n", false},
                                                          {"w4 10:00:00.000 ## old\n", false},
                                                          {"W47 10:00:00.000 ## odd\n", false},
                                                          {"w047 ## kept\n", true},
                                                          {"w\n", true},
                                                          {"", true}};
    for (const auto& [content, kept] : weeks) {
        logAt(MONDAY - 12h);
        scratch::write("logs/tlapi_Mon.log", content);
        scratch::write("logs/tllogic_Mon.log", content);
        logAt(MONDAY + 12h);
        for (const char* const file : {"tlapi_Mon.log", "tllogic_Mon.log"})
            EXPECT_EQ((kept ? content : "") + "w47 12:00:00.000 ## hello\n", whole(file)) << content;
    }
    const std::vector<std::pair<std::string, bool>> years{{"2026-12-01 Tue w48 ## kept\n", true},
                                                          {"2025-12-31 Wed w52 ## old\n", false},
                                                          {"w48 ## odd\n", false}};
    for (const auto& [content, kept] : years) {
        logAt(NEXT_MONDAY);
        scratch::write("logs/tlerror_Dec.log", content);
        logAt(NEXT_MONDAY + days{2});
        EXPECT_EQ((kept ? content : "") + "2026-12-02 Wed w48 00:00:00.000 ## hello\n",
                  whole("tlerror_Dec.log"));
    }
}

TEST_F(LogFiles, EachGateShutsItsKind)
{
    const std::vector<std::pair<std::atomic<bool>*, std::string>> gates{{&g_bLogCRToCAPI, "=> text"},
                                                                        {&g_bLogCAPIToCR, "<= text"},
                                                                        {&g_bLogCAPIToCom, "-> text"},
                                                                        {&g_bLogComToCAPI, "<- text"},
                                                                        {&g_bLogDebug, "== text"}};
    forget();
    for (const auto& [gate, shut] : gates) {
        *gate = false;
        Texts expected{"=> text", "<= text", "-> text", "<- text",
                       "== text", "!! text", "!! text", "## text"};
        std::erase(expected, shut);
        for (int kind = LOG_APP_IN; kind <= LOG_NOTE; ++kind)
            logLine("text", static_cast<LogKind>(kind), LOG_FILE_ERROR);
        EXPECT_EQ(expected, errorLog()) << shut;
        *gate = true;
    }
}

TEST_F(LogFiles, AnAddressNamesASubfolder)
{
    registerEvents();
    apiLog();
    EXPECT_EQ("0 Done", call(initTL, "Type:RS232;Name:10.0.0.7:4001;", ""));
    EXPECT_EQ(Texts{"=> initTL(Type:RS232;Name:10.0.0.7:4001;, , message)"}, apiLog());
    EXPECT_EQ(Texts{"== initTL: Ok! Returning 0 (TL_STATUS_OK): Done"}, lines("10.0.0.7/tlapi_Sun.log"));
    const std::string longName = "h." + std::string(200, 'n');
    const std::vector<std::pair<std::string, std::string>> rows{
        {"COM7", "10.0.0.7"}, {"../10.0.0.8", "10.0.0.7"}, {longName, longName.substr(0, 103)}};
    for (const auto& [name, folder] : rows) {
        setLogSubfolder(name);
        logLine("in " + name, LOG_NOTE, LOG_FILE_API);
        EXPECT_EQ(1, countOf("## in " + name, lines(folder + "/tlapi_Sun.log"))) << name;
    }
}

TEST_F(LogFiles, DirectoriesThatCannotBeMadeAreTriedAgainAtEveryLine)
{
    setEnvironment("TLLOGS", scratch::path("late/logs"));
    logAt(MONDAY + 12h);
    std::filesystem::create_directory(scratch::path("late"));
    logAt(MONDAY + 12h + 1s);
    setEnvironment("TLLOGS", ""); // the other name for it
    closeLogFiles();
    logLine("lost", LOG_NOTE, LOG_FILE_API); // closed until the date changes
    setEnvironment("LOGFILE", scratch::path("other"));
    std::filesystem::create_directories(scratch::path("other/tlapi_Tue.log")); // can't be opened
    logAt(MONDAY + days{1});
    EXPECT_EQ("w47 12:00:01.000 ## hello\n", whole("../late/logs/tlapi_Mon.log"));
    EXPECT_EQ("w47 00:00:00.000 ## hello\n", whole("../other/tllogic_Tue.log"));
}
