// Output: to a terminal with colours and no wider than it, to a pipe plainly; JSON objects; how far it got.
#pragma once

#include "tools/options.h"

#include <chrono>
#include <string>
#include <string_view>

namespace tllog {

enum class Tone { Plain, Strong, Dim, Good, Bad, Device, Command };

class Printer {
public:
    explicit Printer(const Options& options);
    ~Printer();
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    /// A line: what stands in front, and the text, which goes on below itself where it is too wide.
    void line(std::string_view front, std::string_view text, Tone tone = Tone::Plain,
              std::string_view frontBelow = {});
    void raw(std::string_view text);
    void flush();

    /// How much of the logs is read, for those who wait.
    void progress(std::uint64_t bytes, std::uint64_t all);

    /// False once nobody reads any more.
    bool isHeard() const { return m_heard; }
    std::size_t width() const { return m_width; }

private:
    void hideProgress();

    std::size_t m_width; // 0: any
    bool m_colour;
    bool m_tellsProgress;
    bool m_progressShown = false;
    bool m_heard = true;
    std::chrono::steady_clock::time_point m_lastProgress;
    std::string m_buffer;
};

/// One JSON object, key by key. Any bytes may come as text: what is no UTF-8 is taken as Latin-1.
class JsonLine {
public:
    explicit JsonLine(std::string_view type);
    JsonLine& text(std::string_view key, std::string_view value);
    JsonLine& number(std::string_view key, std::int64_t value);
    JsonLine& number(std::string_view key, const std::optional<std::int64_t>& value);
    JsonLine& flag(std::string_view key, bool value);
    JsonLine& time(std::string_view key, Time value);
    std::string finished();
    void print(Printer& printer) { printer.raw(finished()); }

private:
    void key(std::string_view name);

    std::string m_text;
};

} // namespace tllog
