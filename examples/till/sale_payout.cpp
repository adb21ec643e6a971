#include "examples/till/commands.h"
#include "examples/till/sale.h"

#include <fmt/format.h>

namespace {

bool payOut(Session& session, const SaleOptions& sale)
{
    session.payIn(sale.pieces);
    const std::int64_t paid = session.book().inserted();
    const std::int64_t change = paid - sale.due;
    const auto what = fmt::format("payoutTL({}, {}, \"SALE-1\")", money(change), money(paid));
    session.call(what, [&](char* message) {
        return payoutTL(static_cast<std::int32_t>(change), static_cast<std::int32_t>(paid), "SALE-1",
                        message);
    });
    return amountOf(session.book().take()) == change;
}

} // namespace

bool runPayOutSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {}, paid with change", money(sale.due)));
    return runSale(printer, options, [&](Session& session) { return payOut(session, sale); });
}
