// How often the settings file is opened, which the system tells.
#include "library_test.h"

#include "environment.h"

#include <sys/inotify.h>
#include <unistd.h>

TEST_F(LibraryTest, TheSettingsFileIsOpenedOnce)
{
    const std::string path = scratch::write("config/tllogics.ini", "[Operation]\nCurrencyDecimals=0\n");
    setEnvironment("TLCONFIG", scratch::path("config"));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    // Closing is told too: openings that nothing separates come as one.
    ASSERT_LE(0, inotify_add_watch(watch, path.c_str(), IN_OPEN | IN_CLOSE));
    init();
    std::array<inotify_event, 64> events{};
    EXPECT_EQ(2 * ssize_t{sizeof(inotify_event)}, read(watch, events.data(), sizeof events));
    EXPECT_NE(0U, events[0].mask & IN_OPEN);
    close(watch);
}
