// The simulated device under a clock that the tests move.
#include "simulator/change_maker.h"
#include "simulator/device_model.h"
#include "simulator/saved_device.h"

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

namespace {

/// Everything that lies in the device or in front of it, by denomination.
Pieces whatLies(const DeviceModel& device)
{
    Pieces pieces;
    for (const Denomination& unit : device.drawer().units())
        addPieces(pieces, unit.value, unit.count);
    for (const Pieces& heap : {device.tray(), device.collected()})
        for (const auto& [denomination, count] : heap)
            addPieces(pieces, denomination, count);
    return pieces;
}

/// A device to which everything may happen, and beside it the pieces as those count them who put them in
/// and take them away.
class Walk {
public:
    explicit Walk(unsigned seed) : m_random(seed), m_device(settings())
    {
        m_ledger = whatLies(m_device);
        watch();
    }

    void step()
    {
        switch (below(12)) {
        case 0:
        case 1:
            insert();
            break;
        case 2:
            take(m_device.takePaidOut(m_now));
            take(m_device.takeCollected());
            break;
        case 3:
            if (below(3) == 0)
                addFault();
            break;
        case 4:
            for (const FaultName name : faultNames())
                m_device.repair(name, m_now);
            break;
        case 5:
            rarely();
            break;
        default:
            send();
        }
        m_now += below(3) == 0 ? below(1000) : below(100);
        m_device.due(m_now);
        comeBackIfKilled();
    }

    void check() const
    {
        ASSERT_EQ(m_ledger, whatLies(m_device));
        ASSERT_TRUE(m_device.balances());
    }

    int kills() const { return m_kills; }
    Amount moved() const { return m_moved; }

private:
    Settings settings()
    {
        Settings settings;
        for (Denomination& unit : settings.drawer) {
            unit.count = below(4);
            unit.capacity = below(10);
            unit.recycled = below(5) > 0;
            unit.stuck = below(2);
        }
        settings.payOutTime = below(500);
        return settings;
    }

    int below(unsigned limit) { return static_cast<int>(m_random() % limit); }
    Amount anyDenomination() { return m_device.drawer().units()[m_random() % 9].value; }

    /// Every piece that moves may be the last one that gets into the file.
    void watch()
    {
        m_device.setWatcher([this](const DeviceEvent& event) {
            if (event.kind != DeviceEvent::Kind::Piece || m_killed)
                return;
            if (event.way == DeviceEvent::Way::In || event.way == DeviceEvent::Way::Refilled)
                addPieces(m_ledger, event.denomination, 1);
            else
                m_moved += event.denomination;
            if (below(50) == 0)
                m_killed = savedText(m_device.saved(m_now));
        });
    }

    void comeBackIfKilled()
    {
        if (!m_killed)
            return;
        m_device = DeviceModel(m_device.settings(), parseSaved(*m_killed), m_now);
        m_killed.reset();
        m_device.tillCame(true, m_now);
        watch();
        ++m_kills;
        EXPECT_EQ('0', m_device.nextMessage(m_now).value_or("a00000000-0").at(10));
    }

    void insert()
    {
        const Amount denomination = anyDenomination();
        m_device.insert(denomination, below(4), m_now);
        comeBackIfKilled();
    }

    void take(const Pieces& pieces)
    {
        for (const auto& [denomination, count] : pieces)
            if ((m_ledger[denomination] -= count) == 0)
                m_ledger.erase(denomination);
    }

    void addFault()
    {
        Fault fault{faultNames()[m_random() % faultNames().size()]};
        fault.start = static_cast<Fault::Start>(below(4));
        fault.letter = below(2) == 0 ? '\0' : 'f';
        fault.pieces = 1 + below(5);
        fault.chance = 100'000;
        fault.random = m_random();
        if (below(2) == 0)
            fault.lasts = below(1000);
        fault.untilReset = errorCodeOf(fault.name) != 0 && below(2) == 0;
        fault.times = strikesSingly(fault.name) ? below(3) : 0;
        fault.code = 1 + below(99);
        fault.lateness = below(500);
        fault.factor = 2;
        m_device.putFault(fault, m_now);
    }

    void rarely()
    {
        if (below(10) == 0)
            m_device.refill(anyDenomination(), below(3), m_now);
        else if (below(10) == 0)
            m_device.fail(1 + below(99), m_now);
        else if (below(10) == 0)
            m_device.tillLeft(m_now);
        else
            m_device.tillCame(below(2) == 0, m_now);
        comeBackIfKilled();
    }

    void send()
    {
        static const Texts others =
            words("a|07|05|1405 a|07|05|1405 b e|1 e|2 e|3 e|3 e|4 g h h i j k|1 k|2 "
                  "m|050:1,100:2;2000:1.|# n|1# p||# q|0 q|2 r|1 f|00000000|00000000|regretAll");
        const std::string amount = padded(50 * below(200), 8);
        const std::string deposit = padded(below(2) == 0 ? m_device.paidIn() : 50 * below(100), 8);
        const std::string commands[] = {"c|" + amount, "d|" + amount, "f|" + amount + "|" + deposit,
                                        others[m_random() % others.size()]};
        std::string command = commands[m_random() % std::size(commands)];
        std::replace(command.begin(), command.end(), '|', FIELD_SEPARATOR);
        m_device.command(command, m_now);
        comeBackIfKilled();
    }

    std::mt19937 m_random;
    DeviceModel m_device;
    Pieces m_ledger;
    Milliseconds m_now = 1000;
    std::optional<std::string> m_killed; // the file as the process left it
    int m_kills = 0;
    Amount m_moved = 0;
};

} // namespace

TEST(SimulatorModel, MoneyAddsUpWhateverHappens)
{
    int kills = 0;
    for (unsigned seed = 1; seed <= 30; ++seed) {
        Walk walk(seed);
        for (int step = 0; step < 2000; ++step) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << " step " << step);
            walk.step();
            ASSERT_NO_FATAL_FAILURE(walk.check());
        }
        EXPECT_GT(walk.moved(), 0) << seed;
        kills += walk.kills();
    }
    EXPECT_GT(kills, 100);
}

TEST(SimulatorModel, APieceThatIsOutIsNoLongerPaidInAfterAKill)
{
    LoggedInDevice machine;
    machine.insert(10000);
    machine.insert(500);
    std::vector<Amount> paidIn;
    machine.device.setWatcher([&](const DeviceEvent& event) {
        if (event.kind == DeviceEvent::Kind::Piece)
            paidIn.push_back(parseSaved(savedText(machine.device.saved(event.time))).paidIn);
    });
    machine.run("e|4");
    EXPECT_EQ((std::vector<Amount>{500, 0}), paidIn);
}

TEST(SimulatorModel, AHandPutsItsPiecesInOneByOne)
{
    Settings settings;
    settings.insertTime = 500;
    LoggedInDevice machine(settings);
    EXPECT_EQ(1000, machine.device.insert(500, 3, machine.now).coming);
    EXPECT_EQ(100, machine.device.insert(100, 1, machine.now).coming); // behind the others
    for (const Amount paidIn : {500, 1000, 1500, 1600, 1600}) {
        EXPECT_EQ(paidIn, machine.device.paidIn());
        machine.pass(500);
    }
    // What it no longer takes stays in the hand.
    machine.insert(100, 5);
    machine.pass(500);
    machine.device.fail(7, machine.now);
    machine.pass(5000);
    EXPECT_EQ(1800, machine.device.paidIn());
    machine.run("e|3");
    EXPECT_EQ(1800, machine.device.paidIn());
    EXPECT_TRUE(machine.device.balances());
}

TEST(SimulatorModel, ADamagedStateIsRefused)
{
    LoggedInDevice machine;
    machine.insert(5000);
    machine.device.putFault({.name = FaultName::Slow, .lasts = 500, .factor = 3}, machine.now);
    machine.insert(100, 3);
    const std::string text = savedText(machine.device.saved(machine.now));
    const DeviceModel again({}, parseSaved(text), 5'000'000);
    EXPECT_EQ(text, savedText(again.saved(5'000'000)));
    EXPECT_EQ(5300, again.paidIn());
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        EXPECT_THROW(parseSaved(text.substr(0, i)), std::runtime_error) << i;
        std::string changed = text;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_THROW(parseSaved(changed), std::runtime_error) << i;
    }
}
