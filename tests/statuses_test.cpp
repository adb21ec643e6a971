// The table of statuses, docs/statuses.tsv, against the library and its header: every call is made in every
// situation that decides what it answers.
#include "library_test.h"

#include "text/ascii.h"

#include <optional>
#include <set>

namespace {

using CallAndStatus = std::pair<std::string, int>;
using Answers = std::map<CallAndStatus, std::set<std::string>>; // with their messages
using Calls = std::vector<std::pair<std::string, std::function<std::string()>>>;

constexpr const char* OUT_OF_MEMORY_ALONE = "changeSettingsTL";

Texts split(const std::string& text, const std::string& separator)
{
    Texts parts;
    std::size_t from = 0;
    for (std::size_t to = 0; (to = text.find(separator, from)) != std::string::npos;
         from = to + separator.size())
        parts.push_back(text.substr(from, to - from));
    parts.push_back(text.substr(from));
    return parts;
}

std::string between(const std::string& all, const std::string& begin, const std::string& end)
{
    const std::size_t from = all.find(begin);
    return from == std::string::npos ? "" : split(all.substr(from + begin.size()), end).front();
}

/// Each function of the header with the comment above it.
std::vector<std::pair<std::string, std::string>> headerComments()
{
    std::vector<std::pair<std::string, std::string>> found;
    std::string comment;
    for (const std::string& line : split(scratch::source("api/tllogics.h"), "\n")) {
        if (line.starts_with("/*"))
            comment.clear();
        if (line.starts_with("int16_t "))
            found.emplace_back(between(line, " ", "("), comment);
        else
            comment += line.substr(std::min<std::size_t>(2, line.size()));
    }
    return found;
}

/// The longest time that a comment tells, in milliseconds; nothing if it points to another call's.
std::optional<std::int64_t> worstTimeOf(const std::string& comment)
{
    if (comment.find("Returns at once") != std::string::npos)
        return 0;
    std::istringstream words(between(comment, "At worst:", "Statuses:"));
    std::optional<std::int64_t> worst;
    for (std::string word, before; words >> word; before = word)
        if (word[0] == 's' && isDigit(before[0]))
            worst = std::max<std::int64_t>(worst.value_or(0), std::stoi(before) * 1000);
    return worst;
}

struct Table {
    Answers answers;
    std::map<CallAndStatus, std::string> money;
    Texts calls; // in their order

    Table()
    {
        Texts lines = split(scratch::source("docs/statuses.tsv"), "\n");
        lines.pop_back();
        EXPECT_EQ("call\tstatus\tmeaning\tmoney\tretry\task\tcashier\tmessages", lines.at(0));
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const Texts fields = split(lines[i], "\t");
            EXPECT_EQ(8u, fields.size()) << lines[i];
            const CallAndStatus key(fields.at(0), std::stoi(fields.at(1)));
            if (calls.empty() || calls.back() != key.first)
                calls.push_back(key.first);
            EXPECT_TRUE(money.emplace(key, fields.at(3)).second) << lines[i];
            EXPECT_TRUE(fields[3] == "no" || fields[3] == "yes" || fields[3] == "unknown") << lines[i];
            answers[key];
            if (fields.at(7) != "-")
                for (const std::string& message : split(fields[7], " | "))
                    answers[key].insert(message);
        }
    }

    /// As the header writes them: "0+ 1 6?", "+" for money that moved and "?" for money that may have.
    std::string statusesOf(const std::string& name) const
    {
        std::string list;
        for (const auto& [key, moved] : money)
            if (key.first == name)
                list += compose(" ", key.second, moved == "yes" ? "+" : moved == "unknown" ? "?" : "");
        return list;
    }
};

/// Without anything to point at, "message" included.
template <typename... Parameters>
std::string callWithNothing(std::int16_t (*function)(Parameters...))
{
    return std::to_string(function(Parameters{}...)) + " ";
}

#define CALL(function, ...)                                                                                  \
    {                                                                                                        \
#function, [] { return call(function __VA_OPT__(, ) __VA_ARGS__); }                                  \
    }
#define WITH_NOTHING(function)                                                                               \
    {                                                                                                        \
#function, [] { return callWithNothing(function); }                                                  \
    }
#define FETCH(function)                                                                                      \
    {                                                                                                        \
#function, [] { return fetch(function); }                                                            \
    }

std::int32_t amountRest;
std::uint32_t unsignedRest;
std::array<char, 1024> text;

template <typename... Buffers>
std::string fetch(std::int16_t (*function)(Buffers...))
{
    return std::to_string(function(static_cast<Buffers>(text.data())...)) + " ";
}

/// Those that work on an open device.
const Calls deviceCalls{
    CALL(loginTL, 7, 5),
    CALL(loginStrTL, "7", "5"),
    CALL(logoutTL),
    CALL(isOpenTL, &unsignedRest),
    CALL(infoTL, &unsignedRest, text.data(), text.data(), text.data()),
    CALL(infoTL, &unsignedRest, nullptr, text.data(), text.data()),
    CALL(infoTL, &unsignedRest, text.data(), nullptr, text.data()),
    CALL(infoTL, &unsignedRest, text.data(), text.data(), nullptr),
    CALL(enablePayinTL),
    CALL(disablePayinTL),
    CALL(depositTL, "T1"),
    CALL(dispenseTL, 300, "T1", &amountRest),
    CALL(dispenseTL, 2000, "T1", &amountRest),
    CALL(dispenseTL, -1, "T1", &amountRest),
    CALL(dispenseTL, 100000000, "T1", &amountRest),
    CALL(askPayoutTL, 300),
    CALL(askPayout2TL, 300, &amountRest),
    CALL(askPayout2TL, 300, nullptr),
    CALL(informTotalAmountTL, 300),
    CALL(payoutTL, 300, 100, "T1"),
    CALL(payoutTL, 2000, 100, "T1"),
    CALL(payoutTL, -1, 100, "T1"),
    CALL(payoutTL, 100000000, 100, "T1"),
    CALL(payoutTL, 300, -1, "T1"),
    CALL(payoutTL, 300, 501, "T1"),
    CALL(payout2TL, 300, 100, "T1", &amountRest),
    CALL(payout2TL, 2000, 100, "T1", &amountRest),
    CALL(payout2TL, -1, 100, "T1", &amountRest),
    CALL(payout2TL, 100000000, 100, "T1", &amountRest),
    CALL(payout2TL, 300, -1, "T1", &amountRest),
    CALL(payout2TL, 300, 501, "T1", &amountRest),
    CALL(payout2TL, 300, 100, "T1", nullptr),
    CALL(amountDueTL, 200, "T1", &amountRest),
    CALL(amountDueTL, -2000, "T1", &amountRest),
    CALL(amountDueTL, 501, "T1", &amountRest),
    CALL(amountDueTL, -100000000, "T1", &amountRest),
    CALL(amountDueTL, 200, "T1", nullptr),
    CALL(changeTL),
    CALL(regretTL, 0),
    CALL(regretTL, 1),
    CALL(regretTL, 2),
    CALL(resetTL),
    CALL(adminModeTL, 1),
    CALL(collectToCashFloatTL, 1, nullptr, nullptr, nullptr, nullptr, nullptr, "T1"),
    CALL(endReplenishTL, "T1"),
    CALL(unlockTL, 1),
    CALL(purgeTL, 0, nullptr, nullptr, nullptr, nullptr, nullptr, "T1"),
    CALL(dispenseSpecifiedTL, 1, nullptr, nullptr, nullptr, nullptr, nullptr, "T1"),
    {"dispenseSpecifiedTL",
     [] {
         CashCountRecord tooMuch{100000000, 1, 0, 0};
         CashCountRecord* coins = &tooMuch;
         std::int32_t one = 1;
         std::string outcome = call(dispenseSpecifiedTL, 1, &coins, &one, nullptr, nullptr, nullptr, "T1");
         if (coins != &tooMuch)
             std::free(coins);
         return outcome;
     }},
    CALL(cashCountTL, nullptr, nullptr, nullptr, nullptr),
    CALL(completeCashCountTL, nullptr, nullptr, nullptr, nullptr),
    FETCH(getErrorInfoTL),
    FETCH(getCashLevelInfoTL),
    FETCH(getCashSessionInfoTL),
    {"getLevelWarningInfoTL",
     [] {
         std::int32_t type = 1;
         return std::to_string(
                    getLevelWarningInfoTL(&type, text.data(), text.data(), text.data(), text.data())) +
                " ";
     }},
};

const Calls otherCalls{
    CALL(changeSettingsTL, "StatusOkTimeout:1", 0),
    CALL(changeSettingsTL, "StatusOkTimeout:1", 2),
    CALL(changeSettingsTL, "", 0),
    CALL(isOpenTL, nullptr),
    CALL(infoTL, nullptr, nullptr, nullptr, nullptr),
    WITH_NOTHING(initTL),
    WITH_NOTHING(exitTL),
    WITH_NOTHING(loginTL),
    WITH_NOTHING(loginStrTL),
    WITH_NOTHING(logoutTL),
    WITH_NOTHING(enablePayinTL),
    WITH_NOTHING(disablePayinTL),
    WITH_NOTHING(depositTL),
    WITH_NOTHING(dispenseTL),
    WITH_NOTHING(askPayoutTL),
    WITH_NOTHING(informTotalAmountTL),
    WITH_NOTHING(payoutTL),
    WITH_NOTHING(changeTL),
    WITH_NOTHING(regretTL),
    WITH_NOTHING(resetTL),
    WITH_NOTHING(adminModeTL),
    WITH_NOTHING(collectToCashFloatTL),
    WITH_NOTHING(endReplenishTL),
    WITH_NOTHING(unlockTL),
    WITH_NOTHING(purgeTL),
    WITH_NOTHING(dispenseSpecifiedTL),
    WITH_NOTHING(cashCountTL),
    WITH_NOTHING(completeCashCountTL),
    WITH_NOTHING(getErrorInfoTL),
    WITH_NOTHING(getCashLevelInfoTL),
    WITH_NOTHING(getCashSessionInfoTL),
    WITH_NOTHING(getLevelWarningInfoTL),
};

/// What the device does about a command that it takes.
enum class Manner { Well, Silent, Fails, LeavesARest, Refuses };

class Statuses : public LibraryTest {
protected:
    void observe(const std::string& name, const std::string& outcome)
    {
        const CallAndStatus key(name, std::stoi(outcome));
        const std::string message = outcome.substr(outcome.find(' ') + 1);
        answers[key];
        if (!message.empty() && message != "(untouched)")
            answers[key].insert(message);
        // Where the table says that no money moved, no command that moves any was taken.
        bool mayHaveMoved = false;
        for (const std::string& command : device.sent()) {
            const bool moves = std::string("cfmnq").find(command[0]) != std::string::npos ||
                               (command[0] == 'e' && command != "e|3");
            mayHaveMoved |= moves && answer != '1' && answer != '2' && answer != '3';
        }
        const auto told = table.money.find(key);
        if (told == table.money.end() || told->second == (mayHaveMoved ? "no" : "yes"))
            ADD_FAILURE() << name << " answered " << outcome << " with money "
                          << (mayHaveMoved ? "on its way" : "where it was");
    }

    void behave(Manner manner)
    {
        static const Texts administrative{"k", "m", "n", "p", "q", "r"};
        device.behaveWell();
        device.on("i").says(10, "j100:2;1000:1");
        device.on("j").says(10, "j100:2;1000:1");
        for (const std::string& command : administrative)
            device.on(command).says(10, "e01").says(30, head('a', 0, 3, 3));
        if (manner == Manner::LeavesARest) {
            device.on("d").says(10, head('c', 100, 0)).says(20, head('b', 100, 0)).says(40, head('a', 0, 0));
            for (const std::string& command : administrative)
                device.on(command).says(10, "e1100:2;.01");
            device.on("a").says(10, head('a', 0, 0, 2));
        }
        if (manner == Manner::Well || manner == Manner::LeavesARest)
            return;
        for (const char* const command : {"a", "b", "c", "d", "e", "e|1", "e|2", "e|4", "f", "g",
                                          "h", "i", "j", "k", "l", "m",   "n",   "p",   "q", "r"}) {
            Reply& reply = device.on(command).answers(std::string(1, answer));
            if (manner == Manner::Fails)
                reply.says(10, head('a', 0, 2));
        }
    }

    /// All calls with the device and the library as they are arranged anew before each.
    void callAll(const std::function<void()>& arrange)
    {
        for (const auto& [name, make] : deviceCalls) {
            virtual_clock::forget();
            virtual_clock::advance(100000); // earlier pay-outs don't count any more
            arrange();
            device.sent();
            const std::int64_t start = virtual_clock::now();
            observe(name, make());
            longest[name] = std::max(longest[name], virtual_clock::now() - start);
        }
    }

    void openAs(bool extended, bool longForm)
    {
        answer = '0';
        behave(Manner::Well);
        device.on("x").answers(extended ? "0" : "2").says(10, "x---reserved-17---0312ABCDEFGHIV");
        device.on("v").says(10, longForm ? "v106API4.2" : "v006API4.2");
        g_TLState = STATE_LOGGED_OUT;
        g_nLastCallbackStatus = DEVICE_READY;
        g_sLastCallbackType.clear();
        ASSERT_EQ("0 Done", call(loginTL, 1, 1));
    }

    const Table table;
    Answers answers;
    std::map<std::string, std::int64_t> longest; // milliseconds
    char answer = '0';                           // to every command
};

} // namespace

TEST_F(Statuses, TheTableSaysWhatTheCallsAnswer)
{
    const auto observeAll = [&](const Calls& calls) {
        for (const auto& [name, make] : calls)
            observe(name, make());
    };
    const Calls registrations{
        CALL(registerEventsTL, onStatus, onError, onCashLevel),
        CALL(registerEvents2TL, onStatus, onError, onCashLevel, onSession),
        CALL(registerEvents3TL, onStatus, onError, onLevelWarning, onSession),
        CALL(registerEvents4TL, onStatus, onError, onLevelWarning, onInformation, onSession),
        CALL(registerEvents23TL, onStatus, onError, onCashLevel, onLevelWarning, onSession),
        CALL(registerHwndTL, nobody),
    };
    // Not initiated
    observeAll(otherCalls);
    observeAll(deviceCalls);
    observeAll({CALL(registerEventsTL, onStatus, onError, nullptr),
                CALL(registerEvents2TL, onStatus, nullptr, onCashLevel, onSession),
                CALL(registerEvents3TL, nullptr, onError, onLevelWarning, onSession),
                CALL(registerEvents4TL, onStatus, onError, onLevelWarning, nullptr, onSession),
                CALL(registerEvents23TL, onStatus, onError, onCashLevel, onLevelWarning, nullptr),
                CALL(registerHwndTL, nullptr), CALL(exitTL), CALL(initTL, "", ""),
                CALL(initTL, "Type:USB;", ""), CALL(initTL, "Type:TCP;", ""),
                CALL(initTL, "Type:RS232;Name:COM1;", "")});
    ASSERT_EQ("0 Done", call(registerHwndTL, nobody));
    observeAll(registrations);
    ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", ""));
    ASSERT_EQ("0 Done", call(exitTL)); // forgets the window
    observeAll(registrations);
    observeAll({CALL(initTL, "Type:RS232;", "")});
    ostrivane().canBeLoaded = false;
    observeAll({CALL(initTL, "Type:RS232;Name:COM7;", "")});
    ostrivane().canBeLoaded = true;
    for (const char* const function : {"tl_initiate2", "tl_dini", "tl_002"}) {
        ostrivane().missingFunctions = {function};
        observeAll({CALL(initTL, "Type:RS232;Name:COM7;", "")});
    }
    ostrivane().missingFunctions = {};
    const char* const settings = "PayOutAmountPerTimeLimitAmount:1000;LogDebug:0;LogCRToCAPI:0;LogCAPIToCR:0;"
                                 "LogComToCAPI:0;LogCAPIToCom:0;PayOutOkCheck:1;";
    ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", settings));
    observe("initTL", "0 Done");
    observeAll({CALL(initTL, "Type:RS232;Name:COM7;", "")});

    struct Situation {
        int status;
        char answer;
        Manner manner;
    };
    const std::vector<Situation> situations{
        {0, '0', Manner::Well},        {0, '0', Manner::Silent},  {0, '0', Manner::Fails},
        {0, '0', Manner::LeavesARest}, {0, '1', Manner::Refuses}, {0, '2', Manner::Refuses},
        {0, '3', Manner::Refuses},     {0, 'Z', Manner::Refuses}, {1, '0', Manner::Well},
        {1, '0', Manner::Silent},      {1, '1', Manner::Refuses}, {2, '0', Manner::Well},
    };
    for (const bool extended : {true, false}) {
        for (const bool longForm : {false, true}) {
            openAs(extended, longForm);
            for (const int state : {0, 1, 2, 3, 4}) {
                for (const int mode : {1, 3}) {
                    for (const Situation& situation : situations) {
                        callAll([&] {
                            answer = situation.answer;
                            behave(situation.manner);
                            g_TLState = state;
                            g_nLastCallbackStatus = situation.status;
                            g_nLastCallbackMode = mode;
                            g_nAmountPaidIn = mode == 3 ? 0 : 500;
                            g_nApiVersionKind = longForm ? 1 : 0;
                            g_sLastCallbackType.clear();
                            // With good levels a payment sends its command without a question.
                            g_nCurrentLowLevelWarningState.assumeLow();
                            if (longForm) {
                                g_nCurrentLowLevelWarningState.beginPayOut();
                                g_nCurrentLowLevelWarningState.endPayOut();
                            }
                            // Ready when a call has nearly given it up.
                            if (situation.status == DEVICE_BUSY && situation.manner == Manner::Silent)
                                device.sayAfter(14900, head('a', g_nAmountPaidIn, state < 3 ? 0 : 3, mode));
                        });
                    }
                }
            }
        }
    }
    answer = '0';
    // The paid-in amount falls while a call waits.
    behave(Manner::Well);
    g_TLState = STATE_PAYIN_ENABLED;
    g_nLastCallbackStatus = DEVICE_BUSY;
    g_nAmountPaidIn = 500;
    device.sayAfter(100, head('a', 0, 0));
    observeAll({CALL(amountDueTL, 200, "T1", &amountRest)});

    ostrivane().canBeFreed = false;
    observeAll({CALL(exitTL)});
    ostrivane().canBeFreed = true;
    observeAll({CALL(exitTL)});

    answers[{OUT_OF_MEMORY_ALONE, TL_STATUS_ERROR}];
    for (const auto& [key, messages] : table.answers) {
        const auto seen = answers.find(key);
        ASSERT_NE(answers.end(), seen) << key.first << " never answers " << key.second;
        EXPECT_EQ(messages, seen->second) << key.first << " " << key.second;
    }
    EXPECT_EQ(table.answers.size(), answers.size());
    // With the round in which a busy device is given up.
    for (const auto& [name, comment] : headerComments()) {
        const auto worst = worstTimeOf(comment);
        EXPECT_LE(longest[name], worst.value_or(longest[name]) + 10) << name;
    }
}

TEST_F(Statuses, TheHeaderSaysTheSame)
{
    Texts found;
    for (const auto& [name, comment] : headerComments()) {
        found.push_back(name);
        EXPECT_EQ(table.statusesOf(name), between(comment, "Statuses:", ".")) << name;
    }
    EXPECT_EQ(table.calls, found) << "the order is the header's";
}

TEST_F(Statuses, ThePictureShowsWhereEachCallLeads)
{
    static const Texts states{"not initiated", "closed", "pay-in enabled", "pay-in disabled",
                              "cash deposited"};
    using Ends = std::pair<std::string, std::string>;
    std::map<std::string, std::map<Ends, std::set<std::string>>> seen;
    const auto observeFrom = [&](const std::string& situation, int from, const Calls& calls,
                                 const std::function<void()>& arrange) {
        for (const auto& [name, make] : calls) {
            virtual_clock::forget();
            arrange();
            const bool well = make().front() == '0';
            virtual_clock::advance(1000);
            const Ends ends(states.at(from), states.at(g_TLState));
            if (well && !seen["ready"][ends].contains(name))
                seen[situation][ends].insert(name);
        }
    };
    const auto initiate = [&] {
        call(exitTL);
        registerEvents();
        return call(initTL, "Type:RS232;Name:COM7;", "");
    };
    observeFrom("ready", 0, deviceCalls, [] {});
    observeFrom("ready", 0, {{"initTL", initiate}}, [] {});
    for (const bool payinOpens : {true, false}) {
        for (const int from : {1, 2, 3, 4}) {
            const auto observeAs = [&](const std::string& name, int status, int mode, int paidIn) {
                const auto arrange = [&] {
                    if (g_TLState == STATE_UNINITIATED)
                        initiate();
                    openAs(true, false);
                    const int then = payinOpens ? DEVICE_READY : DEVICE_READY_PAYIN_DISABLED;
                    device.on("a").says(10, head('a', 0, then));
                    device.on("e|3").says(10, head('a', 0, then, from == 1 ? MODE_CLOSED : MODE_OPEN));
                    g_TLState = from;
                    g_nLastCallbackStatus = status;
                    g_nLastCallbackMode = mode;
                    g_nAmountPaidIn = paidIn;
                };
                observeFrom(name, from, deviceCalls, arrange);
                observeFrom(name, from, {CALL(exitTL)}, arrange);
            };
            const int rest = from < 3 ? DEVICE_READY : DEVICE_READY_PAYIN_DISABLED;
            for (const int paidIn : {0, 500})
                observeAs("ready", rest, from == 1 ? MODE_CLOSED : MODE_OPEN, paidIn);
            observeAs("administration", rest, MODE_ADMINISTRATION, 0);
            observeAs("error", DEVICE_ERROR, MODE_OPEN, 500);
        }
    }
    std::string found = "device\tfrom\tto\tcalls\n";
    for (const char* const name : {"ready", "administration", "error"}) {
        for (const auto& [ends, calls] : seen[name]) {
            std::string list;
            for (const std::string& each : calls)
                list += (list.empty() ? "" : " ") + each;
            found += list.empty() ? "" : compose(name, "\t", ends.first, "\t", ends.second, "\t", list, "\n");
        }
    }
    EXPECT_EQ(scratch::source("docs/states.tsv"), found);
}
