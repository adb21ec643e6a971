// Reads the logs of tllogics and tells their story: what happened, what became of each sale's money, what
// went wrong and what it means.
//
// Exit status: 0 if all is well, 1 if a sale misses money or can't be told, or nothing was found, 2 for wrong
// arguments or logs that can't be read.
#include "tools/explain.h"
#include "tools/pack.h"
#include "tools/run.h"
#include "tools/system.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdlib>
#include <exception>

namespace {

using namespace tllog;

constexpr int foundNothing = 1;
constexpr int failed = 2;

struct Arguments {
    Options options;
    std::string command = "timeline";
    std::vector<std::string> places;
    std::vector<std::string> words;
    std::string archive;
    std::string since;
    std::string until;
    std::vector<std::string> kinds;
    std::string colour = "auto";
    bool mask = false;
};

std::string logDirectory()
{
    for (const char* const variable : {"TLLOGS", "LOGFILE"})
        if (const char* const value = std::getenv(variable); value != nullptr && *value != '\0')
            return value;
    return defaultLogDirectory();
}

void setUp(CLI::App& app, Arguments& arguments)
{
    Options& options = arguments.options;
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.allow_windows_style_options(false); // a path may begin with "/"
    app.set_version_flag("--version", TLLOGICS_VERSION_TEXT);
    const char* const places =
        "The log directory, or files; without any, TLLOGS, LOGFILE or the default place";
    app.add_option("place", arguments.places, places);
    app.add_option("--since", arguments.since,
                   "From this time on: 2026-11-23, 2026-11-23T14:05, 14:05 (today)");
    app.add_option("--until", arguments.until, "Before this time");
    app.add_option("--receipt", options.receipt, "Only the sales with this receipt (transaction id)");
    std::vector<std::string> kinds = lineKinds();
    kinds.insert(kinds.end(), saleKinds().begin(), saleKinds().end());
    app.add_option("--kind", arguments.kinds, "Only these kinds of lines, or of sales")
        ->check(CLI::IsMember(kinds))
        ->delimiter(',');
    app.add_flag("--json", options.json, "One JSON object a line");
    app.add_flag("--follow", options.follow, "Go on with what a running till writes");
    app.add_option("--for", options.followSeconds, "Seconds to follow; without it, until interrupted");
    app.add_flag("--all", options.all, "Every line, also those that add nothing");
    app.add_option("--width", options.width, "Columns; without it those of the terminal, and any in a pipe");
    app.add_option("--color", arguments.colour, "auto, always or never")
        ->check(CLI::IsMember({"auto", "always", "never"}));

    CLI::App* sales = app.add_subcommand("sales", "One line a sale, and what is missing");
    sales->add_option("place", arguments.places, places);
    CLI::App* errors = app.add_subcommand("errors", "Each error with its neighbourhood and its meaning");
    errors->add_option("place", arguments.places, places);
    CLI::App* explaining =
        app.add_subcommand("explain", "What a status, a call's status or a message means for the money");
    explaining->add_option("words", arguments.words, "6, or: payoutTL 6, or: \"Timed out\", or a log line")
        ->required();
    CLI::App* packing = app.add_subcommand("pack", "One archive of the last seven days, for support");
    packing->add_option("archive", arguments.archive, "The .tar file to write")->required();
    packing->add_option("place", arguments.places, places);
    packing->add_flag("--mask", arguments.mask, "Make receipts and login texts unreadable");
}

std::optional<Time> timeOption(const std::string& name, const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    const auto time = readTime(text, dayOfTime(localNow()));
    if (!time)
        throw CLI::ValidationError(
            fmt::format("{}: \"{}\" is no time; write 2026-11-23, 2026-11-23T14:05 or 14:05", name, text));
    return time;
}

/// Reads the command line; the exit status if that is all there is to do.
std::optional<int> parse(int count, char** texts, Arguments& arguments)
{
    CLI::App app{"Tells the story of the tllogics logs: a timeline, or with a command"};
    setUp(app, arguments);
    try {
        app.parse(count, texts);
        if (!app.get_subcommands().empty())
            arguments.command = app.get_subcommands().front()->get_name();
        arguments.options.since = timeOption("--since", arguments.since);
        arguments.options.until = timeOption("--until", arguments.until);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForVersion& version) {
        return app.exit(version);
    } catch (const CLI::ParseError& error) {
        fmt::print(stderr, "tllog: {} (tllog --help tells more)\n", error.what());
        return failed;
    }
    Options& options = arguments.options;
    options.kinds.insert(arguments.kinds.begin(), arguments.kinds.end());
    options.colour = arguments.colour == "always"  ? Colour::Always
                     : arguments.colour == "never" ? Colour::Never
                                                   : Colour::Auto;
    if (arguments.places.empty())
        arguments.places.push_back(logDirectory());
    options.places.assign(arguments.places.begin(), arguments.places.end());
    return std::nullopt;
}

int tell(const Arguments& arguments)
{
    const Options& options = arguments.options;
    Printer printer(options);
    if (arguments.command == "explain")
        return explain(arguments.words, options, printer) ? 0 : foundNothing;
    if (arguments.command == "pack") {
        pack(arguments.archive, arguments.mask, options, printer);
        return 0;
    }
    const auto view = arguments.command == "sales"    ? makeSalesView(options, printer)
                      : arguments.command == "errors" ? makeErrorsView(options, printer)
                                                      : makeTimeline(options, printer);
    if (!run(options, printer, *view)) {
        fmt::print(stderr, "tllog: no logs in {}\n", arguments.places.front());
        return failed;
    }
    return view->exitStatus();
}

} // namespace

int main(int count, char** texts)
{
    Arguments arguments;
    if (const auto status = parse(count, texts, arguments))
        return *status;
    try {
        return tell(arguments);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tllog: {}\n", error.what());
        return failed;
    }
}
