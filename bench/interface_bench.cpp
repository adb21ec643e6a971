// What the library costs a till: a call with its log lines, and a device message on its way to the event.
// The logs go to the directory of TLLOGS.
#include "api/tllogics.h"
#include "simulator/tellarion_simulator.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>

namespace {

std::atomic<std::int32_t> lastAmount{-1};

void onStatus(std::int32_t amount, std::uint16_t, std::uint16_t)
{
    lastAmount = amount;
    lastAmount.notify_all();
}

void onError(std::int32_t, const char*, const char*) {}
void onCashLevel(std::int32_t, std::uint16_t, const char*) {}

class Till {
public:
    Till()
    {
        if (tlsim_configure(R"({"versionKind": 0, "messageGap": 0})") != 0 ||
            registerEventsTL(onStatus, onError, onCashLevel, message.data()) != TL_STATUS_OK ||
            initTL("Type:RS232;Name:sim;", "", message.data()) != TL_STATUS_OK ||
            loginTL(1, 1, message.data()) != TL_STATUS_OK)
            std::abort();
    }
    ~Till() { exitTL(message.data()); }

    std::array<char, 1024> message{};
};

void callWithTwoLines(benchmark::State& state)
{
    Till till;
    std::uint32_t open = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(isOpenTL(&open, till.message.data()));
}
BENCHMARK(callWithTwoLines);

void messageToEvent(benchmark::State& state)
{
    Till till;
    std::int32_t amount = 0;
    for (auto _ : state) {
        amount = amount % 1000 + 1;
        std::string digits = std::to_string(amount);
        const std::string message = "a" + std::string(8 - digits.size(), '0') + digits + "01";
        tlsim_inject(message.c_str());
        for (std::int32_t seen = lastAmount; seen != amount; seen = lastAmount)
            lastAmount.wait(seen);
    }
}
BENCHMARK(messageToEvent)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
