// The simulated device under a clock that the tests move.
#include "simulator/change_maker.h"
#include "simulator/device_model.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>
#include <sstream>

using namespace simulator;
using Texts = std::vector<std::string>;

namespace {

Texts words(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

/// A device that is logged in to, and its time. Commands are written with "|" for the separator.
struct Desk {
    explicit Desk(Settings settings = {}) : device(std::move(settings)) { run("a|07|05|1405"); }

    /// The status character of the answer.
    char send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', fieldSeparator);
        const std::string answer = device.command(text, now);
        EXPECT_EQ(text.substr(0, 1) + fieldSeparator, answer.substr(0, 2));
        return answer.at(2);
    }

    /// Sends commands that must all be answered with one status.
    void expectStatus(char status, const std::string& commands)
    {
        for (const std::string& command : words(commands))
            EXPECT_EQ(status, send(command)) << command;
    }

    Texts pass(Milliseconds time)
    {
        now += time;
        return device.due(now);
    }

    /// Sends a command that must be taken, and answers all that comes of it.
    Texts run(const std::string& text)
    {
        expectStatus('0', text);
        return pass(3000);
    }

    Amount insert(Amount denomination, int count = 1) { return device.insert(denomination, count, now); }

    DeviceModel device;
    Milliseconds now = 1000;
};

} // namespace

TEST(SimulatorMoney, MakesUpEveryAmountThatCanBeMade)
{
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

    // The longest search there is must end within the test's time.
    const Pieces many{{1, 90}, {2, 50000}, {500, 50000}, {50000, 2000}, {70000, 10}};
    EXPECT_EQ(largestAmount, valueOf(makeUp(largestAmount, many)));
}

TEST(SimulatorModel, RefusesByFormAndByState)
{
    Desk desk(parseSettings(R"({"commands": "ABCDEFGHJKLMNPQRX", "refuse": {"h": "Z"}})"));
    desk.expectStatus('2',
                      "o A a a|7|05|1405 a2026010212345XX a20260102123404ABC b| c|500 c|0000050x "
                      "c|000000500 c|00000500|id|more d|-0000500 e e|0 e|5 f|00000000 g|1 k|3 l|00000001| "
                      "m|0100:1.|# m|3100:1;.|# m|0100:x;.|# m|0100:1;. n|1 n|0# p|# q| q|x r x|2026 v|");
    desk.expectStatus('Z', "h");
    EXPECT_TRUE(desk.pass(1000).empty());

    desk.expectStatus('2', "k|1"); // pay-in is open
    desk.expectStatus('0', "c|00000100");
    desk.expectStatus('1', "j b");
    EXPECT_EQ(0, desk.insert(100));
    desk.pass(3000);
    desk.insert(100);
    desk.run("g");
    desk.expectStatus('2', "k|1 n|1# p||# q|0 r|1"); // money is paid in
    desk.run("e|4");
    desk.run("k|1");
    desk.expectStatus('2', "c|00000100 f|00000000|00000000 e|1");
    desk.device.loggedOut();
    desk.expectStatus('3', "b c|00000100 e|3 j");
}

TEST(SimulatorModel, SaleGoesBusyAndBackToReadyInItsTime)
{
    Desk desk;
    EXPECT_EQ(10000, desk.insert(10000));
    EXPECT_EQ(4000, desk.insert(2000, 2));
    EXPECT_EQ((Texts{"a0001000001", "a0001400001"}), desk.pass(100));
    // Of the 14000 only 12000 are kept, and 0,50 is not to be had.
    desk.expectStatus('0', "f|00006550|00012000|id");
    EXPECT_TRUE(desk.pass(19).empty());
    EXPECT_EQ(Texts{"a0001400011"}, desk.pass(1));
    desk.expectStatus('1', "j");
    EXPECT_EQ((Texts{"c0000005011", "b0000000011Tellarion no change", "a0000000001"}), desk.pass(600));
    EXPECT_EQ((Pieces{{500, 1}, {1000, 1}, {2000, 1}, {5000, 1}}), desk.device.takePaidOut());
}

TEST(SimulatorModel, GivesPaidInMoneyBackInEveryWay)
{
    Desk desk;
    desk.device.setStuck(50000, 100);
    const std::vector<std::tuple<std::vector<Amount>, const char*, Pieces>> cases = {
        {{5000, 2000, 2000, 100}, "e|2", {{2000, 1}}}, // the last note
        {{}, "e|4", {{100, 1}, {2000, 1}, {5000, 1}}},
        {{500, 500}, "e|2", {}}, // no note there
        {{}, "f|00000000|00000000|regretAll", {{500, 2}}},
        {{10000}, "e|1", {{5000, 2}}},
        {{100}, "e|1", {{100, 1}}},                 // nothing smaller is there
        {{50000}, "e|4", {{10000, 1}, {20000, 2}}}, // the very note is stuck
    };
    for (const auto& [in, command, out] : cases) {
        for (const Amount denomination : in)
            desk.insert(denomination);
        desk.run(command);
        EXPECT_EQ(out, desk.device.takePaidOut()) << command;
    }
}

TEST(SimulatorModel, AnswersASessionWithTheseMessages)
{
    Desk desk(parseSettings(R"({"partSize": 9, "drawer": [
        {"value": 50, "count": 3, "low": 2, "float": 1},
        {"value": 100, "count": 4, "stuck": 3},
        {"value": 2000, "count": 3, "kind": "note", "stuck": 2},
        {"value": 5000, "count": 2, "kind": "note"}]})"));
    const std::vector<std::pair<const char*, Texts>> steps = {
        {"j", {"j50:3,100:~", "j4;2000:3,~", "j5000:2."}},
        {"d|00020000", {"c0000775001", "b0000000001Tellarion no change", "a0000000001"}},
        {"f|00000050|00000000", {"a0000000011", "b000000001102 0,50 SEK", "a0000000001"}},
        {"f|00000000|00000000", {"a0000000011", "a0000000001"}},
        {"g", {"a0000000031"}},
        {"m|050:1,100:5,300:2;5000:1,50000:1.|#",
         {"a0000000011", "e050:1;.~11", "e0100:1;.~11", "e0;5000:1.~11", "e1100:4;.~11", "e1300:2;.~11",
          "e1;50000:1.11", "b0000000011CR/WD00005150", "b000000001101 0,50 SEK", "a0000000031"}},
        {"k|1", {"a0000000033"}},
        {"i", {"j50:0:1,10~", "j0:3:0;200~", "j0:2:1,500~", "j0:0:1."}},
        {"n|1#id",
         {"a0000000013", "e0;2000:1.~13", "e0;5000:1.~13", "e1100:3;.~13", "e1;2000:2.13",
          "b0000000013BO/WD00007000", "b000000001300 50 SEK", "a0000000033"}},
        {"q|0",
         {"a0000000013", "e050:1;.~13", "e1100:3;200~13", "e10:2.13", "b0000000013BO/WD00000050",
          "b000000001300 0,50 SEK", "a0000000033"}},
        {"v|", {"v119Tellarion simulator"}},
        // From now on in the long form. A new session hears of all that is low, and isn't administration.
        {"a|07|05|1405",
         {"a00000000310000000", "b0000000031100011100 0,50 SEK", "b0000000031100010900 50 SEK"}},
    };
    for (const auto& [command, messages] : steps)
        EXPECT_EQ(messages, desk.run(command)) << command;
    EXPECT_EQ(7050, valueOf(desk.device.takeCollected()));
}

TEST(SimulatorModel, ErrorStopsWorkHalfWay)
{
    Desk desk;
    desk.insert(10000, 2);
    desk.pass(100);
    desk.expectStatus('0', "e|4");
    desk.pass(20 + 200);
    desk.device.fail(1, desk.now);
    EXPECT_EQ(10000, desk.device.paidIn()); // one of the two was given back
    EXPECT_EQ("b0001000021Device error: 01 note path jammed", desk.pass(1000).back());
    desk.expectStatus('2', "c|00000100 a|07|05|1405");
    EXPECT_EQ(Texts{"a0001000001"}, desk.run("e|3"));
}

TEST(SimulatorModel, WhatIsStuckIsClaimedLaterAndNamedOnce)
{
    Desk desk(parseSettings(R"({"drawer": [{"value": 100, "count": 8}]})"));
    EXPECT_EQ(Texts{"j100:8;;."}, desk.run("j")); // an empty group stands in for the notes
    desk.insert(100, 6);
    desk.device.setStuck(100, 12);
    desk.run("f|00000000|00000000");
    EXPECT_EQ(400, desk.device.paidIn());
    desk.device.setStuck(100, 2);
    for (const char* command : {"e|4", "g", "k|1"})
        desk.run(command);
    desk.expectStatus('0', "q|0");
    desk.pass(20 + 200);
    desk.device.fail(1, desk.now);
    desk.device.fail(2, desk.now); // nobody is told
    EXPECT_EQ((Texts{"e0100:3;.~13", "e1100:5;.13", "b0000000013BO/WD00000300",
                     "b0000000023Device error: 01 note path jammed"}),
              desk.pass(1000));
}

TEST(SimulatorModel, MoneyAddsUpWhateverHappens)
{
    const Texts others = words("a|07|05|1405 a|07|05|1405 b e|1 e|2 e|3 e|3 e|4 g h h i j k|1 k|2 "
                               "m|050:1,100:2;2000:1.|# n|1# p||# q|0 q|2 r|1 f|00000000|00000000|regretAll");
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
        Settings settings;
        for (Denomination& unit : settings.drawer) {
            unit.count = below(4);
            unit.capacity = below(10);
            unit.recycled = below(5) > 0;
            unit.stuck = below(2);
        }
        settings.payOutTime = below(500);
        Desk desk(settings);
        const auto& units = desk.device.drawer().units();
        const Amount start = desk.device.drawer().value();
        Amount in = 0;
        Amount out = 0;
        for (int step = 0; step < 2000; ++step) {
            const std::string amount = padded(50 * below(200), 8);
            const std::string deposit = padded(below(2) == 0 ? desk.device.paidIn() : 50 * below(100), 8);
            const std::string commands[] = {"c|" + amount, "d|" + amount, "f|" + amount + "|" + deposit,
                                            others[random() % others.size()]};
            if (below(3) == 0)
                in += desk.insert(units[random() % units.size()].value, below(4));
            if (below(100) == 0)
                desk.device.fail(below(99) + 1, desk.now);
            desk.send(commands[random() % std::size(commands)]);
            desk.pass(below(3) == 0 ? below(1000) : below(100));
            out += valueOf(desk.device.takePaidOut()) + valueOf(desk.device.takeCollected());
            ASSERT_TRUE(desk.device.balances()) << "step " << step;
            ASSERT_EQ(start + in - out, desk.device.drawer().value()) << "step " << step;
        }
        EXPECT_GT(out, 0);
    }
}
