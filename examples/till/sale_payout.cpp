#include "examples/till/commands.h"

#include <fmt/format.h>

#include <exception>

namespace {

void payOut(Session& session, std::int64_t change, std::int64_t paid)
{
    const auto what = fmt::format("payoutTL({}, {}, \"SALE-1\")", money(change), money(paid));
    session.call(what, [&](char* message) {
        return payoutTL(static_cast<std::int32_t>(change), static_cast<std::int32_t>(paid), "SALE-1",
                        message);
    });
}

/// There is no sale: the customer gets everything back.
void callOff(Session& session)
{
    session.call("regretTL(1), everything", [](char* message) { return regretTL(1, message); });
    session.book().take();
    session.finish();
}

} // namespace

bool runPayOutSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {}, paid with change", money(sale.due)));
    Session session(printer, options);
    session.payIn(sale.pieces);

    const std::int64_t paid = session.book().inserted();
    const std::int64_t change = paid - sale.due;
    try {
        payOut(session, change, paid);
    } catch (const std::exception& error) {
        printer.line(LineKind::Bad, fmt::format("the sale is off: {}", error.what()));
        callOff(session);
        return false;
    }
    const bool rightChange = amountOf(session.book().take()) == change;
    return session.finish() && rightChange;
}
