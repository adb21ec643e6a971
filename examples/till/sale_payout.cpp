#include "examples/till/commands.h"
#include "examples/till/sale.h"

#include <fmt/format.h>

namespace {

bool payOut(Session& session, const Sale& sale)
{
    const std::int64_t paid = session.collect(sale.due, sale.pieces);
    const std::int64_t change = paid - sale.due;
    const auto what = fmt::format("payoutTL({}, {}, \"SALE-1\")", money(change), money(paid));
    const bool right = session.payExactly(change, what, [&](char* message) {
        return payoutTL(static_cast<std::int32_t>(change), static_cast<std::int32_t>(paid), "SALE-1",
                        message);
    });
    session.book().cameOut();
    return right;
}

} // namespace

bool runPayOutSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {}, paid with change", sale.due));
    return runSale(printer, options, sale, &payOut);
}
