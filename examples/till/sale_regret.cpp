#include "examples/till/commands.h"
#include "examples/till/sale.h"

#include <fmt/format.h>

namespace {

bool regret(Session& session, const Sale& sale)
{
    const std::int64_t paid = session.collect(sale.due, sale.pieces);
    std::int64_t returned =
        session.pay("regretTL(0), the last note", [](char* message) { return regretTL(0, message); });
    session.book().cameOut();
    returned += session.pay("regretTL(1), everything", [](char* message) { return regretTL(1, message); });
    session.book().cameOut();
    return returned == paid;
}

} // namespace

bool runRegretSale(Printer& printer, const SessionOptions& options, const SaleOptions& sale)
{
    printer.heading(fmt::format("A sale of {} that the customer regrets", sale.due));
    return runSale(printer, options, sale, &regret);
}
