// Reading of numbers in texts, alike on every platform.
#pragma once

#include "platform/decimal.h"

#include <cstdint>
#include <string_view>

/// The number at the start of a text: blanks, a sign, digits. 0 if there is none; a number beyond 32
/// bits reads as the nearest limit.
inline std::int32_t leadingNumber(std::string_view text)
{
    return platform::leadingDecimal(text);
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
