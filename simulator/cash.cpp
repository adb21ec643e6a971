#include "simulator/cash.h"

#include "text/ascii.h"

#include <algorithm>

namespace simulator {

namespace {

std::string entryText(const CashEntry& entry)
{
    std::string text = std::to_string(entry.denomination) + ":" + std::to_string(entry.count);
    if (entry.recycled)
        text += ":" + std::to_string(*entry.recycled);
    return text;
}

std::string groupText(const std::vector<CashEntry>& entries)
{
    std::string text;
    for (const CashEntry& entry : entries)
        text += (text.empty() ? "" : ",") + entryText(entry);
    return text;
}

void addEntries(std::vector<CashEntry>& entries, const std::vector<CashEntry>& more)
{
    for (const CashEntry& entry : more) {
        const auto same = std::find_if(entries.begin(), entries.end(), [&](const CashEntry& candidate) {
            return candidate.denomination == entry.denomination;
        });
        if (same == entries.end())
            entries.push_back(entry);
        else
            same->count += entry.count;
    }
}

std::optional<std::vector<CashEntry>> parseGroup(std::string_view text)
{
    std::vector<CashEntry> entries;
    while (!text.empty()) {
        const std::string_view entry = text.substr(0, text.find(','));
        const std::size_t colon = entry.find(':');
        if (colon == std::string_view::npos)
            return std::nullopt;
        const auto denomination = parseNumber(entry.substr(0, colon));
        const auto count = parseNumber(entry.substr(colon + 1));
        if (!denomination || !count)
            return std::nullopt;
        entries.push_back({*denomination, *count});
        text.remove_prefix(std::min(text.size(), entry.size() + 1));
    }
    return entries;
}

} // namespace

Amount valueOf(const Pieces& pieces)
{
    Amount value = 0;
    for (const auto& [denomination, count] : pieces)
        value += denomination * count;
    return value;
}

void addPieces(Pieces& pieces, Amount denomination, int count)
{
    if (count > 0)
        pieces[denomination] += count;
}

Pieces counted(const std::vector<Amount>& pieces)
{
    Pieces counts;
    for (const Amount denomination : pieces)
        addPieces(counts, denomination, 1);
    return counts;
}

std::vector<Amount> largestFirst(const Pieces& pieces)
{
    std::vector<Amount> ordered;
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece)
        ordered.insert(ordered.end(), static_cast<std::size_t>(piece->second), piece->first);
    return ordered;
}

void CashList::add(const CashList& more)
{
    addEntries(coins, more.coins);
    addEntries(notes, more.notes);
}

std::string CashList::text() const
{
    return groupText(coins) + ";" + groupText(notes);
}

std::optional<CashList> CashList::parse(std::string_view text)
{
    if (text.ends_with('.'))
        text.remove_suffix(1);
    const std::size_t semicolon = text.find(';');
    if (semicolon == std::string_view::npos)
        return std::nullopt;
    auto coins = parseGroup(text.substr(0, semicolon));
    auto notes = parseGroup(text.substr(semicolon + 1));
    if (!coins || !notes)
        return std::nullopt;
    return CashList{std::move(*coins), std::move(*notes)};
}

std::optional<int> parseNumber(std::string_view digits)
{
    if (digits.empty() || digits.size() > 9 || !std::all_of(digits.begin(), digits.end(), isDigit))
        return std::nullopt;
    return std::stoi(std::string(digits));
}

std::string padded(Amount number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    return std::string(width > digits.size() ? width - digits.size() : 0, '0') + digits;
}

std::string moneyText(Amount amount, int decimals)
{
    const auto places = static_cast<std::size_t>(decimals);
    std::string digits = padded(amount < 0 ? -amount : amount, places + 1);
    if (places > 0)
        digits.insert(digits.size() - places, 1, '.');
    return (amount < 0 ? "-" : "") + digits;
}

std::optional<Amount> parseMoney(std::string_view text, int decimals)
{
    const auto places = static_cast<std::size_t>(decimals);
    const std::size_t point = text.find('.');
    std::string digits(text.substr(0, point));
    const std::string_view fraction = point == std::string_view::npos ? "" : text.substr(point + 1);
    if (digits.empty() || fraction.size() > places || (point != std::string_view::npos && fraction.empty()))
        return std::nullopt;
    digits += fraction;
    digits.append(places - fraction.size(), '0');
    const auto amount = parseNumber(digits);
    return amount ? std::optional<Amount>(*amount) : std::nullopt;
}

} // namespace simulator
