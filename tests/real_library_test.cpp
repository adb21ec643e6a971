// The shared libraries as an application has them: loaded, a sale on the simulated device, unloaded.
#include "environment.h"
#include "scratch.h"

#include "api/tllogics.h"
#include "platform/modules.h"
#include "simulator/tellarion_simulator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>
#include <vector>

#define FIND(function) find<decltype(function)>(#function)
#define CALL(function, ...) call<decltype(function)>(#function __VA_OPT__(, ) __VA_ARGS__)

namespace {

using Texts = std::vector<std::string>;

std::atomic<int> lastAmount{-1};

class Library {
public:
    explicit Library(const char* name) : m_module(platform::loadModule(name)) {}
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { EXPECT_TRUE(platform::freeModule(m_module)); }

    template <typename Function>
    Function* find(const char* name) const
    {
        return reinterpret_cast<Function*>(platform::findFunction(m_module, name));
    }

    template <typename Function, typename... Arguments>
    std::string call(const char* name, Arguments... arguments) const
    {
        std::array<char, 1024> message{};
        const int status = find<Function>(name)(arguments..., message.data());
        return std::to_string(status) + " " + message.data();
    }

    void openTill() const
    {
        ASSERT_NE(nullptr, m_module);
        EXPECT_EQ("2 Not initiated", CALL(exitTL));
        ASSERT_EQ("0 Done",
                  CALL(
                      registerEventsTL,
                      [](std::int32_t amount, std::uint16_t, std::uint16_t) { lastAmount = amount; },
                      [](std::int32_t, const char*, const char*) {},
                      [](std::int32_t, std::uint16_t, const char*) {}));
        ASSERT_EQ("0 Done", CALL(initTL, "Type:RS232;Name:COM7;", "PayOutOkCheck:1;"));
        ASSERT_EQ("0 Done", CALL(loginTL, std::int16_t{7}, std::int16_t{5}));
    }

private:
    platform::Module m_module;
};

/// All lines of the log files of this family, without time stamps.
Texts logLines(const std::string& family)
{
    Texts lines;
    for (const auto& entry : std::filesystem::directory_iterator(scratch::path("logs"))) {
        const std::string name = entry.path().filename().string();
        std::istringstream stream(name.starts_with(family) ? scratch::read("logs/" + name) : "");
        for (std::string line; std::getline(stream, line);) {
            std::erase(line, '\r');
            lines.push_back(line.substr(17));
        }
    }
    return lines;
}

} // namespace

TEST(RealLibrary, ASaleAndThenNothingIsLeftButTheLog)
{
    const Library simulator("Ostrivane");
    {
        const Library till("tllogics");
        till.openTill();
        EXPECT_EQ(10000, simulator.FIND(tlsim_insert)(10000, 1));
        for (int i = 0; i < 500 && lastAmount != 10000; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ("0 Done", till.CALL(payoutTL, 2300, 10000, "T1"));
        EXPECT_EQ(2300, simulator.FIND(tlsim_taken)(nullptr, 0));
        EXPECT_EQ(1, simulator.FIND(tlsim_balances)());
        EXPECT_EQ("0 Done", till.CALL(logoutTL));
        EXPECT_EQ("0 Done", till.CALL(exitTL));
    }
    Texts logic = logLines("tllogic");
    EXPECT_EQ("## Session Starting", logic.at(0));
    EXPECT_EQ("## Session Ending", logic.back());
    const Texts api = logLines("tlapi");
    EXPECT_EQ("## C API Unloaded", api.at(api.size() - 2));

    const auto before = static_cast<std::ptrdiff_t>(logic.size());
    {
        const Library till("tllogics"); // as fresh as the first time
        till.openTill();
    } // and left with the session open
    logic = logLines("tllogic");
    EXPECT_EQ("## Session Starting", *(logic.begin() + before));
    const auto end = std::find(logic.begin() + before, logic.end(), "## Session Ending");
    ASSERT_LT(3, logic.end() - end);
    EXPECT_EQ("=> CTLLogics::exit()", *(end + 2));
    EXPECT_EQ("== CTLLogics::~CTLLogics: exitCom ans=Done", logic.back());
}

TEST(RealLibrary, ItIsLoadedAndUnloadedTwoHundredTimes)
{
    const Library simulator("Ostrivane");
    std::size_t handles = 0;
    std::size_t memory = 0;
    constexpr int ROUNDS = 200;
    for (int round = 0; round < ROUNDS; ++round) {
        const Library till("tllogics");
        ASSERT_EQ("0 Done", till.CALL(
                                registerEventsTL, [](std::int32_t, std::uint16_t, std::uint16_t) {},
                                [](std::int32_t, const char*, const char*) {},
                                [](std::int32_t, std::uint16_t, const char*) {}));
        ASSERT_EQ("0 Done", till.CALL(initTL, "Type:RS232;Name:COM7;", ""));
        if (round % 2 == 0) { // or left to the unloading
            ASSERT_EQ("0 Done", till.CALL(exitTL));
        }
        if (round == 20) {
            handles = openHandles();
            memory = memoryInUse();
        }
    }
    EXPECT_LE(openHandles(), handles);
    if (MEMORY_TELLS) {
        EXPECT_LE(memoryInUse(), memory + memory / 4 + keptByALoad * ROUNDS);
    }
}

TEST(RealLibrary, TheSessionMayBeOpenWhenTheProcessEnds)
{
    static const Library& till = *new Library("tllogics"); // never given back
    till.openTill();
}
