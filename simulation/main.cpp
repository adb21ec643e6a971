// tlsimulate: days of sales on the shipping code and the simulated device, by seed.
#include "simulation/run.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

void print(const simulation::Report& report, double seconds)
{
    for (const auto& [what, count] : report.counts)
        fmt::print("{}\t{}\n", what, count);
    fmt::print("seconds\t{:.2f}\n", seconds);
}

/// "none", or names with commas.
void readFaults(const std::string& list, simulation::Plan& plan)
{
    plan.withFaults = list != "none";
    std::istringstream stream(plan.withFaults ? list : "");
    for (std::string name; std::getline(stream, name, ',');) {
        const auto fault = simulator::faultNamed(name);
        if (!fault)
            throw std::runtime_error("no such fault: " + name);
        plan.faults.push_back(*fault);
    }
}

std::vector<std::uint64_t> readSteps(const std::string& file)
{
    std::ifstream stream(file);
    return {std::istream_iterator<std::uint64_t>(stream), {}};
}

/// Whether these steps alone still end in such a violation. In a process of its own: the library is as it is
/// after load.
bool stillFails(const std::string& program, const std::string& faults, const simulation::Plan& plan,
                const std::vector<std::uint64_t>& steps, const std::string& violation)
{
    const auto place = std::filesystem::temp_directory_path() / fmt::format("tlsimulate_{}", plan.seed);
    const std::string list = place.string() + ".steps";
    const std::string output = place.string() + ".output";
    std::ofstream(list) << fmt::format("{}\n", fmt::join(steps, "\n"));
    const std::string command = fmt::format("{} --seed {} --quiet --steps-file {}{} > {}", program, plan.seed,
                                            list, faults.empty() ? "" : " --faults " + faults, output);
    const bool failed = std::system(command.c_str()) != 0;
    std::ifstream stream(output);
    const std::string said{std::istreambuf_iterator<char>(stream), {}};
    std::filesystem::remove(list);
    std::filesystem::remove(output);
    // Of the same kind: what stands before the first colon.
    return failed && said.find(": " + violation.substr(0, violation.find(':'))) != std::string::npos;
}

/// Leaves out what isn't needed, in ever smaller pieces.
void shrink(const std::string& program, const std::string& faults, simulation::Plan& plan,
            const std::string& violation)
{
    std::vector<std::uint64_t>& steps = plan.steps;
    for (std::size_t size = steps.size() / 2; size > 0; size /= 2) {
        for (std::size_t at = 0; at < steps.size();) {
            std::vector<std::uint64_t> fewer = steps;
            const std::size_t end = std::min(at + size, steps.size());
            fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at),
                        fewer.begin() + static_cast<std::ptrdiff_t>(end));
            if (!fewer.empty() && stillFails(program, faults, plan, fewer, violation))
                steps = std::move(fewer);
            else
                at += size;
        }
    }
}

} // namespace

int main(int count, char** arguments)
{
    simulation::Plan plan;
    std::string faults;
    std::string stepsFile;
    bool quiet = false;
    CLI::App app{"Runs sales on the library and the simulated device, with the money checked after every "
                 "step. A failure is "
                 "shrunk to the steps that it needs."};
    app.add_option("--seed", plan.seed, "What the run is made up from")->capture_default_str();
    app.add_option("--sales", plan.sales, "How many")->capture_default_str();
    app.add_option("--faults", faults, "Only these, by name, with commas; \"none\" for none");
    app.add_option("--steps", plan.steps, "Only these steps of the run")->delimiter(',');
    app.add_option("--steps-file", stepsFile, "The same from a file");
    app.add_option("--logs", plan.logs,
                   "Directory for the logs, and for the tape from which tlreplay runs it again");
    app.add_flag("--quiet", quiet, "Print nothing but a violation");
    CLI11_PARSE(app, count, arguments);

    try {
        readFaults(faults, plan);
        if (!stepsFile.empty())
            plan.steps = readSteps(stepsFile);
        simulation::virtualSystem().logDirectory = plan.logs;
        const auto start = std::chrono::steady_clock::now();
        simulation::Run run(plan);
        const std::uint64_t last = run.run();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        if (!quiet)
            print(simulation::report(), took.count());
        const std::string violation = simulation::report().violation;
        if (violation.empty())
            return 0;
        fmt::print("seed {}: step {}: {}\n", plan.seed, run.describe(last), violation);
        std::fflush(stdout);
        if (plan.steps.empty()) {
            for (std::uint64_t step = 1; step <= last; ++step)
                plan.steps.push_back(step);
            shrink(arguments[0], faults, plan, violation);
            for (const std::uint64_t step : plan.steps)
                fmt::print("    {}\n", run.describe(step));
            fmt::print("again: tlsimulate --seed {} --steps {}{}\n", plan.seed, fmt::join(plan.steps, ","),
                       faults.empty() ? "" : " --faults " + faults);
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "tlsimulate: {}\n", error.what());
        return 2;
    }
    return 1;
}
