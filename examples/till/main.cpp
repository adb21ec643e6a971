// A command-line till that works with the simulated device.
//
// Exit status: 0 if every call ended well and the money adds up, 1 if not, 2 for wrong arguments.
#include "examples/till/commands.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <exception>
#include <numeric>

namespace {

constexpr int WENT_WELL = 0;
constexpr int FAILED = 1;
constexpr int WRONG_ARGUMENTS = 2;

struct Arguments {
    SessionOptions session;
    SaleOptions sale;
    std::string kind = "payout";
    std::string command = "sale";
};

std::string toSmallestUnit(std::string& text)
{
    const std::int64_t amount = parseMoney(text);
    if (amount < 0)
        return "\"" + text + "\" is no amount; write 63 or 63.50";
    text = std::to_string(amount);
    return {};
}

/// What can be put in, one piece at a time.
std::string toPiece(std::string& text)
{
    const std::string written = text;
    const std::string complaint = toSmallestUnit(text);
    return complaint.empty() && text == "0" ? "\"" + written + "\" is no coin or note" : complaint;
}

void checkSale(const Arguments& arguments)
{
    const auto& pieces = arguments.sale.pieces;
    const std::int64_t paid = std::accumulate(pieces.begin(), pieces.end(), std::int64_t{0});
    if (arguments.kind != "regret" && paid < arguments.sale.due)
        throw CLI::ValidationError(
            fmt::format("{} does not pay for a sale of {}", money(paid), money(arguments.sale.due)));
}

/// Reads the command line into "arguments"; the exit status if that is all there is to do.
std::optional<int> parse(int count, char** texts, Arguments& arguments)
{
    CLI::App app{"A till that works with the simulated Tellarion."};
    const CLI::Validator amount(toSmallestUnit, "AMOUNT");
    const CLI::Validator piece(toPiece, "AMOUNT");
    app.require_subcommand(0, 1);
    app.fallthrough(); // --port may stand behind the command
    app.add_option("--port", arguments.session.port, "Name of the port, such as sim or 10.0.0.7:5000")
        ->capture_default_str();

    CLI::App* sale = app.add_subcommand("sale", "Run one sale (the default)");
    sale->add_option("--kind", arguments.kind,
                     "payout: paid with change; deposit: kept, then changed; regret")
        ->check(CLI::IsMember({"payout", "deposit", "regret"}))
        ->capture_default_str();
    sale->add_option("--due", arguments.sale.due, "What the sale costs")
        ->transform(amount)
        ->default_str("63.00");
    sale->add_option("--paid", arguments.sale.pieces,
                     "The coins and notes that the customer puts in, with spaces between")
        ->transform(piece)
        ->default_str("50 20 5");
    app.add_subcommand("count", "Count the cash");
    app.add_subcommand("levels", "Run a small drawer dry and show its warnings");
    app.add_subcommand("window", "Get events as messages, and fetch their texts");
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
        return run(printer, arguments) ? WENT_WELL : FAILED;
    } catch (const std::exception& error) {
        printer.line(LineKind::Bad, error.what());
        return FAILED;
    }
}
