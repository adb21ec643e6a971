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
struct LoggedInDevice {
    explicit LoggedInDevice(Settings settings = {}) : device(std::move(settings)) { run("a|07|05|1405"); }

    /// The status character of the answer.
    char send(std::string text)
    {
        std::replace(text.begin(), text.end(), '|', FIELD_SEPARATOR);
        const std::string answer = device.command(text, now).text;
        EXPECT_EQ(text.substr(0, 1) + FIELD_SEPARATOR, answer.substr(0, 2));
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

    Amount insert(Amount denomination, int count = 1) { return device.insert(denomination, count, now).took; }

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
    EXPECT_EQ(LARGEST_AMOUNT, valueOf(makeUp(LARGEST_AMOUNT, many)));
}

TEST(SimulatorModel, AnswersASessionWithTheseMessages)
{
    LoggedInDevice machine(parseSettings(R"({"partSize": 9, "drawer": [
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
        EXPECT_EQ(messages, machine.run(command)) << command;
    EXPECT_EQ(7050, valueOf(machine.device.takeCollected()));
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
        LoggedInDevice machine(settings);
        const auto& units = machine.device.drawer().units();
        const Amount start = machine.device.drawer().value();
        Amount in = 0;
        Amount out = 0;
        for (int step = 0; step < 2000; ++step) {
            const std::string amount = padded(50 * below(200), 8);
            const std::string deposit = padded(below(2) == 0 ? machine.device.paidIn() : 50 * below(100), 8);
            const std::string commands[] = {"c|" + amount, "d|" + amount, "f|" + amount + "|" + deposit,
                                            others[random() % others.size()]};
            if (below(3) == 0)
                in += machine.insert(units[random() % units.size()].value, below(4));
            if (below(100) == 0)
                machine.device.fail(below(99) + 1, machine.now);
            machine.send(commands[random() % std::size(commands)]);
            machine.pass(below(3) == 0 ? below(1000) : below(100));
            out += valueOf(machine.device.takePaidOut(machine.now)) + valueOf(machine.device.takeCollected());
            ASSERT_TRUE(machine.device.balances()) << "step " << step;
            ASSERT_EQ(start + in - out, machine.device.drawer().value()) << "step " << step;
        }
        EXPECT_GT(out, 0);
    }
}
