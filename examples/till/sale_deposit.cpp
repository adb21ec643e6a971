#include "examples/till/commands.h"

#include <fmt/format.h>

bool runDepositSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {}, kept first and then changed", money(sale.due)));
    Session session(printer, options);
    session.call(fmt::format("informTotalAmountTL({})", money(sale.due)), [&](char* message) {
        return informTotalAmountTL(static_cast<std::int32_t>(sale.due), message);
    });
    session.payIn(sale.pieces);

    session.call("disablePayinTL", &disablePayinTL);
    session.call("depositTL(\"SALE-2\")", [](char* message) { return depositTL("SALE-2", message); });
    // The call doesn't wait, and a device that has yet to tell that it is busy refuses what follows.
    session.expect("the money kept",
                   [](const DeviceStatus& now) { return now.amount == 0 && now.status == 3; });
    const std::int64_t change = session.book().inserted() - sale.due;
    std::int32_t rest = 0;
    session.call(fmt::format("dispenseTL({}, \"SALE-2\")", money(change)), [&](char* message) {
        return dispenseTL(static_cast<std::int32_t>(change), "SALE-2", &rest, message);
    });
    const bool rightChange = amountOf(session.book().take()) == change;
    session.call("enablePayinTL", &enablePayinTL);
    return session.finish() && rightChange;
}
