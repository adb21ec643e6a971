// What a message of the device costs on its way to the event.
#include "bench/instant_device.h"
#include "bench/log_folder.h"
#include "bench/memory_posix.h"
#include "bench/rows.h"

#include "api/tllogics.h"

#include <fmt/format.h>

#include <array>

namespace bench {

namespace {

constexpr const char* SHUT_GATES = "LogCRToCAPI:0;LogCAPIToCR:0;LogComToCAPI:0;LogCAPIToCom:0;LogDebug:0;";
constexpr const char* OPEN_GATES = "LogCRToCAPI:1;LogCAPIToCR:1;LogComToCAPI:1;LogCAPIToCom:1;LogDebug:1;";

// Twice the same message would be no change.
constexpr std::array<const char*, 2> AMOUNTS{"a0000010101", "a0000010201"};
constexpr std::array<const char*, 2> COUNTS{
    "j100:12:3,200:7:1,500:40:2,1000:9:0,2000:31:4;5000:2:1,10000:8:3,20000:5:2,50000:1:0,100000:6:1.",
    "j100:12:3,200:7:1,500:40:2,1000:9:0,2000:31:4;5000:2:1,10000:8:3,20000:5:2,50000:1:0,100000:6:2."};

void sayInTurns(const std::array<const char*, 2>& messages)
{
    static std::size_t turn = 0;
    turn = 1 - turn;
    bench_callback()(messages[turn]);
}

void sayChangedAmount()
{
    sayInTurns(AMOUNTS);
}

void measureGates(const char* name, const Work& work, double aim)
{
    expectOk(changeSettingsTL(SHUT_GATES, 0, message));
    work();
    static constexpr int TIMES = 1000;
    const std::size_t before = allocations();
    for (int i = 0; i < TIMES; ++i)
        work();
    const double each = static_cast<double>(allocations() - before) / TIMES;
    const Spread time = measure(work, [] {}).work;
    printRow({name, "", "", shown(time.median), "", fmt::format("{:.0f}-{:.0f}", time.low, time.high),
              fmt::format("{:g} ns", aim), time.median <= aim});
    printRow({"", "allocations", "", fmt::format("{:g}", each), "", "", "0", each == 0});
    expectOk(changeSettingsTL(OPEN_GATES, 0, message));
}

/// What is left of the memory taken while a till runs for months.
void measureGrowth()
{
    static constexpr std::array<const char*, 9> MESSAGES{"a0000010101",
                                                         "b000001010105 100 SEK",
                                                         "b0000010101BO/WD00000150",
                                                         COUNTS[0],
                                                         "j100:2:1~",
                                                         "j;500:3:1.",
                                                         "c00000001010",
                                                         "e1100:2;500:1.01",
                                                         "x---reserved-17---0312AB1C2DEFGHIJKLMNPQRVX"};
    static constexpr int NUMBER = 1'000'000;
    const auto say = [](int number) {
        for (int i = 0; i < number; ++i)
            bench_callback()(MESSAGES[static_cast<std::size_t>(i) % MESSAGES.size()]);
    };
    expectOk(changeSettingsTL(SHUT_GATES, 0, message));
    say(10'000);
    const std::size_t before = heapInUse();
    say(NUMBER);
    const auto grown = static_cast<double>(heapInUse()) - static_cast<double>(before);
    expectOk(changeSettingsTL(OPEN_GATES, 0, message));
    printRow({"a million messages", "growth of the heap", "", fmt::format("{:g} B", grown), "", "", "0",
              grown <= 0});
}

} // namespace

void measureMessages()
{
    const Session session;
    const auto compareMessage = [](const char* name, double aim, const Work& work) {
        emptyLogs();
        const BareWrites bare(work);
        compare(name, bare.name(), work, std::cref(bare), aim);
    };
    compareMessage("callbackfunc: \"a\", another amount", 1.4, sayChangedAmount);
    compareMessage("callbackfunc: \"j\", 10 denominations", 1.6, [] { sayInTurns(COUNTS); });
    measureGates("callbackfunc: \"a\", every gate shut", sayChangedAmount, 120);
    measureGrowth();
}

} // namespace bench
