#include "examples/till/printer.h"

#include "examples/till/system.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

constexpr const char* BOLD = "\x1b[1m";
constexpr const char* PLAIN = "\x1b[0m";

int decimals = 2;

struct Look {
    const char* speaker;
    const char* sequence;
};

Look lookOf(LineKind kind)
{
    switch (kind) {
    case LineKind::Call:
        return {"till", BOLD};
    case LineKind::Good:
        return {"", "\x1b[32m"};
    case LineKind::Bad:
        return {"", "\x1b[31m"};
    case LineKind::Event:
        return {"event", "\x1b[36m"};
    case LineKind::Customer:
        return {"customer", "\x1b[33m"};
    default:
        return {"", PLAIN};
    }
}

bool wantsColours()
{
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value ? value : "");
    };
    return variable("NO_COLOR").empty() && variable("TERM") != "dumb" && standardOutputShowsColour();
}

std::string tableRow(const Table& table, const std::vector<std::string>& cells,
                     const std::vector<std::size_t>& widths)
{
    std::string text;
    for (std::size_t column = 0; column < cells.size(); ++column)
        text += column < table.leftColumns ? fmt::format("  {:<{}}", cells[column], widths[column])
                                           : fmt::format("  {:>{}}", cells[column], widths[column]);
    return text;
}

std::vector<std::size_t> columnWidths(const Table& table)
{
    std::vector<std::size_t> widths;
    for (const std::string& heading : table.headings)
        widths.push_back(heading.size());
    for (const auto& row : table.rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    return widths;
}

} // namespace

void setDecimals(int count)
{
    decimals = count;
}

std::string money(std::int64_t amount)
{
    std::string digits = fmt::format("{:0{}}", amount < 0 ? -amount : amount, decimals + 1);
    if (decimals > 0)
        digits.insert(digits.size() - static_cast<std::size_t>(decimals), ".");
    return (amount < 0 ? "-" : "") + digits;
}

std::int64_t parseMoney(const std::string& text)
{
    const std::size_t point = std::min(text.find_first_of(".,"), text.size());
    const std::string whole = text.substr(0, point);
    std::string fraction = point < text.size() ? text.substr(point + 1) : "";
    const std::string digits = whole + fraction;
    const bool numeric =
        std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isdigit(c); });
    if (whole.empty() || whole.size() > 6 || fraction.size() > static_cast<std::size_t>(decimals) || !numeric)
        return -1;
    fraction.resize(static_cast<std::size_t>(decimals), '0');
    return std::stoll(whole + fraction);
}

Printer::Printer(Sink sink) : m_sink(std::move(sink)), m_colours(!m_sink && wantsColours()) {}

void Printer::line(LineKind kind, const std::string& text)
{
    if (m_sink)
        return m_sink(kind, text);
    const Look look = lookOf(kind);
    write(fmt::format("{}  {:<8}  {}", secondsSinceStart(), look.speaker, coloured(look.sequence, text)));
}

void Printer::heading(const std::string& text)
{
    write("\n" + coloured(BOLD, text));
}

void Printer::table(const Table& table)
{
    const auto widths = columnWidths(table);
    const std::string headings = tableRow(table, table.headings, widths);
    const std::string rule = "  " + std::string(headings.size() - 2, '-');
    std::string text = coloured(BOLD, headings) + "\n" + rule;
    for (const auto& row : table.rows) {
        const bool isTotal = table.total && &row == &table.rows.back();
        text += isTotal ? "\n" + rule + "\n" + coloured(BOLD, tableRow(table, row, widths))
                        : "\n" + tableRow(table, row, widths);
    }
    write(text);
}

std::string Printer::coloured(const char* sequence, const std::string& text) const
{
    return m_colours ? sequence + text + PLAIN : text;
}

std::string Printer::secondsSinceStart() const
{
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_start;
    return fmt::format("{:8.3f}", passed.count());
}

void Printer::write(const std::string& text)
{
    const std::lock_guard lock(m_mutex);
    std::fputs((text + "\n").c_str(), stdout);
    std::fflush(stdout);
}
