// The platform layer on Linux: what protects the log files, the record of a post, and how the
// library finds its own file.
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
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace {

using platform::LogOpening;

mode_t modeOf(const std::string& name)
{
    struct stat status = {};
    return lstat(scratch::path(name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void post(int descriptor, std::uint32_t message, std::uint64_t first, std::int64_t second)
{
    platform::postWindowMessage(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), message,
                                first, second);
}

} // namespace

TEST(PlatformPosixFiles, LogFilesArePrivateAndNeverALinkOrAPipe)
{
    umask(0);
    std::FILE* file = platform::openLogFile(scratch::path("a.log"), LogOpening::Append);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::fclose(file);
    EXPECT_EQ(modeOf("a.log"), 0600U);

    const std::string precious = scratch::write("precious", "content");
    std::filesystem::create_symlink(precious, scratch::path("link"));
    std::filesystem::create_symlink(scratch::path("nothing"), scratch::path("dangling"));
    ASSERT_EQ(mkfifo(scratch::path("pipe").c_str(), 0600), 0);
    for (const char* name : {"link", "dangling", "pipe"})
        for (const LogOpening opening : {LogOpening::Append, LogOpening::Empty})
            EXPECT_EQ(platform::openLogFile(scratch::path(name), opening), nullptr) << name;
    EXPECT_EQ(scratch::read("precious"), "content");
    EXPECT_FALSE(std::filesystem::exists(scratch::path("nothing")));
    EXPECT_FALSE(platform::canRead(scratch::path("pipe")));
    EXPECT_EQ(platform::profileInt("S", "K", scratch::path("pipe")), -1);

    // The owner's write permission alone is added, and not through a link.
    chmod(precious.c_str(), 0444);
    platform::clearReadOnly(scratch::path("link"));
    EXPECT_EQ(modeOf("precious"), 0444U);
    platform::clearReadOnly(precious);
    EXPECT_EQ(modeOf("precious"), 0644U);
}

TEST(PlatformPosixMessages, APostIsOneRecordAndNeverWaits)
{
    EXPECT_EQ(platform::registerWindowMessage("WM_TL_CALLBACK_CASHLEVEL"), 0xC000U);
    EXPECT_EQ(platform::registerWindowMessage("WM_TL_CALLBACK_STATUS"), 0xC004U);
    EXPECT_EQ(platform::registerWindowMessage("WM_TL_CALLBACK_OTHER"), 0U);

    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    post(ends[0], 0xC004, 0x8000000000000001U, -2);
    const unsigned char expected[24] = {0x04, 0xC0, 0, 0,    0,    0,    0,    0,    1,    0,    0,    0,
                                        0,    0,    0, 0x80, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    unsigned char received[64] = {};
    ASSERT_EQ(recv(ends[1], received, sizeof received, MSG_DONTWAIT), 24);
    EXPECT_EQ(std::memcmp(received, expected, sizeof expected), 0);

    // A reader that doesn't read, one that has gone, and what isn't a socket.
    for (int i = 0; i < 10000; ++i)
        post(ends[0], 0xC000, 0, 0);
    for (const int end : {ends[1], ends[0]}) {
        close(end);
        post(ends[0], 0xC000, 0, 0);
    }
}

TEST(PlatformPosixModules, LibrariesKnowWhereTheyWereLoadedFromAndUnload)
{
    std::filesystem::create_directory_symlink(TLLOGICS_BUILD_DIR, scratch::path("linked"));
    std::filesystem::current_path(scratch::path(""));
    const std::string path = std::filesystem::current_path().string() + "/linked/libplatform_probe.so";
    void* probe = dlopen("./linked/libplatform_probe.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(probe, nullptr) << dlerror();
    std::filesystem::current_path("/");
    const auto probePath = reinterpret_cast<const char* (*)()>(dlsym(probe, "probePath"));
    const auto probeVersion = reinterpret_cast<const char* (*)()>(dlsym(probe, "probeVersion"));
    EXPECT_EQ(probePath(), path);
    EXPECT_STREQ(probeVersion(), TLLOGICS_VERSION_TEXT);
    dlclose(probe);
    EXPECT_EQ(dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);

    EXPECT_TRUE(platform::freeModule(platform::loadModule("tllogics")));
    EXPECT_EQ(dlopen("libtllogics.so", RTLD_NOW | RTLD_NOLOAD), nullptr);
}
