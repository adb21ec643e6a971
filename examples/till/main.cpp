// A command-line till that works with the simulated device.
//
// Exit status: 0 if every call ended well and the money adds up, 1 if not, 2 for wrong arguments.
#include "examples/till/commands.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <numeric>

namespace {

constexpr int WENT_WELL = 0;
constexpr int FAILED = 1;
constexpr int WRONG_ARGUMENTS = 2;

struct Arguments {
    SessionOptions session;
    SaleOptions sale;
    ServeOptions serve;
    std::string kind = "payout";
    std::string command = "sale";
};

/// Amounts stay as they are written, until the device has told how many decimals they have.
double numberOf(const std::string& text)
{
    std::string digits = text;
    std::replace(digits.begin(), digits.end(), ',', '.');
    const bool onlyDigits = digits.find_first_not_of("0123456789.") == std::string::npos;
    const auto points = std::count(digits.begin(), digits.end(), '.');
    if (!onlyDigits || points > 1 || digits.empty() || digits.front() == '.' || digits.size() > 10)
        return -1;
    return std::strtod(digits.c_str(), nullptr);
}

std::string checkAmount(const std::string& text)
{
    return numberOf(text) < 0 ? "\"" + text + "\" is no amount; write 63 or 63.50" : "";
}

/// What can be put in, one piece at a time.
std::string checkPiece(const std::string& text)
{
    return numberOf(text) <= 0 ? "\"" + text + "\" is no coin or note" : "";
}

void checkSale(const Arguments& arguments)
{
    const SaleOptions& sale = arguments.sale;
    const double paid =
        std::accumulate(sale.pieces.begin(), sale.pieces.end(), 0.0,
                        [](double sum, const std::string& piece) { return sum + numberOf(piece); });
    if (!sale.pieces.empty() && arguments.kind != "regret" && paid < numberOf(sale.due) - 0.0001)
        throw CLI::ValidationError(fmt::format("{} does not pay for a sale of {}", paid, sale.due));
}

/// Reads the command line into "arguments"; the exit status if that is all there is to do.
std::optional<int> parse(int count, char** texts, Arguments& arguments)
{
    CLI::App app{"A till that works with the simulated Tellarion."};
    const std::function<std::string(std::string&)> amountCheck = checkAmount;
    const std::function<std::string(std::string&)> pieceCheck = checkPiece;
    const CLI::Validator amount(amountCheck, "AMOUNT");
    const CLI::Validator piece(pieceCheck, "AMOUNT");
    app.require_subcommand(0, 1);
    app.fallthrough(); // --port may stand behind the command
    app.add_option("--port", arguments.session.port,
                   "Name of the port, such as sim, or 127.0.0.1:7410 for a machine of its own")
        ->capture_default_str();
    app.add_option("--patience", arguments.session.patience,
                   "Seconds that the customer of a machine of its own may take")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();

    CLI::App* sale = app.add_subcommand("sale", "Run one sale (the default)");
    sale->add_option("--kind", arguments.kind,
                     "payout: paid with change; deposit: kept, then changed; regret")
        ->check(CLI::IsMember({"payout", "deposit", "regret"}))
        ->capture_default_str();
    sale->add_option("--due", arguments.sale.due, "What the sale costs")
        ->check(amount)
        ->capture_default_str();
    sale->add_option("--paid", arguments.sale.pieces,
                     "The coins and notes that the customer puts in, with spaces between; else what fits")
        ->check(piece);
    app.add_subcommand("count", "Count the cash");
    app.add_subcommand("levels", "Run a small drawer dry and show its warnings");
    app.add_subcommand("window", "Get events as messages, and fetch their texts");
    CLI::App* serve = app.add_subcommand("serve", "Be a till in the browser, at a machine of its own");
    serve->add_option("--http-port", arguments.serve.port, "Port of the page, 0 for any")
        ->capture_default_str();
    serve->add_option("--port-file", arguments.serve.portFile, "File that gets the page's port");
    app.add_subcommand("admin", "Replenish, collect to the float, purge and unlock");

    try {
        app.parse(count, texts);
        checkSale(arguments);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        fmt::print(stderr, "till: {} (till --help tells more)\n", error.what());
        return WRONG_ARGUMENTS;
    }
    if (!app.get_subcommands().empty())
        arguments.command = app.get_subcommands().front()->get_name();
    if (arguments.command == "serve" && app.count("--port") == 0)
        arguments.session.port = "127.0.0.1:7410";
    return std::nullopt;
}

bool run(Printer& printer, const Arguments& arguments)
{
    if (arguments.command == "count")
        return runCount(printer, arguments.session);
    if (arguments.command == "levels")
        return runLevels(printer, arguments.session);
    if (arguments.command == "window")
        return runWindow(printer, arguments.session);
    if (arguments.command == "admin")
        return runAdministration(printer, arguments.session);
    if (arguments.kind == "deposit")
        return runDepositSale(printer, arguments.session, arguments.sale);
    if (arguments.kind == "regret")
        return runRegretSale(printer, arguments.session, arguments.sale);
    return runPayOutSale(printer, arguments.session, arguments.sale);
}

} // namespace

int main(int count, char** texts)
{
    Arguments arguments;
    if (const auto status = parse(count, texts, arguments))
        return *status;

    Printer printer;
    try {
        if (arguments.command == "serve")
            return runServe(arguments.session, arguments.serve) ? WENT_WELL : FAILED;
        return run(printer, arguments) ? WENT_WELL : FAILED;
    } catch (const std::exception& error) {
        printer.line(LineKind::Bad, error.what());
        return FAILED;
    }
}
