#include "examples/till/commands.h"
#include "examples/till/sale.h"

#include <fmt/format.h>

namespace {

bool regret(Session& session, const SaleOptions& sale)
{
    session.payIn(sale.pieces);
    session.call("regretTL(0), the last note", [](char* message) { return regretTL(0, message); });
    std::int64_t returned = amountOf(session.book().take());
    session.call("regretTL(1), everything", [](char* message) { return regretTL(1, message); });
    returned += amountOf(session.book().take());
    return returned == session.book().inserted();
}

} // namespace

bool runRegretSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {} that the customer regrets", money(sale.due)));
    return runSale(printer, options, [&](Session& session) { return regret(session, sale); });
}
