// The C++ binding on the simulated device.
#include "environment.h"
#include "scarce_memory.h"
#include "scratch.h"

#include "simulator/tellarion_simulator.h"
#include "tllogics.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <new>
#include <sstream>
#include <thread>

using tllogics::Money;
using tllogics::Refused;
using tllogics::Session;

std::string refusalOfASession(); // in another translation unit

namespace {

constexpr const char* PORT = "Type:RS232;Name:COM1;";
constexpr const char* SETTINGS = "PayOutOkCheck:1;ChangeOkCheck:1;RegretOkCheck:1;AskPayOutAmountLimit:0;";

/// What the last status event said.
class Status {
public:
    void heard(int amount, int status, int mode)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_last = {amount, status, mode};
        m_hasChanged.notify_all();
    }

    bool waitFor(int amount, int status, int mode)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_hasChanged.wait_for(lock, std::chrono::seconds(20), [&] {
            return m_last == std::array<int, 3>{amount, status, mode};
        });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_hasChanged;
    std::array<int, 3> m_last{-1, -1, -1};
};

class Cpp : public testing::Test {
protected:
    Cpp()
    {
        EXPECT_EQ(0, tlsim_configure(R"({"speed": 20})"));
        on.onStatus = [this](int amount, int value, int mode) { status.heard(amount, value, mode); };
    }

    void logIn(Session& session)
    {
        ASSERT_EQ(TL_STATUS_OK, session.registerEvents4TL().status);
        ASSERT_EQ(TL_STATUS_OK, session.initTL(PORT, SETTINGS).status);
        ASSERT_EQ(TL_STATUS_OK, session.loginTL(1, 1).status);
        ASSERT_TRUE(status.waitFor(0, 0, 1));
    }

    Status status;
    tllogics::Handlers on;
};

template <typename Function>
std::string refusalOf(const Function& function)
{
    try {
        (void)function();
        return "";
    } catch (const Refused& refused) {
        return refused.what();
    }
}

std::vector<std::string> exportedNames()
{
    std::istringstream lines(scratch::source("api/exports.list"));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);)
        if (line.front() != '#')
            names.push_back(line);
    std::sort(names.begin(), names.end());
    return names;
}

/// docs/statuses.tsv: what each call and status say of the money.
std::map<std::string, std::map<int, std::string>> moneyOfTable()
{
    std::map<std::string, std::map<int, std::string>> money;
    std::istringstream lines(scratch::source("docs/statuses.tsv"));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string call, number, meaning, moved;
        std::getline(fields, call, '\t');
        std::getline(fields, number, '\t');
        std::getline(fields, meaning, '\t');
        std::getline(fields, moved, '\t');
        money[call][std::stoi(number)] = moved;
    }
    return money;
}

} // namespace

TEST_F(Cpp, EachFunctionGetsWhatItIsGiven)
{
    Session s(on);
    const std::vector<CashCountRecord> coins{{100, 2, 0, 0}};
    const std::vector<tllogics::Result> results{s.registerEventsTL(),
                                                s.registerEvents2TL(),
                                                s.registerEvents3TL(),
                                                s.registerEvents4TL(),
                                                s.registerEvents23TL(),
                                                s.registerHwndTL(&s),
                                                s.initTL("port", "init"),
                                                s.exitTL(),
                                                s.loginTL(1, -2),
                                                s.loginStrTL("number", "text"),
                                                s.logoutTL(),
                                                s.isOpenTL(),
                                                s.infoTL(),
                                                s.enablePayinTL(),
                                                s.disablePayinTL(),
                                                s.depositTL("T1"),
                                                s.dispenseTL(INT32_MIN, "T2"),
                                                s.askPayoutTL(3),
                                                s.askPayout2TL(4),
                                                s.informTotalAmountTL(5),
                                                s.payoutTL(6, 7, "T3"),
                                                s.payout2TL(8, 9, "T4"),
                                                s.amountDueTL(10, "T5"),
                                                s.changeTL(),
                                                s.regretTL(-11),
                                                s.resetTL(),
                                                s.adminModeTL(12),
                                                s.collectToCashFloatTL(13, "T6"),
                                                s.endReplenishTL("T7"),
                                                s.unlockTL(UINT32_MAX),
                                                s.purgeTL(UINT32_MAX - 1, "T8"),
                                                s.dispenseSpecifiedTL(14, coins, {}, "T9"),
                                                s.cashCountTL(),
                                                s.completeCashCountTL(),
                                                s.getErrorInfoTL(),
                                                s.getCashLevelInfoTL(),
                                                s.getCashSessionInfoTL(),
                                                s.getLevelWarningInfoTL(),
                                                s.changeSettingsTL("set", 15)};
    std::string logged;
    for (const auto& file : std::filesystem::directory_iterator("logs")) {
        std::ifstream log(file.path());
        for (std::string line; std::getline(log, line);)
            if (file.path().filename().string().rfind("tlapi", 0) == 0 && line.find(" => ") == 3 + 13)
                logged += line.substr(20) + "\n";
    }
    EXPECT_EQ(scratch::source("tests/bindings/calls.txt"), logged);
    std::vector<std::string> called;
    for (const tllogics::Result& result : results) {
        EXPECT_EQ(std::string(result.call).rfind("get", 0) == 0, result.text.empty()) << result.call;
        EXPECT_EQ(Money::no, result.money);
        called.push_back(result.call);
    }
    std::sort(called.begin(), called.end());
    EXPECT_EQ(exportedNames(), called);
}

TEST_F(Cpp, WhatTheDeviceTellsIsHandedOut)
{
    EXPECT_EQ(0, tlsim_configure(R"({"answerDelay": 1, "messageGap": 60, "payOutTime": 500})"));
    Session session(on);
    logIn(session);
    EXPECT_EQ(1u, session.isOpenTL().open);
    const tllogics::InfoResult info = session.infoTL();
    EXPECT_EQ("2 ABCDEFGHIJKLMNPQRVX 03.12 Tellarion simulator",
              std::to_string(info.level) + " " + info.commands + " " + info.master + " " + info.info);
    for (const tllogics::CountResult& count : {session.cashCountTL(), session.completeCashCountTL()}) {
        std::int64_t value = 0;
        for (const auto* const records : {&count.coins, &count.notes})
            for (const CashCountRecord& record : *records)
                value +=
                    std::int64_t{record.nDenomination} * (record.nTotal != 0 ? record.nTotal : record.nCount);
        EXPECT_EQ(tlsim_drawer(nullptr, 0), value);
    }
    const tllogics::RestResult asked = session.askPayout2TL(50);
    EXPECT_EQ(TL_STATUS_NOT_POSSIBLE, asked.status);
    EXPECT_EQ(50, asked.amountRest);
    EXPECT_EQ(10000, tlsim_insert(10000, 1));
    EXPECT_TRUE(status.waitFor(10000, 0, 1));
    const tllogics::RestResult paid = session.amountDueTL(7700, "T1");
    EXPECT_EQ("Done", paid.text);
    EXPECT_EQ(Money::yes, paid.money);
    EXPECT_EQ(1, tlsim_balances());
}

TEST_F(Cpp, TheMoneyIsThatOfTheTable)
{
    for (const auto& [call, statuses] : moneyOfTable()) {
        bool pays = false;
        for (const auto& entry : statuses)
            pays = pays || entry.second != "no";
        for (int value = -1; value <= 40; ++value) {
            const auto known = statuses.find(value);
            const std::string moved = known != statuses.end() ? known->second : pays ? "unknown" : "no";
            EXPECT_EQ(moved == "yes"  ? Money::yes
                      : moved == "no" ? Money::no
                                      : Money::unknown,
                      tllogics::moneyOf(call, value, "text"))
                << call << " " << value;
        }
        EXPECT_EQ(pays ? Money::unknown : Money::no, tllogics::moneyOf(call, TL_STATUS_ERROR, "")) << call;
    }
}

TEST_F(Cpp, ItIsClosedByTheDestructorOrBefore)
{
    std::optional<tllogics::Closing> closing;
    on.onClosed = [&](const tllogics::Closing& result) { closing = result; };
    {
        Session session(on);
        logIn(session);
    }
    ASSERT_TRUE(closing && closing->logout && closing->exit);
    EXPECT_EQ("Done Done", closing->logout->text + " " + closing->exit->text);
    {
        Session session(on);
        EXPECT_EQ("Session: there is one in this process already", refusalOf([] { Session second; }));
        EXPECT_EQ("Session: there is one in this process already", refusalOfASession());
        logIn(session);
        const tllogics::Closing byHand = session.close();
        EXPECT_EQ(TL_STATUS_OK, byHand.logout->status);
        EXPECT_EQ(TL_STATUS_OK, byHand.exit->status);
        EXPECT_FALSE(session.close().exit);
        EXPECT_EQ("loginTL: the Session is closed", refusalOf([&] { return session.loginTL(1, 1); }));
        EXPECT_EQ("", refusalOfASession());
    }
    // A device that is busy with something else is not logged out, and says so.
    closing.reset();
    {
        Session session(on);
        logIn(session);
        EXPECT_EQ(TL_STATUS_OK, session.changeSettingsTL("StatusOkTimeout:1;", 0).status);
        EXPECT_EQ(200, tlsim_control("fault", R"({"name": "busy"})", nullptr, 0));
        EXPECT_TRUE(status.waitFor(0, 1, 1));
    }
    ASSERT_TRUE(closing && closing->logout && closing->exit);
    EXPECT_EQ(TL_STATUS_BUSY, closing->logout->status);
    EXPECT_EQ(TL_STATUS_OK, closing->exit->status);
}

TEST_F(Cpp, NothingIsCalledInsideAnEventButTheExit)
{
    Session* till = nullptr;
    std::vector<std::string> heard; // the events' thread alone writes it
    std::atomic<bool> shallEnd{false};
    std::atomic<bool> hasEnded{false};
    std::atomic<bool> isOver{false};
    on.onStatus = [&](int amount, int value, int mode) {
        status.heard(amount, value, mode);
        heard.push_back(refusalOf([&] { return till->isOpenTL(); }));
        if (shallEnd && !hasEnded) {
            const tllogics::Closing closing = till->close();
            EXPECT_FALSE(closing.logout);
            EXPECT_EQ(TL_STATUS_OK, closing.exit->status);
            hasEnded = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            isOver = true;
        }
    };
    Session session(on);
    till = &session;
    logIn(session);

    // What two threads call at once is refused to one of them. A count waits for a busy device.
    EXPECT_EQ(200, tlsim_control("fault", R"({"name": "busy"})", nullptr, 0));
    EXPECT_TRUE(status.waitFor(0, 1, 1));
    std::atomic<bool> isCounted{false};
    std::thread other([&] {
        while (!refusalOf([&] { return session.cashCountTL(); }).empty()) {
        }
        isCounted = true;
    });
    std::string refusal;
    while (refusal.empty() && !isCounted)
        refusal = refusalOf([&] { return session.isOpenTL(); });
    EXPECT_EQ(200, tlsim_control("repair", nullptr, nullptr, 0));
    other.join();
    EXPECT_EQ("isOpenTL: another thread is inside a call", refusal);

    shallEnd = true;
    EXPECT_EQ(10000, tlsim_insert(10000, 1));
    for (int i = 0; i < 2000 && !hasEnded; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(hasEnded);
    EXPECT_FALSE(session.close().exit);
    EXPECT_TRUE(isOver);
    ASSERT_FALSE(heard.empty());
    for (const std::string& why : heard)
        EXPECT_EQ("isOpenTL: not from inside an event", why);
}

TEST_F(Cpp, WhatAHandlerThrowsIsTold)
{
    on.onStatus = [this](int amount, int value, int mode) {
        status.heard(amount, value, mode);
        throw std::runtime_error("thrown at " + std::to_string(amount));
    };
    testing::internal::CaptureStderr();
    logIn(*std::make_unique<Session>(on));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("onStatus threw: thrown at 0"));
    std::vector<std::string> thrown;
    on.onException = [&](const char* event, std::exception_ptr exception) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::runtime_error& error) {
            thrown.push_back(std::string(event) + " " + error.what());
        }
    };
    logIn(*std::make_unique<Session>(on));
    EXPECT_NE(thrown.end(), std::find(thrown.begin(), thrown.end(), "onStatus thrown at 0"));
}

TEST_F(Cpp, TextsAreBytesOfTheLanguageFile)
{
    scratch::write("tllang.ini", "[Lang]\nDone=F\xE4rdig\n"); // in Latin-1
    Session session(on);
    EXPECT_EQ(TL_STATUS_OK, session.registerEvents4TL().status);
    EXPECT_EQ("F\xE4rdig", session.initTL(PORT, "").text);
}

TEST_F(Cpp, ArraysAreReleased)
{
    const std::vector<CashCountRecord> many(20000, {100, 1, 0, 0});
    Session session(on);
    EXPECT_EQ(TL_STATUS_OK, session.registerEvents4TL().status);
    // Not handed out: what was given still stands.
    EXPECT_EQ(many.size(), session.dispenseSpecifiedTL(0, many, {}, "").coins.size());
    EXPECT_EQ(TL_STATUS_OK, session.initTL(PORT, "LogDebug:0;").status);
    std::size_t before = 0;
    for (int round = 0; round < 60; ++round) {
        if (round == 10)
            before = memoryInUse();
        EXPECT_EQ(many.size(), session.dispenseSpecifiedTL(0, many, many, "").notes.size());
    }
    if (MEMORY_TELLS) {
        EXPECT_LT(memoryInUse(), before + 10000000); // of 32 millions that came and went
    }
}

TEST_F(Cpp, APaymentWithoutMemoryIsNotMadeOrTellsOfIt)
{
    // Half of it can't be paid, so that there are arrays and a text to be handed out afterwards.
    scratch::write("tllang.ini", "[Lang]\nFailed to comply=Not all of what was asked for came out\n");
    const std::vector<CashCountRecord> coins{{100, 1, 0, 0}, {500, 1, 0, 0}};
    Session session(on);
    logIn(session);
    EXPECT_EQ(TL_STATUS_OK, session.disablePayinTL().status);
    EXPECT_EQ(0, tlsim_stick(100, 100000));
    std::optional<tllogics::RestArraysResult> result;
    int thrown = 0;
    for (int allowed = 0; !result || result->status != TL_STATUS_FAILED_TO_COMPLY; ++allowed) {
        const int before = tlsim_drawer(nullptr, 0);
        result.reset();
        allocationsLeft = allowed;
        try {
            result = session.dispenseSpecifiedTL(0, coins, {}, "an id that is longer than short texts");
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
        allocationsLeft = -1;
        while (tlsim_busy() == 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!result) {
            EXPECT_EQ(before, tlsim_drawer(nullptr, 0)) << allowed;
        } else if (result->text.empty()) {
            EXPECT_EQ(Money::unknown, result->money);
        } else if (result->status == TL_STATUS_FAILED_TO_COMPLY) {
            EXPECT_EQ(before - 500, tlsim_drawer(nullptr, 0));
            EXPECT_EQ(Money::yes, result->money);
            EXPECT_EQ(100, result->coins.at(0).nDenomination);
        }
    }
    EXPECT_LT(2, thrown);
}
