#include "config/numbers.h"

#include <algorithm>
#include <limits>

std::int32_t leadingNumber(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos)
        return 0;
    text.remove_prefix(start);
    const bool negative = text.front() == '-';
    if (negative || text.front() == '+')
        text.remove_prefix(1);

    constexpr std::int64_t MOST = std::numeric_limits<std::int32_t>::max();
    std::int64_t number = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            break;
        number = std::min(number * 10 + (digit - '0'), MOST + 1);
    }
    return static_cast<std::int32_t>(negative ? -number : std::min(number, MOST));
}
