// Hostile places: wherever the logs, the files, the communication library or the window are, a sale goes on,
// and what can't be written is lost without a word.
#include "environment.h"
#include "library_test.h"

#include "diag/log.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

void limit(decltype(RLIMIT_NOFILE) resource, rlim_t most)
{
    rlimit limits{};
    ASSERT_EQ(0, getrlimit(resource, &limits));
    limits.rlim_cur = most;
    ASSERT_EQ(0, setrlimit(resource, &limits));
}

class Places : public LibraryTest {
protected:
    /// From link to link.
    void sell()
    {
        device.behaveWell();
        device.on("a").says(10, head('a', 1000, 0));
        open();
        ASSERT_EQ("0 Done", call(payoutTL, 300, 1000, "T1"));
        ASSERT_EQ("0 Done", call(exitTL));
    }

    /// The log is opened anew, there.
    static void logTo(const std::string& place)
    {
        setEnvironment("TLLOGS", place);
        const std::lock_guard lock(g_logLock);
        g_pLogFiles.reset();
        g_pFormerLogFiles.reset();
    }
};

} // namespace

TEST_F(Places, LogsThatCantBeWrittenAreLost)
{
    scratch::write("file", "mine");
    for (const std::string& place :
         {scratch::path("no/such/place"), std::string("/proc/self"), scratch::path("file"),
          std::string("/dev/full"), std::string(5000, 'x')}) {
        SCOPED_TRACE(place);
        logTo(place);
        sell();
    }
    EXPECT_EQ("mine", scratch::read("file"));
}

TEST_F(Places, WhatStandsInTheLogsPlacesStays)
{
    fs::create_directories(scratch::path("taken/tlapi_Sun.log"));
    ASSERT_EQ(0, mkfifo(scratch::path("taken/tllogic_Sun.log").c_str(), 0600));
    fs::create_symlink("/dev/full", scratch::path("taken/tlerror_Nov.log"));
    logTo(scratch::path("taken"));
    sell();
    EXPECT_TRUE(fs::is_directory(scratch::path("taken/tlapi_Sun.log")));
    EXPECT_TRUE(fs::is_fifo(scratch::path("taken/tllogic_Sun.log")));
}

TEST_F(Places, ALogThatIsRemovedIsMadeAnewWithTheNextLink)
{
    sell();
    fs::remove_all(scratch::path("logs"));
    sell(); // up to the next opening, lines go to what nobody sees any more
    EXPECT_TRUE(fs::exists(scratch::path("logs/tllogic_Sun.log")));
}

TEST_F(Places, AFullDiskTakesNoMoneyAndGivesTheLogBack)
{
    signal(SIGXFSZ, SIG_IGN); // a limit says so by a signal, a full disk doesn't
    const auto before = static_cast<rlim_t>(fs::file_size(scratch::path("logs/tllogic_Sun.log")));
    limit(RLIMIT_FSIZE, before + 100);
    sell();
    limit(RLIMIT_FSIZE, RLIM_INFINITY);
    EXPECT_EQ(before + 100, fs::file_size(scratch::path("logs/tllogic_Sun.log")));
    sell();
    EXPECT_LT(before + 5000, fs::file_size(scratch::path("logs/tllogic_Sun.log")));
}

TEST_F(Places, WithoutDescriptorsOnlyTheLogSuffers)
{
    rlimit all{};
    getrlimit(RLIMIT_NOFILE, &all);
    if (MEMORY_TELLS) // a sanitizer looks at memory through descriptors
        limit(RLIMIT_NOFILE, 3);
    sell();
    limit(RLIMIT_NOFILE, all.rlim_cur);
    EXPECT_EQ("0 Done", call(registerHwndTL, nobody));
}

TEST_F(Places, FilesThatArentSettingsReadAsNone)
{
    setEnvironment("TLCONFIG", scratch::path("config"));
    fs::create_directories(scratch::path("config"));
    const auto everyKind = [](const std::string& path) {
        return std::vector<std::function<void()>>{
            [path] { fs::create_directory(path); },
            [path] { ASSERT_EQ(0, mkfifo(path.c_str(), 0600)); },
            [path] { fs::create_symlink("/dev/zero", path); },
            [path] {
                std::ofstream(path) << "[Operation]\nPayOutOkCheck=1\n";
                fs::resize_file(path, 5'000'000'000);
            },
            [path] {
                std::ofstream stream(path, std::ios::binary);
                for (int i = 0; i < 100'000; ++i)
                    stream << static_cast<char>(i * 7919 >> 3);
            },
        };
    };
    for (const char* const name : {"config/tllogics.ini", "config/tllang.ini"}) {
        for (const auto& make : everyKind(scratch::path(name))) {
            make();
            sell();
            fs::remove_all(scratch::path(name));
        }
    }
}

TEST_F(Places, ALibraryThatAnswersWithNothingOrGarbageMovesNothing)
{
    open();
    for (const std::string& answer : {std::string(), std::string(1, '\0'), std::string(80, '#'),
                                      std::string(ScriptedOstrivane::BUFFER, '#')}) {
        ostrivane().onCommand = [&](const std::string&) { return answer; };
        device.say(head('a', 1000, 0));
        EXPECT_EQ("7 Send failed", call(payoutTL, 300, 1000, "T1"));
    }
    ostrivane().onCommand = [](const std::string&) { return "f|0"; };
    EXPECT_EQ("6 Timed out", call(payoutTL, 300, 1000, "T1")); // and says nothing more, ever
}

TEST_F(Places, AWindowThatIsFullOrGoneHoldsNobodyUp)
{
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, ends));
    ASSERT_EQ("0 Done",
              call(registerHwndTL, reinterpret_cast<TLWindowHandle>(static_cast<std::intptr_t>(ends[0]))));
    ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
    const auto pour = [&] {
        for (int n = 0; n < 1000; ++n)
            device.say(head('a', n, 0));
    };
    pour(); // nobody reads
    std::array<char, 24> record{};
    EXPECT_EQ(24, recv(ends[1], record.data(), record.size(), MSG_DONTWAIT));
    close(ends[1]);
    pour();
    close(ends[0]);
    pour();
    EXPECT_EQ("0 Done", call(exitTL));
}

TEST_F(Places, AForkOfTheHostLeavesTheTillItsLinkAndItsLog)
{
    open();
    const pid_t child = fork();
    if (child == 0) {
        std::array<char, 1024> message{};
        std::uint32_t isOpen = 0;
        _exit(isOpenTL(&isOpen, message.data()) == TL_STATUS_OK && isOpen == 1 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    device.say(head('a', 1000, 0));
    EXPECT_EQ("0 Done", call(payoutTL, 300, 1000, "T1"));
    EXPECT_EQ(1, countOf("=> isOpenTL(", apiLog()));
}
