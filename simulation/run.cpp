#include "simulation/run.h"

#include "config/settings.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"
#include "simulator/change_maker.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace simulation {

namespace {

using simulator::CashKind;
using simulator::Denomination;
using simulator::FaultName;

bool settingIs1(SettingNumber number)
{
    return g_logic.settings().getIntSetting(number) == 1;
}

/// Arrays as the application gets and releases them.
struct Arrays {
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t coinCount = 0;
    std::int32_t noteCount = 0;
    std::uint32_t rest = 0;

    Arrays() = default;
    Arrays(const Arrays&) = delete;
    Arrays& operator=(const Arrays&) = delete;
    ~Arrays()
    {
        std::free(coins);
        std::free(notes);
    }
    Amount amount() const
    {
        Amount sum = 0;
        for (int i = 0; i < coinCount; ++i)
            sum += Amount{coins[i].nDenomination} * (coins[i].nCount + coins[i].nRecycle);
        for (int i = 0; i < noteCount; ++i)
            sum += Amount{notes[i].nDenomination} * (notes[i].nCount + notes[i].nRecycle);
        return sum;
    }
};

Amount valueOf(const simulator::Drawer& drawer)
{
    Amount sum = 0;
    for (const Denomination& unit : drawer.units())
        sum += unit.value * unit.count;
    return sum;
}

} // namespace

Run::Run(const Plan& plan)
    : m_plan(plan), m_surroundings([&] {
          Random random(plan.seed, 0);
          return anyDevice(random);
      }()),
      m_till(m_surroundings)
{
    if (!plan.logs.empty()) {
        std::filesystem::create_directories(plan.logs);
        m_tape.emplace(plan.logs + "/tape.jsonl");
        m_surroundings.tape = &*m_tape;
        m_money.open(plan.logs + "/money.tsv", std::ios::binary);
        m_surroundings.money = &m_money;
        m_tape->environment("TLLOGS", "logs");
    }
    virtualSystem().environment["TLLOGS"] = "logs";
    Random random(plan.seed, 1);
    if (random.once(2))
        writeFile("./tllogics.ini", settingsFile(random));
    if (random.once(4))
        writeFile("./tllang.ini", "[Lang]\nDone=Klart\nBusy=Upptagen\nTimed out=Tiden har g\xC3\xA5tt ut\n");
}

void Run::writeFile(const std::string& name, const std::string& text)
{
    virtualSystem().files[name] = text;
    if (m_tape)
        m_tape->file(name, text);
}

Run::~Run()
{
    if (m_till.isInitiated())
        m_till.stop();
}

simulator::Settings Run::anyDevice(Random& random) const
{
    simulator::Settings settings;
    struct Money {
        const char* currency;
        int decimals;
        std::vector<Amount> coins;
        std::vector<Amount> notes;
    };
    static const std::vector<Money> kinds{
        {"SEK", 2, {100, 200, 500, 1000}, {2000, 5000, 10000, 20000, 50000}},
        {"EUR", 2, {1, 2, 5, 10, 20, 50, 100, 200}, {500, 1000, 2000, 5000}},
        {"GBP", 2, {1, 2, 5, 10, 20, 50, 100, 200}, {500, 1000, 2000}},
        {"JPY", 0, {1, 5, 10, 50, 100, 500}, {1000, 5000, 10000}},
        {"USD", 2, {1, 5, 10, 25}, {100, 500, 1000, 2000}},
    };
    const Money& money = random.one(kinds);
    settings.currency = money.currency;
    settings.decimals = money.decimals;
    settings.drawer.clear();
    for (const auto& [values, kind] :
         {std::pair(money.coins, CashKind::Coin), std::pair(money.notes, CashKind::Note)}) {
        for (const Amount value : values) {
            Denomination unit;
            unit.value = value;
            unit.kind = kind;
            unit.capacity = kind == CashKind::Coin ? 400 : 150;
            unit.count = random.once(12) ? random.between(0, 3)
                                         : random.between(unit.capacity / 4, unit.capacity * 3 / 4);
            unit.low = random.between(0, 9);
            unit.high = random.once(2) ? unit.capacity - 10 : 0;
            unit.cashFloat = unit.capacity / 3;
            unit.recycled = !random.once(15);
            settings.drawer.push_back(unit);
        }
    }
    settings.versionKind = random.one({1, 1, 1, 0, 2});
    if (random.once(6))
        settings.commands = "ABDEFGHIJL"; // without the extended ones: no version, no dispense
    settings.payOutTime = random.one({60, 400, 400, 3000, 9000});
    settings.messageGap = random.one({20, 50, 50, 200});
    settings.answerDelay = random.one({0, 20, 20, 300});
    settings.partSize = static_cast<std::size_t>(random.between(10, 60));
    settings.payInAfterLogin = !random.once(5);
    settings.sessionTexts = !random.once(3);
    settings.busyInCall = random.once(8);
    settings.loginClearsError = random.once(4);
    return settings;
}

std::string Run::anySettings(Random& random) const
{
    std::string text;
    const auto add = [&](const char* key, int value) {
        text += std::string(key) + ":" + std::to_string(value) + ";";
    };
    if (random.once(2))
        add("PayOutOkCheck", random.between(0, 1));
    if (random.once(3))
        add("ChangeOkCheck", random.between(0, 1));
    if (random.once(3))
        add("RegretOkCheck", random.between(0, 1));
    if (random.once(3))
        add("AskPayOutAmountLimit", random.one({0, 100, 4900, 1000000}));
    if (random.once(4))
        add("StatusOkTimeout", random.one({1, 5, 10, 30}));
    if (random.once(8)) {
        add("PayOutAmountPerTimeLimitAmount", random.one({0, 500, 20000, 100000}));
        add("PayOutAmountPerTimeLimitSeconds", random.one({0, 10, 60, 3600}));
    }
    if (random.once(6))
        add("ForwardCallbackChangeOnly", random.between(0, 1));
    if (random.once(6))
        add("LoggEveryCallback", random.between(0, 1));
    if (random.once(10))
        add("LoggSendEvents", random.between(0, 1));
    if (random.once(8))
        add("LogDebug", random.between(0, 1));
    if (random.once(12))
        add("LogComToCAPI", random.between(0, 1));
    if (random.once(12))
        add("LogCRToCAPI", random.between(0, 1));
    if (random.once(12))
        text += "LevelWarningFilter:500,1000,2000;";
    return text;
}

std::string Run::settingsFile(Random& random) const
{
    std::string text =
        "[Operation]\nPayOutOkCheck=" + std::to_string(random.between(0, 1)) +
        "\nAutoDisable=" + std::to_string(random.once(6)) +
        "\nLegacySystem=" + std::to_string(random.once(10)) +
        "\nStatusOkTimeout=12\n[Logging]\nLoggEveryCallback=" + std::to_string(random.once(3)) + "\n";
    return text;
}

Run::Kind Run::kindOf(std::uint64_t step) const
{
    const int number = Random(m_plan.seed, step * 2 + 100).between(1, 1000);
    if (number <= 860)
        return Kind::Sale;
    if (number <= 875)
        return Kind::Count;
    if (number <= 885)
        return Kind::Administration;
    if (number <= 900)
        return Kind::Settings;
    if (number <= 925)
        return Kind::AnyCall;
    if (number <= 935)
        return Kind::Session;
    if (number <= 940)
        return Kind::Restart;
    if (number <= 943)
        return Kind::OtherDevice;
    if (number <= 965)
        return m_plan.withFaults ? Kind::Fault : Kind::Sale;
    return number <= 995 ? Kind::Service : Kind::Night;
}

std::string Run::describe(std::uint64_t step) const
{
    static const char* const NAMES[] = {"sale",     "administration", "count",   "settings",
                                        "any call", "session",        "restart", "other device",
                                        "fault",    "service",        "night"};
    return std::to_string(step) + " " + NAMES[static_cast<std::size_t>(kindOf(step))];
}

std::uint64_t Run::run()
{
    if (!m_plan.steps.empty()) {
        for (const std::uint64_t number : m_plan.steps) {
            step(number);
            if (!report().violation.empty())
                return number;
        }
        return 0;
    }
    for (std::uint64_t number = 1; m_sales < m_plan.sales; ++number) {
        step(number);
        if (!report().violation.empty())
            return number;
    }
    return 0;
}

void Run::step(std::uint64_t number)
{
    Random random(m_plan.seed, number * 2 + 101);
    report().count("steps");
    switch (kindOf(number)) {
    case Kind::Sale:
        sale(random);
        break;
    case Kind::Administration:
        administration(random);
        break;
    case Kind::Count:
        count(random);
        break;
    case Kind::Settings:
        changeSettings(random);
        break;
    case Kind::AnyCall:
        anyCall(random);
        break;
    case Kind::Session:
        session(random);
        break;
    case Kind::Restart:
        restart(random, false);
        break;
    case Kind::OtherDevice:
        restart(random, true);
        break;
    case Kind::Fault:
        fault(random);
        break;
    case Kind::Service:
        service(random);
        break;
    case Kind::Night:
        night(random);
        break;
    }
    checkMoney();
}

/// The device's books, and those that its events kept, to the piece.
void Run::checkMoney()
{
    if (!m_surroundings.device().balances())
        report().violate("money: the device's books don't balance");
    const Ledger& ledger = m_surroundings.ledger();
    for (const Denomination& unit : m_surroundings.device().drawer().units()) {
        const auto moved = ledger.moved.find(unit.value);
        const std::int64_t expected =
            ledger.start.at(unit.value) + (moved == ledger.moved.end() ? 0 : moved->second);
        if (expected != unit.count)
            report().violate("money: " + std::to_string(unit.count) + " pieces of " +
                             std::to_string(unit.value) + ", and " + std::to_string(expected) +
                             " by the events");
    }
}

void Run::customerTakes()
{
    m_surroundings.device().takePaidOut(m_surroundings.now());
    m_surroundings.device().takeCollected();
}

/// Puts in pieces until the amount is there, or they go home.
void Run::customerPays(Random& random, Amount due)
{
    const auto& units = m_surroundings.device().drawer().units();
    Amount in = 0;
    for (int piece = 0; piece < 30 && in < due; ++piece) {
        std::vector<Amount> fitting;
        for (const Denomination& unit : units) {
            if (unit.value <= (due - in) * 5)
                fitting.push_back(unit.value);
        }
        if (fitting.empty())
            fitting.push_back(units.front().value);
        const Amount value = random.once(3) ? fitting.back() : random.one(fitting);
        in += m_surroundings.device().insert(value, 1, m_surroundings.now()).took;
        m_surroundings.pass(random.between(30, 300));
        if (random.once(200))
            return;
    }
}

/// Brings the till to a state in which it can sell. False if it can't be had.
bool Run::makeReady(bool payIn)
{
    for (int round = 0; round < 6; ++round) {
        if (!m_till.isInitiated()) {
            if (!m_till.start("", round % 5).ok())
                return false;
            continue;
        }
        const int state = g_TLState;
        if (state == STATE_LOGGED_OUT) {
            if (!m_till.call("loginTL", loginTL, std::int16_t{1}, std::int16_t{1}).ok()) {
                m_surroundings.pass(500);
                continue;
            }
        } else if (g_nLastCallbackStatus == DEVICE_ERROR) {
            m_till.call("resetTL", resetTL);
            m_surroundings.pass(500);
        } else if (state == STATE_CASH_DEPOSITED) {
            std::int32_t rest = 0;
            m_till.call("dispenseTL", dispenseTL, 0, "", &rest);
            m_surroundings.rest(20000);
        } else if ((state == STATE_PAYIN_ENABLED) != payIn) {
            const Outcome outcome = payIn ? m_till.call("enablePayinTL", enablePayinTL)
                                          : m_till.call("disablePayinTL", disablePayinTL);
            if (outcome.status == TL_STATUS_NOT_SUPPORTED)
                return false;
            m_surroundings.rest(2000);
        } else {
            return true;
        }
    }
    return false;
}

/// What a payment promised against what the device did. Only a payment that nothing disturbed, and that is
/// not one of the kinds that the header warns of, has to keep its word.
void Run::judge(const char* name, const Outcome& outcome, const Promise& promise, Amount outBefore, bool calm)
{
    m_surroundings.rest(120000);
    const Amount out = m_surroundings.ledger().out - outBefore;
    const bool disturbed = !calm || m_surroundings.faultBegan;
    const bool kept = out == promise.out && m_surroundings.device().paidIn() == promise.paidInAfter;
    const std::string what = std::string(name) + " answered " + std::to_string(outcome.status) +
                             ", promised " + std::to_string(promise.out) + ", paid " + std::to_string(out);
    if (outcome.ok()) {
        if (kept)
            report().count("kept: Done, and it was");
        else if (disturbed)
            report().count("hazard: Done, but a fault came between");
        else if (!promise.asked && !promise.possible && out < promise.out)
            report().count("hazard: Done, but less came out: not asked");
        else
            report().violate("promise: " + what);
    } else if (outcome.paySent.empty()) {
        report().count("refused before anything was sent");
        if (!disturbed && (out != 0 || (promise.possible && outcome.status == TL_STATUS_NOT_POSSIBLE)))
            report().violate("refused: " + what);
    } else {
        report().count(std::string("unknown: ") + (out > 0 ? "paid" : "not paid"));
        if (!disturbed && outcome.status != TL_STATUS_TIMEOUT && outcome.status != TL_STATUS_SEND_FAILED &&
            out != 0)
            report().violate("refused by the device: " + what);
    }
}

void Run::sale(Random& random)
{
    ++m_sales;
    report().count("sales");
    if (!makeReady(true)) {
        report().count("sales that could not begin");
        customerTakes();
        return;
    }
    simulator::DeviceModel& device = m_surroundings.device();
    const Amount smallest = device.drawer().units().front().value;
    const Amount due =
        smallest * random.between(1, static_cast<int>(std::min<Amount>(2000, 60000 / smallest)));
    customerPays(random, due);
    const bool calm = m_surroundings.rest(3000) && !m_troubled && !device.hasError();
    const Amount outBefore = m_surroundings.ledger().out;
    const Amount paidIn = device.paidIn();
    const Amount change = std::max<Amount>(0, paidIn - due);
    const bool canPay = simulator::valueOf(simulator::makeUp(change, device.drawer().payable())) == change;
    const auto c = static_cast<std::int32_t>(change);
    const auto p = static_cast<std::int32_t>(paidIn);
    const std::string id = "R" + std::to_string(m_sales);
    std::int32_t rest = 0;
    // A till that heard of everything knows what was paid in.
    if (calm && m_till.hearsEvents && m_till.statusTold == 0 && m_till.paidInTold != p)
        report().violate("told " + std::to_string(m_till.paidInTold) + " paid in, it is " +
                         std::to_string(p));

    const auto asked = [&] {
        return c == 0 || std::any_of(m_surroundings.sent.begin(), m_surroundings.sent.end(),
                                     [](const SentCommand& command) { return command.text.front() == 'd'; });
    };
    const bool paidEnough = paidIn >= due;
    switch (paidEnough ? random.between(0, 5) : random.between(4, 6)) {
    case 0: {
        const Outcome outcome =
            m_till.call("amountDueTL", amountDueTL, static_cast<std::int32_t>(due), id.c_str(), &rest);
        judge("amountDueTL", outcome, {change, 0, asked(), canPay}, outBefore, calm);
        break;
    }
    case 1: {
        const Outcome outcome = m_till.call("payoutTL", payoutTL, c, p, id.c_str());
        judge("payoutTL", outcome, {change, 0, asked(), canPay}, outBefore, calm);
        break;
    }
    case 2: {
        m_till.call("informTotalAmountTL", informTotalAmountTL, static_cast<std::int32_t>(due));
        const bool could = m_till.call("askPayout2TL", askPayout2TL, c, &rest).ok();
        const Outcome outcome = m_till.call("payout2TL", payout2TL, c, p, id.c_str(), &rest);
        judge("payout2TL", outcome, {change, 0, could || asked(), canPay}, outBefore, calm);
        break;
    }
    case 3: {
        if (!makeReady(false))
            break;
        const Outcome kept = m_till.call("depositTL", depositTL, id.c_str());
        judge("depositTL", kept, {0, 0, true, true}, outBefore, calm);
        const Amount before = m_surroundings.ledger().out;
        const Outcome outcome = m_till.call("dispenseTL", dispenseTL, c, id.c_str(), &rest);
        judge("dispenseTL", outcome, {change, device.paidIn(), asked(), canPay}, before, calm && kept.ok());
        break;
    }
    case 4: {
        const Outcome outcome = m_till.call("regretTL", regretTL, std::int16_t{1});
        judge("regretTL", outcome, {paidIn, 0, false, false}, outBefore, calm);
        break;
    }
    case 5: {
        const Outcome outcome = m_till.call("changeTL", changeTL);
        judge("changeTL", outcome, {paidIn, 0, false, false}, outBefore, calm);
        break;
    }
    default: {
        const Outcome outcome =
            m_till.call("amountDueTL", amountDueTL, static_cast<std::int32_t>(due), id.c_str(), &rest);
        if (calm && outcome.ok())
            report().violate("amountDueTL took less than was due");
        m_till.call("regretTL", regretTL, std::int16_t{0});
        break;
    }
    }
    m_surroundings.rest(60000);
    if (!random.once(50))
        customerTakes();
}

void Run::count(Random&)
{
    if (g_TLState < STATE_PAYIN_ENABLED)
        return;
    const bool calm = m_surroundings.rest(20000) && !m_troubled && !m_surroundings.device().hasError();
    Arrays arrays;
    const bool complete = m_sales % 2 == 0;
    const Outcome outcome = complete ? m_till.call("completeCashCountTL", completeCashCountTL, &arrays.coins,
                                                   &arrays.coinCount, &arrays.notes, &arrays.noteCount)
                                     : m_till.call("cashCountTL", cashCountTL, &arrays.coins,
                                                   &arrays.coinCount, &arrays.notes, &arrays.noteCount);
    report().count("counts");
    const bool mayHoldOthers = std::exchange(m_countBroke, !outcome.ok());
    if (!outcome.ok())
        return;
    const bool right = arrays.amount() == valueOf(m_surroundings.device().drawer());
    if (!right && calm && !outcome.disturbed && !mayHoldOthers)
        report().violate("count: " + std::to_string(arrays.amount()) + ", there are " +
                         std::to_string(valueOf(m_surroundings.device().drawer())));
    else if (!right)
        report().count("hazard: a count of something else");
}

void Run::administration(Random& random)
{
    report().count("administrations");
    if (!makeReady(false))
        return;
    if (m_surroundings.device().paidIn() > 0)
        m_till.call("regretTL", regretTL, std::int16_t{1});
    m_surroundings.rest(60000);
    customerTakes();
    m_till.call("adminModeTL", adminModeTL, std::int16_t{1});
    m_surroundings.rest(2000);
    const auto& units = m_surroundings.device().drawer().units();
    Arrays arrays;
    switch (random.between(0, 4)) {
    case 0:
        for (int i = 0; i < 5; ++i) {
            m_surroundings.device().insert(random.one(units).value, random.between(1, 20),
                                           m_surroundings.now());
            m_surroundings.pass(200);
        }
        m_till.call("endReplenishTL", endReplenishTL, "ADMIN");
        break;
    case 1:
        m_till.call("collectToCashFloatTL", collectToCashFloatTL, std::int16_t{1}, &arrays.coins,
                    &arrays.coinCount, &arrays.notes, &arrays.noteCount, &arrays.rest, "ADMIN");
        break;
    case 2:
        m_till.call("unlockTL", unlockTL, 0U);
        break;
    case 3:
        m_till.call("purgeTL", purgeTL, static_cast<std::uint32_t>(random.between(0, 3)), &arrays.coins,
                    &arrays.coinCount, &arrays.notes, &arrays.noteCount, &arrays.rest, "ADMIN");
        break;
    default: {
        m_till.call("adminModeTL", adminModeTL, std::int16_t{2});
        m_surroundings.rest(2000);
        CashCountRecord wanted{static_cast<std::int32_t>(random.one(units).value), random.between(1, 30), 0,
                               0};
        CashCountRecord* coins = &wanted;
        CashCountRecord* notes = nullptr;
        arrays.coinCount = 1;
        m_till.call("dispenseSpecifiedTL", dispenseSpecifiedTL, std::int16_t{1}, &coins, &arrays.coinCount,
                    &notes, &arrays.noteCount, &arrays.rest, "ADMIN");
        arrays.coins = coins == &wanted ? nullptr : coins;
        arrays.notes = notes;
        break;
    }
    }
    m_surroundings.rest(60000);
    m_till.call("adminModeTL", adminModeTL, std::int16_t{2});
    m_surroundings.rest(2000);
    customerTakes();
}

void Run::changeSettings(Random& random)
{
    const std::string settings = anySettings(random);
    m_till.call("changeSettingsTL", changeSettingsTL, settings.c_str(),
                static_cast<std::int16_t>(random.between(0, 2)));
}

/// Anything at any time, with anything for its arguments.
void Run::anyCall(Random& random)
{
    std::int32_t rest = 0;
    std::uint32_t number = 0;
    std::array<char, 1024> text{};
    const std::int32_t amount =
        random.one({0, 1, -1, 99999999, 100000000, 250, 5000, random.between(0, 70000)});
    const std::int32_t other = random.one({0, amount, -5, random.between(0, 70000)});
    const char* const id = random.one<const char*>({"", "X", nullptr, "line\r\nbreak %s %n"});
    const Amount outBefore = m_surroundings.ledger().out;
    const bool atRest = m_surroundings.rest(0);
    Outcome outcome;
    switch (random.between(0, 19)) {
    case 0:
        outcome = m_till.call("enablePayinTL", enablePayinTL);
        break;
    case 1:
        outcome = m_till.call("disablePayinTL", disablePayinTL);
        break;
    case 2:
        outcome = m_till.call("depositTL", depositTL, id);
        break;
    case 3:
        outcome = m_till.call("dispenseTL", dispenseTL, amount, id, &rest);
        break;
    case 4:
        outcome = m_till.call("askPayoutTL", askPayoutTL, amount);
        break;
    case 5:
        outcome = m_till.call("payoutTL", payoutTL, amount, other, id);
        break;
    case 6:
        outcome = m_till.call("payout2TL", payout2TL, amount, other, id, &rest);
        break;
    case 7:
        outcome = m_till.call("amountDueTL", amountDueTL, amount, id, &rest);
        break;
    case 8:
        outcome = m_till.call("changeTL", changeTL);
        break;
    case 9:
        outcome = m_till.call("regretTL", regretTL, static_cast<std::int16_t>(random.between(-1, 3)));
        break;
    case 10:
        outcome = m_till.call("resetTL", resetTL);
        break;
    case 11:
        outcome = m_till.call("isOpenTL", isOpenTL, &number);
        break;
    case 12:
        outcome = m_till.call("infoTL", infoTL, &number, text.data(), text.data(), text.data());
        break;
    case 13:
        outcome = m_till.call("informTotalAmountTL", informTotalAmountTL, amount);
        break;
    case 14:
        outcome = m_till.call("adminModeTL", adminModeTL, static_cast<std::int16_t>(random.between(0, 2)));
        break;
    case 15:
        outcome = m_till.call("unlockTL", unlockTL, number);
        break;
    case 16:
        outcome = m_till.call("endReplenishTL", endReplenishTL, id);
        break;
    case 17:
        outcome = m_till.call("loginStrTL", loginStrTL, "07", id);
        break;
    case 18:
        outcome = m_till.call("initTL", initTL,
                              random.one<const char*>({"", "Type:USB;", "Type:RS232;Name:COM1;"}), "");
        break;
    default:
        outcome = m_till.call("payout2TL", payout2TL, amount, other, id, nullptr);
        break;
    }
    if (atRest && outcome.paySent.empty() && m_surroundings.ledger().out != outBefore)
        report().violate("money came out of a call that sent no pay command");
    if (random.once(2))
        m_surroundings.rest(20000);
}

void Run::session(Random& random)
{
    m_till.call("logoutTL", logoutTL);
    m_surroundings.pass(random.between(10, 5000));
    if (!random.once(3))
        m_till.call("loginTL", loginTL, static_cast<std::int16_t>(random.between(-5, 120)), std::int16_t{7});
}

void Run::restart(Random& random, bool otherDevice)
{
    m_till.stop();
    m_surroundings.pass(random.between(10, 60000));
    if (otherDevice && !m_till.isInitiated()) {
        m_surroundings.forgetActions();
        m_surroundings.replaceDevice(anyDevice(random));
        m_troubled = false;
    }
    if (random.once(2))
        writeFile("./tllogics.ini", settingsFile(random));
    m_till.start(anySettings(random), random.between(0, 5));
    m_till.paidInTold = 0;
    m_till.statusTold = -1;
}

void Run::fault(Random& random)
{
    const std::vector<FaultName>& all = m_plan.faults.empty() ? simulator::faultNames() : m_plan.faults;
    simulator::Fault fault{random.one(all)};
    using Start = simulator::Fault::Start;
    fault.start = random.one({Start::Now, Start::AtCommand, Start::AfterPieces, Start::ByChance});
    fault.letter = random.one({'\0', 'f', 'c', 'd', 'a', 'e', 'g', 'j'});
    fault.pieces = random.between(1, 8);
    fault.chance = random.one({1000, 50000, 500000});
    fault.random = random.next();
    if (!random.once(3))
        fault.lasts = random.one<Milliseconds>({50, 500, 3000, 20000, 200000});
    fault.untilReset = simulator::errorCodeOf(fault.name) != 0 && random.once(2);
    fault.times = simulator::strikesSingly(fault.name) ? random.between(0, 4) : 0;
    fault.code = random.between(1, 99);
    fault.lateness = random.one<Milliseconds>({20, 300, 4990, 5010, 20000});
    fault.factor = random.between(2, 40);
    report().count(std::string("fault: ") + simulator::textOf(fault.name));
    m_troubled = true;
    // At any moment of what comes next.
    const Milliseconds in = random.between(0, 4000);
    m_surroundings.after(in,
                         [this, fault] { m_surroundings.device().putFault(fault, m_surroundings.now()); });
}

/// Somebody comes, mends all, and the till has to sell again.
void Run::service(Random& random)
{
    report().count("services");
    m_surroundings.pass(5000);
    m_surroundings.forgetActions();
    for (const FaultName name : simulator::faultNames())
        m_surroundings.device().repair(name, m_surroundings.now());
    m_surroundings.device().setPower(true, m_surroundings.now());
    customerTakes();
    m_surroundings.pass(60000);
    m_surroundings.rest(3600000); // a slow device has much to say yet
    customerTakes();
    for (const Denomination& unit : m_surroundings.device().drawer().units()) {
        if (unit.count < 5)
            m_surroundings.device().refill(unit.value, 20, m_surroundings.now());
    }
    m_till.call("changeSettingsTL", changeSettingsTL, "PayOutAmountPerTimeLimitAmount:0;", std::int16_t{0});
    // A reset, and what an operator does if that doesn't help. The device is asked, not the till: what a lost
    // message told of, the till doesn't know.
    const auto isReady = [this] { return makeReady(true) && m_surroundings.device().isPayInOpen(); };
    bool ready = isReady();
    for (int attempt = 0; attempt < 3 && !ready; ++attempt) {
        report().count("hazard: a till that wasn't told of an error had to reset the device unasked");
        m_till.call("resetTL", resetTL);
        m_surroundings.rest(5000);
        if (ready = isReady(); ready)
            break;
        report().count("hazard: a reset was not enough, logout and login were tried");
        m_till.call("logoutTL", logoutTL);
        m_surroundings.pass(3000);
        m_till.call("loginTL", loginTL, std::int16_t{1}, std::int16_t{1});
        m_surroundings.rest(5000);
        if (ready = isReady(); ready)
            break;
        // A till that last heard "busy", and was cut off then, waits for "ready" in vain.
        report().count("hazard: logout and login were not enough, exitTL and initTL were tried");
        m_till.stop();
        m_till.start("", 4);
        ready = isReady();
    }
    if (!ready) {
        const bool lacksCommands =
            m_surroundings.device().settings().commands.find('H') == std::string::npos ||
            !m_surroundings.device().settings().payInAfterLogin;
        if (lacksCommands || settingIs1(LegacySystem) || settingIs1(AutoDisable))
            report().count("hazard: pay-in is closed, and the till has no command for it");
        else
            report().violate("recovery: the till can't be made ready");
        m_troubled = true;
        return;
    }
    // What was lost stays lost until the device says something new: a total, for its display, makes it speak.
    const std::int32_t toldBefore = m_till.paidInTold;
    m_till.call("informTotalAmountTL", informTotalAmountTL, std::int32_t{0});
    m_surroundings.rest(5000);
    if (m_till.hearsEvents && toldBefore != m_till.paidInTold)
        report().count("hazard: a lost message left the till with an old paid-in amount");
    m_troubled = false;
    if (m_surroundings.device().paidIn() > 0) {
        m_till.call("regretTL", regretTL, std::int16_t{1});
        m_surroundings.rest(120000);
    }
    report().count("recoveries");
    (void)random;
}

void Run::night(Random& random)
{
    m_surroundings.rest(60000);
    m_surroundings.pass(Milliseconds{3600000} * random.between(1, 16));
}

} // namespace simulation
