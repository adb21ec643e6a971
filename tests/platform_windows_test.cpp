// The platform layer on Windows: the library's own file, and log files.
#include "platform/files.h"
#include "platform/modules.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>

TEST(PlatformWindowsModules, PathAndVersionAreThoseOfTheLoadedFile)
{
    const platform::Module library = platform::loadModule("tllogics");
    ASSERT_NE(nullptr, library);
    const std::string path = platform::ownModulePath("tllogics.dll");
    EXPECT_TRUE(std::filesystem::path(path).is_absolute()) << path;
    EXPECT_EQ("tllogics.dll", std::filesystem::path(path).filename());
    EXPECT_EQ(TLLOGICS_VERSION_TEXT, platform::ownModuleVersion("tllogics.dll"));
    EXPECT_TRUE(platform::freeModule(library));
    EXPECT_EQ("", platform::ownModulePath("tllogics.dll"));
}

TEST(PlatformWindowsFiles, LogFilesAreSharedAndReadOnlyOnesBecomeWritable)
{
    const std::string path = scratch::path("a.log");
    platform::AppendFile file = platform::AppendFile::open(path);
    ASSERT_TRUE(file.isOpen());
    const HANDLE other = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(INVALID_HANDLE_VALUE, other);
    CloseHandle(other);
    file.close();

    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
    platform::clearReadOnly(path);
    EXPECT_EQ(0U, GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY);
}
