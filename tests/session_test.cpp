// Opening and closing a session, and what is known of the device meanwhile.
#include "library_test.h"

namespace {

class Session : public LibraryTest {
protected:
    /// Level, commands, master and info as the application gets them.
    std::string info()
    {
        std::uint32_t level = 99;
        std::array<char, 256> commands{"-"}, master{"-"}, info{"-"};
        const std::string outcome = call(infoTL, &level, commands.data(), master.data(), info.data());
        return compose(outcome, " ", level, " ", commands.data(), " ", master.data(), " ", info.data());
    }
};

} // namespace

TEST_F(Session, DevicesOfTheNewerKindGetTheWholeLoginText)
{
    openLong();
    EXPECT_EQ("0 Done 2 ABCDEFGHIJKLMNPQRVX 03.12 API4.2", info());
    EXPECT_EQ("0 Done", call(loginStrTL, "1", "AB"));
    EXPECT_EQ("xva", device.sentLetters());
    for (const std::size_t length : {0, 2, 64}) {
        EXPECT_EQ("0 Done", call(loginStrTL, "1", std::string(length, 'Z').c_str()));
        EXPECT_EQ(compose("a202611221405", leftPadded(static_cast<int>(length), 2), std::string(length, 'Z')),
                  device.sent().back());
    }
    EXPECT_DEATH(call(loginStrTL, "1", std::string(65, 'Z').c_str()), "");
}
