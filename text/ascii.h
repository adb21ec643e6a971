// Kinds and cases of ASCII characters. Not those of <cctype>: the application may have set a locale with
// other ideas.
#pragma once

#include <algorithm>
#include <string_view>

constexpr bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

constexpr bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

constexpr bool isPrintable(char character)
{
    return character >= 0x20 && character < 0x7F;
}

constexpr char lowerCase(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr char upperCase(char character)
{
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

/// Equal but for the case of letters.
constexpr bool sameWord(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}
