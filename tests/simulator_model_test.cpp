// The simulated device under a clock that the tests move.
#include "simulator/change_maker.h"
#include "simulator/device_model.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>
#include <sstream>

using namespace simulator;
using Texts = std::vector<std::string>;

namespace {

const std::string fs(1, fieldSeparator);
const std::string stamp = "20260102030405678";

Texts words(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// A device and its time. Commands are written with "|" for the separator.
class Desk {
public:
    explicit Desk(Settings settings = {}) : device(std::move(settings)) {}

    /// The status character of the answer.
    char send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', fieldSeparator);
        const std::string answer = device.command(text, now);
        EXPECT_EQ(text.substr(0, 1) + fs, answer.substr(0, 2));
        return answer.at(2);
    }

    Texts pass(Milliseconds time)
    {
        now += time;
        return device.due(now);
    }

    /// Sends a command that must be taken, and answers all that comes of it.
    Texts run(const std::string& text)
    {
        EXPECT_EQ('0', send(text)) << text;
        return pass(3000);
    }

    Amount insert(Amount denomination, int count = 1) { return device.insert(denomination, count, now); }

    Texts login() { return run("a|07|05|1405"); }

    /// Into administration mode, from logged out.
    void administer()
    {
        login();
        run("g");
        run("k|1");
    }

    DeviceModel device;
    Milliseconds now = 1000;
};

Denomination unit(Amount value, CashKind kind, int count)
{
    Denomination denomination;
    denomination.value = value;
    denomination.kind = kind;
    denomination.count = count;
    return denomination;
}

/// A few coins of 0,50 and 1, and notes of 20 and 50.
Settings smallDrawer()
{
    Settings settings;
    settings.drawer = {unit(50, CashKind::Coin, 3), unit(100, CashKind::Coin, 4),
                       unit(2000, CashKind::Note, 3), unit(5000, CashKind::Note, 2)};
    return settings;
}

} // namespace

TEST(SimulatorMoney, MakesUpEveryAmountThatCanBeMade)
{
    // Largest first alone would take the 50 and fail.
    EXPECT_EQ((Pieces{{2000, 3}}), makeUp(6000, {{2000, 3}, {5000, 1}}));
    EXPECT_EQ((Pieces{{2000, 1}, {5000, 1}}), makeUp(7999, {{2000, 3}, {5000, 1}}));
    EXPECT_TRUE(makeUp(0, {{100, 1}}).empty());
    EXPECT_TRUE(makeUp(99, {{100, 1}}).empty());
    EXPECT_TRUE(makeUp(500, {}).empty());

    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        Pieces available;
        std::set<Amount> sums{0};
        for (const Amount denomination : {3, 7, 20, 50}) {
            const int count = static_cast<int>(random() % 5);
            addPieces(available, denomination, count);
            for (int i = 0; i < count; ++i)
                for (const Amount sum : std::set(sums))
                    sums.insert(sum + denomination);
        }
        const Amount amount = static_cast<Amount>(random() % 300);
        EXPECT_EQ(*std::prev(sums.upper_bound(amount)), valueOf(makeUp(amount, available)));
    }
}

TEST(SimulatorMoney, LargestAmountInSmallestStepsIsMadeUpInTime)
{
    const auto start = std::chrono::steady_clock::now();
    const Pieces made =
        makeUp(largestAmount, {{1, 90}, {2, 50000}, {500, 50000}, {50000, 2000}, {70000, 10}});
    EXPECT_EQ(largestAmount, valueOf(made));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(SimulatorSettings, ReadsAllThatIsGivenAndComplainsOfTheRest)
{
    const Settings settings = parseSettings(R"({"drawer": [
        {"value": 2000, "kind": "note", "count": 5, "low": 2, "high": 9, "float": 3, "capacity": 10,
         "recycled": false, "stuck": 1}, {"value": 100, "count": 7}],
        "versionKind": 2, "commands": "AB", "partSize": 5, "refuse": {"f": "Z"}, "silent": "d"})");
    ASSERT_EQ(2u, settings.drawer.size());
    EXPECT_EQ(100, settings.drawer[0].value); // sorted: coins first
    EXPECT_EQ(3, settings.drawer[1].cashFloat);
    EXPECT_FALSE(settings.drawer[1].recycled);
    EXPECT_EQ('Z', settings.refuse.at('f'));
    EXPECT_EQ("SEK", settings.currency);

    for (const char* bad :
         {"", "[]", R"({"drawr": []})", R"({"drawer": []})", R"({"drawer": [{"count": 1}]})",
          R"({"drawer": [{"value": 5}, {"value": 5}]})", R"({"drawer": [{"value": 5, "kind": "bill"}]})",
          R"({"drawer": [{"value": 99999, "count": 99999}]})", R"({"decimals": "2"})", R"({"decimals": 9})",
          R"({"partSize": 0})", R"({"masterVersion": "1.2"})", R"({"refuse": {"ff": "1"}})"})
        EXPECT_THROW(parseSettings(bad), std::runtime_error) << bad;
}

TEST(SimulatorModel, TakesCommandsOfTheRightFormOnly)
{
    Desk desk;
    desk.login();
    for (const std::string& bad :
         words("o A a a|7|05|1405 a2026010212345XX a20260102123404ABC b| c|500 c|0000050x c|000000500 "
               "c|00000500|id|more d|-0000500 e e|0 e|5 f|00000000 g|1 k|3 l|00000001| m|0100:1.|# "
               "m|3100:1;.|# m|0100:x;.|# m|0100:1;. n|1 n|0# p|# q| q|x r v x|2026"))
        EXPECT_EQ('2', desk.send(bad)) << bad;
    EXPECT_EQ("?" + fs + "2Error", desk.device.command("", desk.now));
    EXPECT_TRUE(desk.pass(1000).empty());

    EXPECT_EQ('0', desk.send("a20260102123404ABCD"));
    EXPECT_EQ('0', desk.send("a20260102123400"));
    EXPECT_EQ('0', desk.send("d|00000500"));
}

TEST(SimulatorModel, LoginSpeaksTheLongFormOnceTheVersionWasAskedFor)
{
    Desk desk;
    EXPECT_EQ(Texts{"x" + stamp + "0312ABCDEFGHIJKLMNPQRVX"}, desk.run("x|" + stamp));
    EXPECT_EQ(Texts{"a0000000001"}, desk.login());
    EXPECT_EQ(Texts{"v119Tellarion simulator"}, desk.run("v|"));
    EXPECT_EQ(Texts{"a00000000010000000"}, desk.login());
    desk.run("x|" + stamp);
    EXPECT_EQ(Texts{"a0000000000"}, desk.run("b"));

    Settings settings;
    settings.versionKind = 2;
    settings.payInAfterLogin = false;
    Desk shortDesk(settings);
    EXPECT_EQ(Texts{"v219Tellarion simulator"}, shortDesk.run("v|"));
    EXPECT_EQ(Texts{"a0000000031"}, shortDesk.login());
    EXPECT_EQ(Texts{"a0000000001"}, shortDesk.run("h"));
}

TEST(SimulatorModel, RefusesByStateAndBySettings)
{
    Settings settings;
    settings.commands = "ABCDEFGHJKLX";
    settings.refuse = {{'l', 'Z'}};
    settings.silent = "d";
    Desk desk(settings);
    for (const std::string& text : words("b c|00000100 e|3 j"))
        EXPECT_EQ('3', desk.send(text)) << text;
    EXPECT_EQ('2', desk.send("v|")); // not among its commands
    desk.login();
    EXPECT_EQ('Z', desk.send("l|00000100"));
    EXPECT_EQ(Texts{}, desk.run("d|00000100"));

    EXPECT_EQ('0', desk.send("c|00000100"));
    EXPECT_EQ('1', desk.send("j"));
    EXPECT_EQ('1', desk.send("b"));
    EXPECT_EQ(0, desk.insert(100));
    desk.pass(3000);

    desk.device.fail(2, desk.now);
    EXPECT_EQ(Texts{"b0000000021Device error: 02 coin path jammed"}, desk.pass(100));
    EXPECT_EQ('2', desk.send("c|00000100"));
    EXPECT_EQ('2', desk.send("a|07|05|1405"));
    EXPECT_EQ(0, desk.insert(100));
    EXPECT_EQ(Texts{"a0000000020"}, desk.run("b"));
    EXPECT_EQ(Texts{"a0000000000"}, desk.run("e|3"));
    EXPECT_EQ(Texts{"a0000000001"}, desk.login());
    desk.device.loggedOut();
    EXPECT_EQ('3', desk.send("j"));
    EXPECT_TRUE(desk.pass(1000).empty());
}

TEST(SimulatorModel, LoginMayStayClosedOrEndAnError)
{
    Settings settings;
    settings.loginOpens = false;
    Desk closed(settings);
    EXPECT_EQ(Texts{"a0000000002"}, closed.login());
    EXPECT_EQ('3', closed.send("j"));

    settings = {};
    settings.loginClearsError = true;
    Desk faulty(settings);
    faulty.device.fail(7, faulty.now);
    faulty.pass(100);
    faulty.run("x|" + stamp);
    EXPECT_EQ(Texts{"a0000000001"}, faulty.login());
}

TEST(SimulatorModel, SaleGoesBusyAndBackToReadyInItsTime)
{
    Desk desk;
    desk.login();
    EXPECT_EQ(10000, desk.insert(10000));
    EXPECT_EQ(4000, desk.insert(2000, 2));
    EXPECT_EQ((Texts{"a0001000001", "a0001400001"}), desk.pass(100));

    EXPECT_EQ('0', desk.send("f|00006550|00014000|id 1"));
    EXPECT_TRUE(desk.pass(19).empty());
    EXPECT_EQ(Texts{"a0001400011"}, desk.pass(1));
    EXPECT_EQ(desk.now + 400, desk.device.nextDue());
    EXPECT_TRUE(desk.pass(399).empty());
    // 0,50 is not to be had.
    EXPECT_EQ(Texts{"c0000005011"}, desk.pass(1));
    EXPECT_EQ('1', desk.send("j"));
    EXPECT_EQ((Texts{"b0000000011Tellarion no change", "a0000000001"}), desk.pass(100));
    EXPECT_EQ('0', desk.send("j"));
    EXPECT_EQ((Pieces{{500, 1}, {1000, 1}, {5000, 1}}), desk.device.takePaidOut());
    EXPECT_TRUE(desk.device.takePaidOut().empty());
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, PaymentsOfNothingGoBusyToo)
{
    Desk desk;
    desk.login();
    EXPECT_EQ((Texts{"a0000000011", "a0000000001"}), desk.run("f|00000000|00000000"));
    desk.run("g");
    EXPECT_EQ((Texts{"a0000000011", "a0000000031"}), desk.run("c|00000000"));
    for (const std::string& nothingPaidIn : words("e|1 e|2 e|4"))
        EXPECT_EQ(Texts{"a0000000031"}, desk.run(nothingPaidIn));
    EXPECT_EQ('2', desk.send("f|00000000|00000001"));
    EXPECT_EQ(Texts{"a0000000031"}, desk.run("l|00001234"));
    EXPECT_EQ(1234, desk.device.announcedTotal());
}

TEST(SimulatorModel, AskNamesTheRestInThreeMessagesApart)
{
    Settings settings = smallDrawer();
    Desk desk(settings);
    desk.run("v|");
    desk.login();
    EXPECT_EQ(Texts{"c00000000010000000"}, desk.run("d|00006000"));

    // In the drawer there is 165,50.
    EXPECT_EQ('0', desk.send("d|00020000"));
    EXPECT_EQ(Texts{"c00003450010000000"}, desk.pass(20));
    EXPECT_TRUE(desk.pass(49).empty());
    EXPECT_EQ(Texts{"b00000000013000814Rest 34,50 SEK"}, desk.pass(1));
    EXPECT_EQ(Texts{"a00000000010000000"}, desk.pass(50));
    EXPECT_EQ(16550, desk.device.drawer().value());
}

TEST(SimulatorModel, WhatIsNotKeptGoesBackWithWhatIsPaidOut)
{
    Desk desk;
    desk.login();
    desk.insert(10000);
    desk.run("f|00003000|00007000");
    EXPECT_EQ(6000, valueOf(desk.device.takePaidOut()));
    EXPECT_EQ(0, desk.device.paidIn());

    // Kept while pay-in is closed, then dispensed.
    desk.insert(10000);
    desk.run("g");
    EXPECT_EQ(0, desk.insert(10000));
    desk.run("f|00000000|00010000|id");
    EXPECT_EQ((Texts{"a0000000011", "b0000000011CR/WD00003000", "a0000000031"}), desk.run("c|00003000|id"));
    EXPECT_EQ(3000, valueOf(desk.device.takePaidOut()));
}

TEST(SimulatorModel, GivesPaidInMoneyBackInEveryWay)
{
    Desk desk;
    desk.login();
    desk.insert(5000);
    desk.insert(2000, 2);
    desk.insert(100);
    desk.pass(1000);
    EXPECT_EQ((Texts{"a0000910011", "b0000710011CR/RF00002000", "a0000710001"}), desk.run("e|2"));
    EXPECT_EQ((Pieces{{2000, 1}}), desk.device.takePaidOut());
    desk.run("e|4");
    EXPECT_EQ((Pieces{{100, 1}, {2000, 1}, {5000, 1}}), desk.device.takePaidOut());

    desk.insert(500, 3);
    desk.run("e|2"); // no note there
    EXPECT_EQ(1500, desk.device.paidIn());
    desk.run("f|00000000|00000000|regretAll");
    EXPECT_EQ((Pieces{{500, 3}}), desk.device.takePaidOut());

    desk.insert(10000);
    desk.run("e|1");
    EXPECT_EQ((Pieces{{5000, 2}}), desk.device.takePaidOut());
    desk.insert(100); // nothing smaller is there
    desk.run("e|1");
    EXPECT_EQ((Pieces{{100, 1}}), desk.device.takePaidOut());

    // The very note is stuck: others make up for it.
    desk.device.setStuck(50000, 100);
    desk.insert(50000);
    desk.run("e|4");
    EXPECT_EQ((Pieces{{10000, 1}, {20000, 2}}), desk.device.takePaidOut());
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, TakesNoMoreThanThereIsRoomForAndPaysNoneThatItKeeps)
{
    Settings settings = smallDrawer();
    settings.drawer[2].capacity = 5;
    settings.drawer[3].recycled = false;
    settings.partSize = 100;
    Desk desk(settings);
    desk.login();
    EXPECT_EQ(4000, desk.insert(2000, 9));
    EXPECT_EQ(0, desk.insert(2000));
    EXPECT_EQ(0, desk.insert(300));
    EXPECT_EQ(0, desk.insert(100, -1));
    EXPECT_EQ(5000, desk.insert(5000));
    desk.run("f|00005000|00009000");
    EXPECT_EQ((Pieces{{50, 3}, {100, 4}, {2000, 2}}), desk.device.takePaidOut()); // 4,50 are not to be had
    EXPECT_EQ(Texts{"j50:0:0,100:0:0;2000:0:3,5000:3:0."}, desk.run("i"));
}

TEST(SimulatorModel, ReportsLevelsBeforeItIsReady)
{
    Settings settings = smallDrawer();
    settings.drawer[0].low = 2;
    settings.drawer[2].low = 2;
    settings.drawer[3].high = 3;
    settings.sessionTexts = false;
    Desk desk(settings);
    desk.login();
    EXPECT_EQ((Texts{"a0000000011", "b000000001102 0,50 SEK", "b000000001100 20 SEK", "a0000000001"}),
              desk.run("f|00006050|00000000"));
    // Nothing new, then one fewer.
    EXPECT_EQ((Texts{"a0000000011", "a0000000001"}), desk.run("f|00000100|00000000"));
    EXPECT_EQ((Texts{"a0000000011", "b000000001101 0,50 SEK", "a0000000001"}),
              desk.run("f|00000050|00000000"));
    desk.insert(5000);
    EXPECT_EQ((Texts{"a0000500001", "b000050000150SEK"}), desk.pass(100));

    // A new session hears of all that stands.
    desk.run("b");
    EXPECT_EQ((Texts{"a0000500001", "b000050000101 0,50 SEK", "b000050000100 20 SEK", "b000050000150SEK"}),
              desk.login());

    // The long form gives each its code.
    desk.run("v|");
    const Texts messages = desk.login();
    EXPECT_EQ("b0000500001100021101 0,50 SEK", messages.at(1));
    EXPECT_EQ("b0000500001100010900 20 SEK", messages.at(2));
}

TEST(SimulatorModel, CountsInPartsOfAnySize)
{
    for (const std::size_t size : {1u, 7u, 1000u}) {
        Settings settings = smallDrawer();
        settings.partSize = size;
        settings.drawer[3].recycled = false;
        Desk desk(settings);
        desk.login();
        const auto joined = [](const Texts& parts) {
            std::string text;
            for (const std::string& part : parts) {
                const bool last = &part == &parts.back();
                EXPECT_EQ(!last, part.back() == '~');
                text += part.substr(1, part.size() - (last ? 1 : 2));
            }
            return text;
        };
        EXPECT_EQ("50:3,100:4;2000:3,5000:2.", joined(desk.run("j")));
        EXPECT_EQ("50:0:3,100:0:4;2000:0:3,5000:2:0.", joined(desk.run("i")));
    }
}

TEST(SimulatorModel, AdministrationModeNeedsAQuietDevice)
{
    Desk desk;
    desk.login();
    EXPECT_EQ('2', desk.send("k|1")); // pay-in is open
    desk.insert(100);
    desk.run("g");
    EXPECT_EQ('2', desk.send("k|1")); // money is paid in
    desk.run("e|4");
    for (const std::string& text : words("n|1# p||# q|0 r|1"))
        EXPECT_EQ('2', desk.send(text)) << text;
    EXPECT_EQ(Texts{"a0000000033"}, desk.run("k|1"));
    for (const std::string& text : words("c|00000100 f|00000000|00000000 e|1 h"))
        EXPECT_EQ('2', desk.send(text)) << text;
    EXPECT_EQ('2', desk.send("q|10")); // there are nine units
    EXPECT_EQ((Texts{"e0.33", "a0000000033", "b0000000033Tellarion unlocked"}), desk.run("r|1"));

    EXPECT_EQ(2000, desk.insert(2000));
    EXPECT_EQ(Texts{"a0000200033"}, desk.pass(100));
    EXPECT_EQ((Texts{"e0.33", "a0000000033", "b0000000033BO/RF00002000"}), desk.run("p||#id"));
    EXPECT_EQ(Texts{"a0000000031"}, desk.run("k|2"));
    EXPECT_EQ(0, desk.device.paidIn());
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, CollectsAndNamesWhatItCouldNot)
{
    Settings settings = smallDrawer();
    settings.drawer[0].cashFloat = 1;
    settings.drawer[1].stuck = 3;
    settings.drawer[2].stuck = 2;
    settings.partSize = 6;
    Desk desk(settings);
    desk.administer();
    EXPECT_EQ(
        (Texts{"a0000000013", "e050:2;.~13", "e0100:1;.~13", "e0;2000:1.~13", "e0;5000:2.~13", "e1100:3;.~13",
               "e1;2000:2.13", "b0000000013BO/WD00012200", "b000000001300 50 SEK", "a0000000033"}),
        desk.run("n|1#id"));
    EXPECT_EQ((Pieces{{50, 2}, {100, 1}, {2000, 1}, {5000, 2}}), desk.device.takeCollected());

    // What a purge could not move is one list cut in pieces.
    const Texts messages = desk.run("q|0");
    EXPECT_EQ((Texts{"e050:1;.~13", "e1100:3;~13", "e12000:2.13"}),
              Texts(messages.begin() + 1, messages.begin() + 4));
    desk.device.setStuck(100, 0);
    EXPECT_EQ("e0100:3;.13", desk.run("q|2").at(1));
    EXPECT_EQ("e0.13", desk.run("q|2").at(1));
    EXPECT_EQ(4000, desk.device.drawer().value());
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, DispensesAListAndNamesWhatIsMissing)
{
    Desk desk(smallDrawer());
    desk.login();
    desk.run("g");
    EXPECT_EQ((Texts{"a0000000011", "e050:2,100:4;2000:1.~11", "e1100:1,300:2;50000:1.11",
                     "b0000000011CR/WD00002500", "b000000001100 1 SEK", "a0000000031"}),
              desk.run("m|050:2,100:5,300:2;2000:1,50000:1.|#"));
    EXPECT_EQ((Texts{"a0000000011", "e0.11", "a0000000031"}), desk.run("m|1;.|#id"));
    EXPECT_EQ(2500, valueOf(desk.device.takePaidOut()));
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, ErrorStopsWorkHalfWay)
{
    Desk desk;
    desk.login();
    EXPECT_EQ('0', desk.send("c|00080000")); // 500, 200, 100
    desk.pass(20 + 300);
    desk.device.fail(1, desk.now);
    EXPECT_EQ((Texts{"c0001000011", "b0000000011Tellarion no change", "b0000000011CR/WD00070000",
                     "b0000000021Device error: 01 note path jammed"}),
              desk.pass(1000));
    EXPECT_EQ((Pieces{{20000, 1}, {50000, 1}}), desk.device.takePaidOut());
    EXPECT_EQ(Texts{"a0000000001"}, desk.run("e|3"));

    // What was given back before the fault is no longer owed.
    desk.insert(10000, 2);
    desk.pass(100);
    EXPECT_EQ('0', desk.send("e|4"));
    desk.pass(20 + 200);
    desk.device.fail(1, desk.now);
    EXPECT_EQ(10000, desk.device.paidIn());
    desk.run("e|3");
    desk.run("e|4");
    EXPECT_EQ((Pieces{{10000, 2}}), desk.device.takePaidOut());
    EXPECT_TRUE(desk.device.balances());
}

TEST(SimulatorModel, MoneyAddsUpWhateverHappens)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
        Settings settings = seed % 2 == 0 ? Settings{} : smallDrawer();
        settings.drawer[2].stuck = 1;
        settings.payOutTime = below(500);
        settings.loginClearsError = seed % 3 == 0;
        Desk desk(settings);
        const auto& units = desk.device.drawer().units();
        const Amount start = desk.device.drawer().value();
        Amount in = 0;
        Amount out = 0;
        const Texts texts =
            words("a|07|05|1405 a|07|05|1405 b e|1 e|2 e|3 e|3 e|4 g h h i "
                  "j k|1 k|2 m|050:1,100:2;2000:1.|# n|1# p||# q|0 q|2 r|1 f|00000000|00000000|regretAll");
        for (int step = 0; step < 2000; ++step) {
            const std::string amount = padded(50 * below(200), 8);
            const std::string deposit = padded(below(2) == 0 ? desk.device.paidIn() : 50 * below(100), 8);
            switch (below(8)) {
            case 0:
            case 1:
                in += desk.insert(units[static_cast<std::size_t>(below(4))].value, below(4));
                break;
            case 2:
                desk.send((below(2) == 0 ? "c|" : "d|") + amount);
                break;
            case 3:
            case 4:
                desk.send("f|" + amount + "|" + deposit);
                break;
            case 5:
                if (below(10) == 0)
                    desk.device.fail(below(99) + 1, desk.now);
                break;
            default:
                desk.send(texts[random() % texts.size()]);
            }
            desk.pass(below(3) == 0 ? below(1000) : below(100));
            out += valueOf(desk.device.takePaidOut()) + valueOf(desk.device.takeCollected());
            ASSERT_TRUE(desk.device.balances()) << "seed " << seed << ", step " << step;
            ASSERT_EQ(start + in - out, desk.device.drawer().value()) << "seed " << seed << ", step " << step;
            ASSERT_LE(desk.device.paidIn(), in);
        }
        EXPECT_GT(in, 0);
        EXPECT_GT(out, 0);
    }
}
