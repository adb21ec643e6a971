// Amounts, pieces of money and lists of them. Amounts are in the currency's smallest unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

using Amount = std::int64_t;

/// The most that eight digits hold.
constexpr Amount LARGEST_AMOUNT = 99'999'999;

enum class CashKind { Coin, Note };

/// Denomination to number of pieces; no entry has 0 pieces.
using Pieces = std::map<Amount, int>;

Amount valueOf(const Pieces& pieces);
void addPieces(Pieces& pieces, Amount denomination, int count);

Pieces counted(const std::vector<Amount>& pieces);

/// The pieces one by one, the largest denomination first.
std::vector<Amount> largestFirst(const Pieces& pieces);

struct CashEntry {
    Amount denomination;
    int count;
    std::optional<int> recycled = {}; // second count, in complete cash counts only
};

/// Coins and notes as the device writes them: "100:2,500:1;2000:3".
struct CashList {
    std::vector<CashEntry> coins;
    std::vector<CashEntry> notes;

    bool empty() const { return coins.empty() && notes.empty(); }

    /// Adds to the entries of the same denomination where there are such.
    void add(const CashList& more);

    std::string text() const;

    /// With or without a "." at the end. Empty if it is not such a list.
    static std::optional<CashList> parse(std::string_view text);
};

/// A number of digits only, at most nine of them.
std::optional<int> parseNumber(std::string_view digits);

/// In decimal with leading zeros.
std::string padded(Amount number, std::size_t width);

/// In main units: 1250 is "12.50" with two decimals.
std::string moneyText(Amount amount, int decimals);

/// The other way round; fewer decimals, or none, will do. Empty if it is no such amount, or one of more
/// than nine digits.
std::optional<Amount> parseMoney(std::string_view text, int decimals);

} // namespace simulator
