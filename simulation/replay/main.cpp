// tlreplay: runs a shop's day again, from its tape or from its logs alone.
#include "logic/shared_state.h"
#include "simulation/replay/log_replay.h"
#include "simulation/replay/tape_replay.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

void printState()
{
    fmt::print("state {}, device status {}, mode {}, paid in {}, ask {} (done {}), version kind {}, last "
               "command {}\n",
               stateName(g_TLState), g_nLastCallbackStatus.load(), g_nLastCallbackMode.load(),
               g_nAmountPaidIn.load(), g_nAskPayoutAmount.load(), g_bAskPayoutDone.load(),
               g_nApiVersionKind.load(), static_cast<int>(g_nLastCommand.load()));
}

int replayTape(const std::string& tape)
{
    simulation::TapeReplay replay(tape);
    const std::string difference = replay.run();
    fmt::print("{}\n", difference.empty() ? "the tape ran as it did" : difference);
    return difference.empty() ? 0 : 1;
}

int replayLogs(const std::string& directory, const std::string& languageFile, const std::string& until)
{
    std::string language;
    if (!languageFile.empty()) {
        std::ifstream stream(languageFile, std::ios::binary);
        if (!stream)
            throw std::runtime_error(languageFile + " can't be read");
        language.assign(std::istreambuf_iterator<char>(stream), {});
    }
    simulation::LogReplay replay(simulation::LoggedDays::read(directory), language, until);
    const std::string difference = replay.run();
    if (replay.hasStopped()) {
        fmt::print("stopped before {}: ", until);
        printState();
        return 0;
    }
    fmt::print("{} calls: {}\n", replay.calls(), difference.empty() ? "every line is as it was" : difference);
    return difference.empty() ? 0 : 1;
}

} // namespace

int main(int count, char** arguments)
{
    std::string directory;
    std::string logs;
    std::string language;
    std::string until;
    bool logsOnly = false;
    CLI::App app{
        "Runs the calls of a log directory again through the same library and compares what is logged: from "
        "the directory's tape.jsonl if there is one, else from the lines alone."};
    app.add_option("directory", directory, "Where the logs are")->required();
    app.add_option("--lang", language, "The till's language file");
    app.add_option("--until", until, "Stop before this line, as in tllogic_Mon.log:17, and tell the state");
    app.add_option("--logs", logs, "Where to write the logs of the replay to");
    app.add_flag("--logs-only", logsOnly, "Leave the tape alone");
    CLI11_PARSE(app, count, arguments);
    try {
        simulation::virtualSystem().begin(logs);
        const std::string tape = directory + "/tape.jsonl";
        if (!logsOnly && until.empty() && std::filesystem::exists(tape))
            return replayTape(tape);
        const bool hasLogsFolder =
            std::filesystem::exists(directory + "/logs") && std::filesystem::exists(tape);
        return replayLogs(hasLogsFolder ? directory + "/logs" : directory, language, until);
    } catch (const std::exception& error) {
        fmt::print(stderr, "tlreplay: {}\n", error.what());
        return 2;
    }
}
