// The platform layer on Linux: what protects the log files, the record of a post, and how the
// library finds its own file.
#include "platform/clock.h"
#include "platform/file_reading.h"
#include "platform/files.h"
#include "platform/messages.h"
#include "platform/modules.h"
#include "platform/profile.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <memory>

namespace {

mode_t modeOf(const std::string& name)
{
    struct stat status = {};
    return lstat(scratch::path(name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void* handleOf(int descriptor)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

bool opens(const std::string& name)
{
    return platform::AppendFile::open(scratch::path(name)).isOpen();
}

} // namespace

TEST(PlatformPosixFiles, LogFilesArePrivateAndRegular)
{
    umask(0);
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(next);
    const platform::AppendFile file = platform::AppendFile::open(scratch::path("a.log"));
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(FD_CLOEXEC, fcntl(next, F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(0600U, modeOf("a.log"));

    ASSERT_EQ(0, mkfifo(scratch::path("pipe").c_str(), 0600));
    EXPECT_FALSE(opens("pipe"));
    EXPECT_FALSE(platform::canRead(scratch::path("pipe")));
    EXPECT_EQ(-1, platform::Profile(scratch::path("pipe")).number("S", "K"));
}

TEST(PlatformPosixFiles, WhereOthersCouldPutFilesOnlyTheOwnersOwnAreTaken)
{
    using std::filesystem::create_symlink;
    scratch::write("precious", "content");
    for (const std::string name : {"own", "open"}) {
        scratch::write(name + "/plain.log", "");
        scratch::write(name + "/second.log", "");
        create_symlink(scratch::path("precious"), scratch::path(name + "/link.log"));
        link(scratch::path(name + "/second.log").c_str(), scratch::path(name + "/name.log").c_str());
    }
    chmod(scratch::path("own").c_str(), 0755);
    chmod(scratch::path("open").c_str(), 01777);
    create_symlink(scratch::path("own"), scratch::path("open/led")); // a good place, by way of a bad one
    for (const char* const file : {"own/plain.log", "own/link.log", "own/name.log", "open/plain.log",
                                   "open/new.log", "open/led/plain.log"})
        EXPECT_TRUE(opens(file)) << file;
    for (const char* const file :
         {"open/link.log", "open/name.log", "open/led/link.log", "open/led//name.log"}) {
        EXPECT_FALSE(opens(file)) << file;
        platform::AppendFile::empty(scratch::path(file));
    }
    EXPECT_EQ("content", scratch::read("precious"));

    chmod(scratch::path("own").c_str(), 0311); // files can be put there and not listed
    EXPECT_TRUE(opens("own/plain.log"));

    if (geteuid() == 0) { // somebody else's, in a directory of somebody else's
        scratch::write("their/a.log", "");
        EXPECT_EQ(0, chown(scratch::path("their/a.log").c_str(), 12345, 12345));
        EXPECT_TRUE(opens("their/a.log"));
        EXPECT_EQ(0, chown(scratch::path("their").c_str(), 12345, 12345));
        EXPECT_FALSE(opens("their/a.log"));
    }

    // The owner's write permission alone is added, and not through such a link.
    chmod(scratch::path("precious").c_str(), 0444);
    platform::clearReadOnly(scratch::path("open/link.log"));
    EXPECT_EQ(0444U, modeOf("precious"));
    platform::clearReadOnly(scratch::path("precious"));
    EXPECT_EQ(0644U, modeOf("precious"));
}

TEST(PlatformPosixClock, ASignalDoesNotShortenASleep)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
    const itimerval often{{0, 5000}, {0, 5000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto start = std::chrono::steady_clock::now();
    platform::sleepMilliseconds(60);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
}

TEST(PlatformPosixMessages, APostIsOneRecordAndNeverWaits)
{
    EXPECT_EQ(0xC004U, platform::registerWindowMessage("WM_TL_CALLBACK_STATUS", 0xC004U));

    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, ends));
    auto window = std::make_unique<platform::Window>(handleOf(ends[0]));
    window->post(0xC004, 0x8000000000000001U, -2);
    const unsigned char expected[24] = {0x04, 0xC0, 0, 0,    0,    0,    0,    0,    1,    0,    0,    0,
                                        0,    0,    0, 0x80, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    unsigned char received[64] = {};
    ASSERT_EQ(24, recv(ends[1], received, sizeof received, MSG_DONTWAIT));
    EXPECT_EQ(0, std::memcmp(received, expected, sizeof expected));

    // The application closes its end, and the number becomes somebody else's.
    int others[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, others));
    ASSERT_EQ(ends[0], dup2(others[0], ends[0]));
    window->post(0xC001, 0, 0);
    EXPECT_EQ(24, recv(ends[1], received, sizeof received, MSG_DONTWAIT));
    EXPECT_EQ(-1, recv(others[1], received, sizeof received, MSG_DONTWAIT));

    // Standard input is closed: what takes its place isn't the socket.
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    const platform::Window beside(handleOf(ends[0]));
    EXPECT_EQ(-1, fcntl(STDIN_FILENO, F_GETFD));
    dup2(input, STDIN_FILENO);

    // A reader that doesn't read, one that has gone, and what isn't a socket.
    for (int i = 0; i < 10000; ++i)
        window->post(0xC000, 0, 0);
    window.reset();
    while (recv(ends[1], received, sizeof received, MSG_DONTWAIT) > 0)
        ;
    EXPECT_EQ(EAGAIN, errno);
    const platform::Window left(handleOf(others[0]));
    close(others[1]);
    left.post(0xC000, 0, 0);
    platform::Window(handleOf(12345)).post(0xC000, 0, 0);
}

TEST(PlatformPosixModules, LibrariesKnowWhereTheyWereLoadedFromAndUnload)
{
    std::filesystem::create_directory_symlink(TLLOGICS_BUILD_DIR, scratch::path("linked"));
    std::filesystem::current_path(scratch::path(""));
    const std::string path = std::filesystem::current_path().string() + "/linked/libplatform_probe.so";
    void* probe = dlopen("./linked/libplatform_probe.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, probe) << dlerror();
    std::filesystem::current_path("/");
    const auto probePath = reinterpret_cast<const char* (*)()>(dlsym(probe, "probePath"));
    const auto probeVersion = reinterpret_cast<const char* (*)()>(dlsym(probe, "probeVersion"));
    EXPECT_EQ(path, probePath());
    EXPECT_STREQ(TLLOGICS_VERSION_TEXT, probeVersion());
    dlclose(probe);
    EXPECT_EQ(nullptr, dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD));

    EXPECT_TRUE(platform::freeModule(platform::loadModule("tllogics")));
    EXPECT_EQ(nullptr, dlopen("libtllogics.so", RTLD_NOW | RTLD_NOLOAD));
}

TEST(PlatformPosixModules, ExceptionsFindTheirWayWhileLibrariesComeAndGo)
{
    const auto load = [](const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); };
    void* const others[] = {load("libtllogics.so"), load("libresolv.so.2")};
    void* const probe = load("libplatform_probe.so");
    ASSERT_NE(nullptr, probe) << dlerror();
    const auto probeThrow = reinterpret_cast<int (*)(int)>(dlsym(probe, "probeThrow"));
    EXPECT_EQ(3, probeThrow(3));
    for (void* const other : others) {
        ASSERT_NE(nullptr, other);
        EXPECT_EQ(0, dlclose(other));
        EXPECT_EQ(5, probeThrow(5));
    }
    dlclose(probe);
    EXPECT_THROW(throw std::runtime_error("thrown"), std::runtime_error);
}
