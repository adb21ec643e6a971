#include "examples/till/commands.h"
#include "examples/till/sale.h"

#include <fmt/format.h>

namespace {

/// What was kept can't be regretted, so the change must be certain first.
void keepIfChangeable(Session& session, std::int32_t change)
{
    session.call(fmt::format("askPayoutTL({})", money(change)),
                 [&](char* message) { return askPayoutTL(change, message); });
    session.move("depositTL(\"SALE-2\")", [](char* message) { return depositTL("SALE-2", message); });
    // The call doesn't wait, and a device that has yet to tell that it is busy refuses what follows.
    session.expect("the money kept",
                   [](const StatusReport& now) { return now.amount == 0 && now.status == 3; });
}

bool deposit(Session& session, const Sale& sale)
{
    session.call(fmt::format("informTotalAmountTL({})", money(sale.due)), [&](char* message) {
        return informTotalAmountTL(static_cast<std::int32_t>(sale.due), message);
    });
    const std::int64_t paid = session.collect(sale.due, sale.pieces);
    session.call("disablePayinTL", &disablePayinTL);

    const auto change = static_cast<std::int32_t>(paid - sale.due);
    keepIfChangeable(session, change);
    std::int32_t rest = 0;
    const bool rightChange =
        session.payExactly(change, fmt::format("dispenseTL({}, \"SALE-2\")", money(change)),
                           [&](char* message) { return dispenseTL(change, "SALE-2", &rest, message); });
    session.book().cameOut();
    session.call("enablePayinTL", &enablePayinTL);
    return rightChange;
}

} // namespace

bool runDepositSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {}, kept first and then changed", sale.due));
    return runSale(printer, options, sale, &deposit);
}
