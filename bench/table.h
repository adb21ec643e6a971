// The table of measurements. A row runs the work and what limits it in turns, in short rounds one after the
// other, so that whatever slows the machine down slows both, and the ratio stays.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// Of many rounds: the middle one, and the middle half.
struct Spread {
    double low;
    double median;
    double high;
};

Spread spreadOf(std::vector<double> values);

void printHeader();
/// A text is empty where a row has nothing to say.
struct Row {
    std::string work;
    std::string limit;
    std::string limitTime;
    std::string time;
    std::string result;
    std::string spread;
    std::string aim;
    bool reached = true;
};
void printRow(const Row& row);

/// How a time is shown: "812 ns".
std::string shown(double nanoseconds);

using Work = std::function<void()>;

/// How a row is measured. The rounds are short: most of them must pass without the machine's other work.
struct Rounds {
    int number = 401;
    std::chrono::nanoseconds length = std::chrono::microseconds(400); // 0: one run
    /// Runs before each round, untimed.
    Work prepare = [] {};
};

/// What a run of the work takes, by its rounds.
struct Measured {
    Spread work;
    Spread limit;
    Spread ratio;
};

Measured measure(const Work& work, const Work& limit, const Rounds& rounds = {});

/// Measures a row and prints it.
void compare(const std::string& name, const std::string& limitName, const Work& work, const Work& limit,
             double aim, const Rounds& rounds = {});

} // namespace bench
