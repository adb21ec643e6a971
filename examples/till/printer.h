// What a person reads: one line at a time, from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// How many decimals the device's currency has, for all amounts from now on; 2 until then.
void setDecimals(int decimals);

/// An amount in the smallest unit as people write it: with two decimals 13750 is "137.50".
std::string money(std::int64_t amount);

/// The other way round, with "." or ","; -1 if it is no amount, or has more decimals than the currency.
std::int64_t parseMoney(const std::string& text);

enum class LineKind { Call, Good, Bad, Event, Customer, Note };

struct Table {
    std::vector<std::string> headings;
    std::vector<std::vector<std::string>> rows;
    bool total = false;          // the last row is a total
    std::size_t leftColumns = 1; // the first ones, which stand to the left
};

class Printer {
public:
    using Sink = std::function<void(LineKind kind, const std::string& text)>;

    /// With a sink the lines go there, instead of to standard output.
    explicit Printer(Sink sink = nullptr);

    /// The time since the start, who speaks, and the text.
    void line(LineKind kind, const std::string& text);

    void heading(const std::string& text);

    void table(const Table& table);

private:
    std::string coloured(const char* sequence, const std::string& text) const;
    std::string secondsSinceStart() const;
    void write(const std::string& text);

    const Sink m_sink;
    const bool m_colours;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::mutex m_mutex;
};
