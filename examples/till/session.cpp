#include "examples/till/session.h"

#include "examples/till/system.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

namespace {

using Message = std::array<char, 4096>;

// The calls that pay come back when the device is ready again.
constexpr const char* WAIT_FOR_READY = "PayOutOkCheck:1;ChangeOkCheck:1;RegretOkCheck:1;";

std::string logDirectory()
{
    for (const char* variable : {"TLLOGS", "LOGFILE"})
        if (const char* value = std::getenv(variable))
            return value;
    return defaultLogDirectory();
}

/// Tells every half second that a call goes on, until it has come back.
class Progress {
public:
    explicit Progress(Printer& printer) : m_printer(printer), m_thread([this] { run(); }) {}

    ~Progress()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_ended = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

private:
    void run()
    {
        std::unique_lock lock(m_mutex);
        for (double seconds = 0.5;
             !m_changed.wait_for(lock, std::chrono::milliseconds(500), [this] { return m_ended; });
             seconds += 0.5)
            m_printer.line(LineKind::Note, fmt::format("... the device works, {:.1f} s", seconds));
    }

    Printer& m_printer;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ended = false;
    std::thread m_thread;
};

/// "50.00 20.00".
std::string words(const std::vector<std::int64_t>& amounts)
{
    std::string text;
    for (const std::int64_t amount : amounts)
        text += (text.empty() ? "" : " ") + money(amount);
    return text;
}

struct Released {
    void operator()(CashCountRecord* records) const { std::free(records); }
};
using Records = std::unique_ptr<CashCountRecord, Released>;

std::int64_t amountOf(const Records& records, std::int32_t count)
{
    std::int64_t amount = 0;
    for (std::int32_t i = 0; i < count; ++i)
        amount += std::int64_t{records.get()[i].nDenomination} * records.get()[i].nCount;
    return amount;
}

} // namespace

void showLogDirectory(Printer& printer, const std::string& port)
{
    // All ports of this computer have their logs in folders of one name, so this one gets its own.
    if (isMachineOfItsOwn(port) && std::getenv("TLLOGS") == nullptr && std::getenv("LOGFILE") == nullptr)
        setEnvironment("TLLOGS", defaultLogDirectory() + ("till_" + port.substr(port.find(':') + 1)));
    const std::string host = port.substr(0, port.find(':'));
    std::string text = "logs are in " + logDirectory();
    if (host.find('.') != std::string::npos)
        text += ", once initialised in its folder " + host;
    else if (!std::filesystem::is_directory(logDirectory()))
        text = "no logs: there is no directory " + logDirectory();
    printer.line(LineKind::Note, text);
}

void showCall(Printer& printer, const std::string& what, const LibraryCall& function)
{
    printer.line(LineKind::Call, what);
    Message message{};
    const std::int16_t status = [&] {
        const Progress progress(printer);
        return function(message.data());
    }();
    const std::string outcome = fmt::format("status {}: {}", status, message.data());
    printer.line(status == TL_STATUS_OK ? LineKind::Good : LineKind::Bad, outcome);
    if (status != TL_STATUS_OK)
        throw CallFailed(status, message[0] != '\0', fmt::format("{} ended with {}", what, outcome));
}

Library::~Library()
{
    Message message{};
    if (m_initialised)
        exitTL(message.data());
}

std::int16_t Library::init(const std::string& port, const char* settings, char* message)
{
    const std::int16_t status = initTL(port.c_str(), settings, message);
    m_initialised = m_initialised || status == TL_STATUS_OK;
    return status;
}

std::int16_t Library::exit(char* message)
{
    const std::int16_t status = exitTL(message);
    m_initialised = m_initialised && status != TL_STATUS_OK;
    return status;
}

std::string portSettings(const std::string& name)
{
    return fmt::format("Type:RS232;Name:{};", name);
}

bool isMachineOfItsOwn(const std::string& port)
{
    return port.starts_with("127.0.0.1:") || port.starts_with("localhost:");
}

Session::Session(Printer& printer, const SessionOptions& options)
    : m_printer(printer), m_options(options), m_events(printer)
{
    showLogDirectory(m_printer, options.port);
    call("registerEvents4TL", [&](char* message) { return m_events.registerAll(message); });

    const std::string port = portSettings(options.port);
    call(fmt::format("initTL(\"{}\", \"{}\")", port, WAIT_FOR_READY),
         [&](char* message) { return m_library.init(port, WAIT_FOR_READY, message); });
    m_book.emplace(m_printer, !isMachineOfItsOwn(options.port));
    const MachineState& machine = m_book->before();
    setDecimals(machine.decimals);
    m_printer.line(LineKind::Note,
                   fmt::format("the drawer holds {} {}", money(amountOf(machine.drawer)), machine.currency));

    call(fmt::format("loginTL({}, 1)", options.user),
         [&](char* message) { return loginTL(static_cast<std::int16_t>(options.user), 1, message); });
    showDevice();
}

void Session::expect(const std::string& what, const std::function<bool(const StatusReport&)>& answers)
{
    if (!m_events.waitForStatus(answers))
        throw std::runtime_error("no event told of " + what);
}

void Session::move(const std::string& what, const LibraryCall& function)
{
    if (!count())
        throw std::runtime_error("without a count before it nobody could tell what a payment did");
    m_countedBefore = m_counted;
    try {
        call(what, function);
    } catch (const CallFailed& failure) {
        if (failure.isUnknown)
            throw UnknownOutcome(failure.what());
        throw;
    }
}

std::int64_t Session::pay(const std::string& what, const LibraryCall& function)
{
    move(what, function);
    // A call that went well need not have paid all: the device may have run out, or been away.
    if (!count())
        throw UnknownOutcome("the count after it failed");
    return m_countedBefore - m_counted;
}

bool Session::payExactly(std::int64_t amount, const std::string& what, const LibraryCall& function)
{
    const std::int64_t out = pay(what, function);
    if (out != amount)
        m_printer.line(LineKind::Bad, fmt::format("{} came out of {}", money(out), money(amount)));
    return out == amount;
}

void Session::payIn(const std::vector<std::int64_t>& denominations)
{
    std::int64_t sum = lookAtMachine().in;
    const std::int64_t paidIn = m_events.status().amount;
    const std::int64_t before = sum;
    for (const std::int64_t denomination : denominations) {
        m_book->insert(denomination, 1);
        sum += denomination;
    }
    expect("the money paid in", [&](const StatusReport& now) { return now.amount == paidIn + sum - before; });
}

std::int64_t Session::collect(std::int64_t due, const std::vector<std::int64_t>& pieces)
{
    if (!isMachineOfItsOwn(m_options.port)) {
        payIn(pieces);
        return m_events.status().amount;
    }
    m_printer.line(LineKind::Note,
                   fmt::format("the customer has to pay {}: tellarion insert {} --port {}", money(due),
                               words(pieces), m_options.port.substr(m_options.port.find(':') + 1)));
    const auto isOver = [&](const StatusReport& now) { return now.mode != 1 || now.amount >= due; };
    const auto patience = std::chrono::seconds(m_options.patience);
    // A machine that was away has logged out, and still has what was paid in.
    for (int logins = 0; m_events.waitForStatus(isOver, patience) && m_events.status().mode != 1; ++logins)
        if (logins == 3 || !makeReady())
            throw std::runtime_error("the device doesn't open any more");
    if (m_events.status().amount < due)
        throw std::runtime_error("the customer has not paid");
    return m_events.status().amount;
}

bool Session::finish()
{
    call("logoutTL", &logoutTL);
    call("exitTL", [this](char* message) { return m_library.exit(message); });
    return m_book->close();
}

void Session::callOff()
{
    // Who regrets before the library has heard of the money is told at once that nothing is to be done.
    m_events.waitForStatus(
        [paidIn = lookAtMachine().paidIn](const StatusReport& now) { return now.amount == paidIn; });
    attempt("regretTL(1), everything", [](char* message) { return regretTL(1, message); });
    m_book->cameOut();
    leave();
}

void Session::clarify()
{
    m_printer.line(LineKind::Note, "counting, to know what came out");
    if (!makeReady() || !count())
        m_printer.line(LineKind::Bad,
                       "the device can't count: somebody has to look, and nothing is to be paid");
    else
        m_printer.line(LineKind::Note,
                       fmt::format("{} came out, and {} is still paid in", money(m_countedBefore - m_counted),
                                   money(m_events.status().amount)));
    m_book->cameOut();
    leave();
}

bool Session::makeReady()
{
    for (int attempts = 0; attempts < 10; ++attempts) {
        m_events.waitForStatus([](const StatusReport& now) { return now.status != 1; },
                               std::chrono::seconds(30));
        const StatusReport now = m_events.status();
        if (now.status == 2)
            attempt("resetTL", &resetTL);
        else if (now.mode == 0)
            attempt("loginTL", [this](char* message) {
                return loginTL(static_cast<std::int16_t>(m_options.user), 1, message);
            });
        else
            return true;
        m_events.waitForStatus([](const StatusReport& later) { return later.status != 2 && later.mode != 0; },
                               std::chrono::seconds(1));
    }
    return false;
}

bool Session::count()
{
    CashCountRecord* coins = nullptr;
    CashCountRecord* notes = nullptr;
    std::int32_t nCoins = 0;
    std::int32_t nNotes = 0;
    const bool counted = attempt(
        "cashCountTL", [&](char* message) { return cashCountTL(&coins, &nCoins, &notes, &nNotes, message); });
    const Records coinsOwner(coins);
    const Records notesOwner(notes);
    if (counted) {
        m_counted = amountOf(coinsOwner, nCoins) + amountOf(notesOwner, nNotes);
        m_printer.line(LineKind::Note, fmt::format("counted {}", money(m_counted)));
    }
    return counted;
}

void Session::leave()
{
    attempt("logoutTL", &logoutTL);
    attempt("exitTL", [this](char* message) { return m_library.exit(message); });
    m_book->close();
}

/// For calls whose failure changes nothing any more.
bool Session::attempt(const std::string& what, const LibraryCall& function)
{
    try {
        call(what, function);
        return true;
    } catch (const std::exception&) {
        return false; // it was shown
    }
}

void Session::showDevice()
{
    std::uint32_t level = 0;
    Message commands{};
    Message master{};
    Message info{};
    call("infoTL",
         [&](char* message) { return infoTL(&level, commands.data(), master.data(), info.data(), message); });
    m_printer.line(LineKind::Note, fmt::format("level {}, commands {}, master version {}, {}", level,
                                               commands.data(), master.data(), info.data()));
}
