// Times as the simulator counts them and as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// Virtual or real time in milliseconds, from any starting point.
using Milliseconds = std::int64_t;

/// The longest time that anything may be set to: ten minutes.
constexpr Milliseconds LONGEST_TIME = 600'000;

/// "250ms", "5s", "1.5 s" or "2min"; a number alone is milliseconds. Empty if it is no such time, or a
/// longer one than LONGEST_TIME.
std::optional<Milliseconds> parseDuration(std::string_view text);

/// "250 ms" or "1.5 s".
std::string durationText(Milliseconds time);

} // namespace simulator
