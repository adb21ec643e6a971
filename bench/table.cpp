#include "bench/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

double secondsOf(const Work& work, int times)
{
    const auto start = Clock::now();
    for (int i = 0; i < times; ++i)
        work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// How often the work fits into a round; once if that has no length.
int timesIn(const Work& work, std::chrono::nanoseconds round)
{
    if (round.count() == 0)
        return 1;
    const double wanted = std::chrono::duration<double>(round).count();
    secondsOf(work, 1); // what only the first one does
    int times = 1;
    while (times < 1'000'000 && secondsOf(work, times) < wanted)
        times *= 2;
    return std::max(times / 2, 1);
}

} // namespace

Spread spreadOf(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    return {values[last / 4], values[last / 2], values[last - last / 4]};
}

std::string shown(double nanoseconds)
{
    return nanoseconds < 1e5 ? fmt::format("{:.0f} ns", nanoseconds)
                             : fmt::format("{:.2f} ms", nanoseconds / 1e6);
}

void printRow(const Row& row)
{
    fmt::print("{:<43} {:<24} {:>9} {:>9} {:>9} {:<13} {:<9} {}\n", row.work, row.limit, row.limitTime,
               row.time, row.result, row.spread, row.aim, row.reached ? "" : "missed");
    std::fflush(stdout);
}

void printHeader()
{
    printRow({"work", "limit", "limit", "work", "ratio", "middle half", "aim"});
}

Measured measure(const Work& work, const Work& limit, const Rounds& rounds)
{
    const int workTimes = timesIn(work, rounds.length);
    const int limitTimes = timesIn(limit, rounds.length);
    std::vector<double> works;
    std::vector<double> limits;
    std::vector<double> ratios;
    for (int i = 0; i < rounds.number; ++i) {
        rounds.prepare();
        works.push_back(secondsOf(work, workTimes) * 1e9 / workTimes);
        limits.push_back(secondsOf(limit, limitTimes) * 1e9 / limitTimes);
        ratios.push_back(works.back() / limits.back());
    }
    return {spreadOf(works), spreadOf(limits), spreadOf(ratios)};
}

void compare(const std::string& name, const std::string& limitName, const Work& work, const Work& limit,
             double aim, const Rounds& rounds)
{
    const Measured measured = measure(work, limit, rounds);
    const Spread& ratio = measured.ratio;
    printRow({name, limitName, shown(measured.limit.median), shown(measured.work.median),
              fmt::format("{:.3f}", ratio.median), fmt::format("{:.3f}-{:.3f}", ratio.low, ratio.high),
              fmt::format("{:g}", aim), ratio.median <= aim});
}

} // namespace bench
