#include "tools/sale.h"

#include "tools/log_line.h"

namespace tllog {

std::optional<std::int64_t> Sale::due() const
{
    return hasDue && isKnown() ? std::optional(kept) : std::nullopt;
}

std::optional<std::int64_t> Sale::missing() const
{
    if (!isKnown() || !isOver)
        return std::nullopt;
    return owed() - paidOut;
}

std::string Sale::result() const
{
    if (!isKnown())
        return "unknown: " + unknown;
    if (!isOver)
        return "open: not settled when the log ends";
    std::string text;
    if (missing() != 0)
        text = *missing() > 0 ? "too little came out" : "too much came out";
    else if (wasRefused && paidIn == 0)
        text = "refused";
    else if (kind.ends_with("regret") && kept == 0)
        text = "given back";
    else
        text = "ok";
    if (status > 0)
        text += ": " + call + " answered " + std::to_string(status) + " " + statusName(status) +
                (message.empty() ? "" : ", " + message);
    if (!deviceError.empty())
        text += "; " + deviceError;
    return text;
}

} // namespace tllog
