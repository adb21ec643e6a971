// The platform layer on Linux: what protects the log files, the record of a post, and how the
// library finds its own file.
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/messages.h"
#include "platform/profile.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>

namespace {

using platform::LogOpening;

mode_t modeOf(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void* windowOf(int descriptor)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

} // namespace

TEST(PlatformPosixFiles, LogFilesArePrivateAndNeverALinkOrAPipe)
{
    umask(0);
    std::FILE* file = platform::openLogFile(scratch::path("a.log"), LogOpening::Append);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::fclose(file);
    EXPECT_EQ(modeOf(scratch::path("a.log")), 0600U);

    const std::string precious = scratch::write("precious", "content");
    std::filesystem::create_symlink(precious, scratch::path("link"));
    std::filesystem::create_symlink(scratch::path("nothing"), scratch::path("dangling"));
    ASSERT_EQ(mkfifo(scratch::path("pipe").c_str(), 0600), 0);
    for (const std::string& path : {scratch::path("link"), scratch::path("dangling"), scratch::path("pipe"),
                                    std::string("/dev/null")}) {
        EXPECT_EQ(platform::openLogFile(path, LogOpening::Append), nullptr) << path;
        EXPECT_EQ(platform::openLogFile(path, LogOpening::Empty), nullptr) << path;
    }
    EXPECT_EQ(scratch::read("precious"), "content");
    EXPECT_FALSE(std::filesystem::exists(scratch::path("nothing")));
    EXPECT_FALSE(platform::canRead(scratch::path("pipe")));
    EXPECT_TRUE(platform::canRead(scratch::path("link")));
}

TEST(PlatformPosixFiles, OnlyTheOwnersWritePermissionIsAdded)
{
    const std::string path = scratch::write("readonly.log", "");
    std::filesystem::create_symlink(path, scratch::path("readonly"));
    chmod(path.c_str(), 0444);
    platform::clearReadOnly(scratch::path("readonly"));
    EXPECT_EQ(modeOf(path), 0444U);
    platform::clearReadOnly(path);
    EXPECT_EQ(modeOf(path), 0644U);
}

TEST(PlatformPosixProfile, WhatIsNoSettingsFileIsAbsent)
{
    const std::string huge = scratch::write("huge.ini", "[S]\nK=5\n");
    ASSERT_EQ(truncate(huge.c_str(), 100 * 1024 * 1024), 0);
    ASSERT_EQ(mkfifo(scratch::path("pipe.ini").c_str(), 0600), 0);
    EXPECT_EQ(platform::profileInt("S", "K", huge), -1);
    EXPECT_EQ(platform::profileInt("S", "K", scratch::path("pipe.ini")), -1);
}

TEST(PlatformPosixMessages, APostIsOneRecordAndNeverWaits)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    platform::postWindowMessage(windowOf(ends[0]), 0xC004, 0x8000000000000001U, -2);
    const unsigned char expected[24] = {0x04, 0xC0, 0, 0,    0,    0,    0,    0,    1,    0,    0,    0,
                                        0,    0,    0, 0x80, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    unsigned char received[64] = {};
    ASSERT_EQ(recv(ends[1], received, sizeof received, MSG_DONTWAIT), 24);
    EXPECT_EQ(std::memcmp(received, expected, sizeof expected), 0);

    // A reader that doesn't read, one that has gone, and what isn't a socket.
    for (int i = 0; i < 10000; ++i)
        platform::postWindowMessage(windowOf(ends[0]), 0xC000, 0, 0);
    for (const int end : {ends[1], ends[0]}) {
        close(end);
        platform::postWindowMessage(windowOf(ends[0]), 0xC000, 0, 0);
    }
}

TEST(PlatformPosixClock, AnInterruptedSleepIsOver)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ASSERT_EQ(sigaction(SIGALRM, &action, nullptr), 0);
    const itimerval soon{{0, 0}, {0, 50'000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    const auto start = std::chrono::steady_clock::now();
    platform::sleepMilliseconds(10'000);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(PlatformPosixModules, TheLibraryKnowsWhereItWasLoadedFromAndUnloads)
{
    const std::string built = std::string(TLLOGICS_BUILD_DIR) + "/libplatform_probe.so";
    std::filesystem::create_directory(scratch::path("original"));
    std::filesystem::copy_file(built, scratch::path("original/probe.so"));
    std::filesystem::create_directory_symlink(scratch::path("original"), scratch::path("linked"));

    std::filesystem::current_path(scratch::path(""));
    const std::string here = std::filesystem::current_path().string();
    for (const std::string& path : {std::string("./linked/probe.so"), here + "/linked/probe.so"}) {
        std::filesystem::current_path(here);
        void* probe = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(probe, nullptr) << dlerror();
        std::filesystem::current_path("/");
        const auto probePath = reinterpret_cast<const char* (*)()>(dlsym(probe, "probePath"));
        const auto probeVersion = reinterpret_cast<const char* (*)()>(dlsym(probe, "probeVersion"));
        EXPECT_EQ(probePath(), here + "/linked/probe.so");
        EXPECT_STREQ(probeVersion(), TLLOGICS_VERSION_TEXT);
        dlclose(probe);
        EXPECT_EQ(dlopen((here + "/linked/probe.so").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
    }
}
