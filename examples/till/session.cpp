#include "examples/till/session.h"

#include "examples/till/system.h"
#include "simulator/tellarion_simulator.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

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

} // namespace

void showLogDirectory(Printer& printer, const std::string& port)
{
    const std::string host = port.substr(0, port.find(':'));
    std::string text = "logs are in " + logDirectory();
    if (host.find('.') != std::string::npos)
        text += ", once initialised in its folder " + host;
    if (!std::filesystem::is_directory(logDirectory()))
        text = "no logs: there is no directory " + logDirectory();
    printer.line(LineKind::Note, text);
}

void showCall(Printer& printer, const std::string& what, const LibraryCall& function)
{
    printer.line(LineKind::Call, what);
    Message message{};
    const std::int16_t status = function(message.data());
    const std::string outcome = fmt::format("status {}: {}", status, message.data());
    printer.line(status == TL_STATUS_OK ? LineKind::Good : LineKind::Bad, outcome);
    if (status != TL_STATUS_OK)
        throw std::runtime_error(fmt::format("{} ended with {}", what, outcome));
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

Session::Session(Printer& printer, const SessionOptions& options) : m_printer(printer), m_events(printer)
{
    showLogDirectory(m_printer, options.port);
    call("registerEvents4TL", [&](char* message) { return m_events.registerAll(message); });

    const std::string port = portSettings(options.port);
    call(fmt::format("initTL(\"{}\")", port),
         [&](char* message) { return m_library.init(port, WAIT_FOR_READY, message); });
    m_book.emplace(m_printer);
    m_printer.line(LineKind::Note, "the drawer holds " + money(amountOf(drawerCash())));

    call(fmt::format("loginTL({}, 1)", options.user),
         [&](char* message) { return loginTL(static_cast<std::int16_t>(options.user), 1, message); });
    showDevice();
}

void Session::expect(const std::string& what, const std::function<bool(const StatusReport&)>& answers)
{
    if (!m_events.waitForStatus(answers))
        throw std::runtime_error("no event told of " + what);
}

void Session::payIn(const std::vector<std::int64_t>& denominations)
{
    const std::int64_t before = tlsim_paid_in();
    std::int64_t sum = before;
    for (const std::int64_t denomination : denominations) {
        m_book->insert(denomination, 1);
        sum += denomination;
    }
    expect("the money paid in", [&](const StatusReport& now) { return now.amount == sum; });
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
    m_events.waitForStatus([](const StatusReport& now) { return now.amount == tlsim_paid_in(); });
    attempt("regretTL(1), everything", [](char* message) { return regretTL(1, message); });
    m_book->take();
    attempt("logoutTL", &logoutTL);
    attempt("exitTL", [this](char* message) { return m_library.exit(message); });
    m_book->close();
}

/// For calls whose failure changes nothing any more.
void Session::attempt(const std::string& what, const LibraryCall& function)
{
    try {
        call(what, function);
    } catch (const std::exception&) {
        return; // it was shown
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
