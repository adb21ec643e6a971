// The numbers of the events that are posted to a window, which is a socket here.
#include "library_test.h"

#include <sys/socket.h>

TEST_F(LibraryTest, EventsArePostedAsNumbers)
{
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, ends));
    ASSERT_EQ("0 Done",
              call(registerHwndTL, reinterpret_cast<TLWindowHandle>(static_cast<std::intptr_t>(ends[0]))));
    ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
    device.say(head('a', 700, 3, 1));
    device.say(head('b', 700, 3, 1, "05 100 SEK"));
    device.say(head('b', 700, 3, 1, "CR/RF-0000005"));
    device.say(head('b', 700, 2, 1, "A jam at place07."));
    g_nApiVersionKind = API_VERSION_KIND_LONG;
    device.say(head('b', 700, 2, 3, "3001204text"));
    std::string posted;
    std::array<std::int64_t, 3> record{}; // message, wParam and lParam
    while (recv(ends[1], record.data(), sizeof record, MSG_DONTWAIT) == 24)
        posted += compose(record[0] - 0xC000, " ", record[1], " ", record[2], ", ");
    EXPECT_EQ("4 103 700, 0 5 10000, 1 3 -5, 4 102 700, 2 0 7, 4 302 700, 3 4 0, ", posted);
}
