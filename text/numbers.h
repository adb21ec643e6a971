// Reading of decimal numbers, alike on every platform, and arithmetic as the device's numbers need it.
#pragma once

#include "text/ascii.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>

/// The number at the start of a text: blanks, a sign, digits. 0 if there is none; a number beyond 32
/// bits reads as the nearest limit.
inline std::int32_t leadingNumber(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);

    constexpr std::int64_t MOST = std::numeric_limits<std::int32_t>::max();
    std::int64_t number = 0;
    for (const char digit : text) {
        if (!isDigit(digit))
            break;
        number = std::min(number * 10 + (digit - '0'), MOST + 1);
    }
    return static_cast<std::int32_t>(negative ? -number : std::min(number, MOST));
}

// 32-bit arithmetic that wraps around.
constexpr std::int32_t wrappingAdd(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t wrappingSubtract(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr std::int32_t wrappingMultiply(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}
