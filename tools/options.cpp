#include "tools/options.h"

#include "tools/words.h"

#include <algorithm>

namespace tllog {

const std::vector<std::string>& lineKinds()
{
    static const std::vector<std::string> KINDS{"call",     "event", "command", "message",
                                                "progress", "error", "note",    "foreign"};
    return KINDS;
}

const std::vector<std::string>& saleKinds()
{
    static const std::vector<std::string> KINDS{"payout", "amountdue", "deposit", "dispense", "change",
                                                "regret", "specified", "missing", "unknown",  "refused"};
    return KINDS;
}

namespace {

bool choosesAny(const std::set<std::string>& kinds, const std::vector<std::string>& among)
{
    return std::any_of(among.begin(), among.end(), [&](const auto& each) { return kinds.count(each) > 0; });
}

} // namespace

bool Options::covers(const Sale& sale) const
{
    if (!covers(sale.start) || (!receipt.empty() && sale.receipt != receipt))
        return false;
    if (!choosesAny(kinds, saleKinds()))
        return true;
    const auto is = [&](const std::string& kind) {
        if (kind == "missing")
            return sale.missing().value_or(0) != 0;
        if (kind == "unknown")
            return !sale.isKnown();
        if (kind == "refused")
            return sale.wasRefused;
        return sale.kind.find(kind) != std::string::npos;
    };
    return std::any_of(kinds.begin(), kinds.end(), is);
}

bool Options::choosesSales() const
{
    return !receipt.empty() || choosesAny(kinds, saleKinds());
}

bool Options::wants(Mark mark) const
{
    return !choosesAny(kinds, lineKinds()) || kinds.count(kindName(mark)) > 0;
}

} // namespace tllog
