// Composing of log lines and messages from texts and numbers.
#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

inline void appendPiece(std::string& text, std::string_view piece)
{
    text += piece;
}

inline void appendPiece(std::string& text, char piece)
{
    text += piece;
}

template <std::integral Number>
void appendPiece(std::string& text, Number piece)
{
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), piece).ptr;
    text.append(digits.data(), end);
}

template <typename Enum>
requires std::is_enum_v<Enum>
void appendPiece(std::string& text, Enum piece)
{
    appendPiece(text, static_cast<std::underlying_type_t<Enum>>(piece));
}

/// The pieces one after the other, numbers in decimal.
template <typename... Pieces>
std::string compose(const Pieces&... pieces)
{
    std::string text;
    (appendPiece(text, pieces), ...);
    return text;
}

/// Pieces that are put together only where they are written: a line that nobody wants costs nothing. Texts
/// are not copied, so it lives no longer than the expression that it stands in.
template <typename... Pieces>
class Joined {
public:
    explicit Joined(const Pieces&... pieces) : m_pieces(pieces...) {}

    void appendTo(std::string& text) const
    {
        std::apply([&](const auto&... each) { (appendPiece(text, each), ...); }, m_pieces);
    }

private:
    std::tuple<Pieces...> m_pieces;
};

template <typename... Pieces>
void appendPiece(std::string& text, const Joined<Pieces...>& joined)
{
    joined.appendTo(text);
}

/// A literal's length is known here still, and literals of all lengths become one type.
template <typename Piece>
using Kept =
    std::conditional_t<std::is_convertible_v<const Piece&, std::string_view>, std::string_view, Piece>;

template <typename... Pieces>
Joined<Kept<Pieces>...> pieces(const Pieces&... each)
{
    return Joined<Kept<Pieces>...>(each...);
}

/// A decimal number, filled on its left with zeros to "width" and never cut. A sign stays where it is:
/// -5 in width 4 is "00-5".
inline std::string leftPadded(std::int64_t number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}
