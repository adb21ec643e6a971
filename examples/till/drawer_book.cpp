#include "examples/till/drawer_book.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace {

std::string signedMoney(std::int64_t amount)
{
    return (amount > 0 ? "+" : "") + money(amount);
}

/// The drawer before and after, denomination by denomination.
Table comparison(const Cash& before, Cash after)
{
    Table table{{"denomination", "before", "after", "pieces", "amount"}, {}, true, 0};
    for (const auto& [denomination, count] : before) {
        const int difference = after[denomination] - count;
        table.rows.push_back({money(denomination), std::to_string(count), std::to_string(after[denomination]),
                              difference == 0 ? "" : fmt::format("{:+}", difference),
                              difference == 0 ? "" : signedMoney(denomination * difference)});
    }
    table.rows.push_back({"total", money(amountOf(before)), money(amountOf(after)), "",
                          signedMoney(amountOf(after) - amountOf(before))});
    return table;
}

} // namespace

DrawerBook::DrawerBook(Printer& printer, bool isHand) : m_printer(printer), m_isHand(isHand) {}

void DrawerBook::insert(std::int64_t denomination, int count)
{
    const std::int64_t accepted = insertIntoMachine(denomination, count);
    m_printer.line(LineKind::Customer, fmt::format("puts in {} x {}", count, money(denomination)));
    if (accepted != denomination * count)
        throw std::runtime_error(fmt::format("the device took {} of it only", money(accepted)));
}

std::int64_t DrawerBook::cameOut()
{
    const MachineState now = lookAtMachine();
    const std::int64_t amount = now.out - std::exchange(m_toldOut, now.out);
    if (m_isHand) {
        const Cash taken = takeFromTray();
        m_printer.line(LineKind::Customer,
                       fmt::format("gets {}: {}", money(amountOf(taken)), describe(taken)));
    } else {
        m_printer.line(LineKind::Note, fmt::format("{} came out; in the tray lies {}: {}", money(amount),
                                                   money(amountOf(now.tray)), describe(now.tray)));
    }
    return amount;
}

std::int64_t DrawerBook::cameOutToBox()
{
    const Cash cash = takeCollected();
    m_printer.line(LineKind::Note, fmt::format("collected {}: {}", money(amountOf(cash)), describe(cash)));
    return amountOf(cash);
}

bool DrawerBook::close()
{
    const MachineState now = lookAtMachine();
    m_printer.heading("The device's drawer");
    m_printer.table(comparison(m_before.drawer, now.drawer));

    const std::int64_t in = now.in - m_before.in;
    const std::int64_t out = now.out - m_before.out;
    const std::int64_t collected = now.collected - m_before.collected;
    const std::int64_t missing = amountOf(m_before.drawer) + in - out - collected - amountOf(now.drawer);
    m_printer.heading(fmt::format("In {}, out {}, collected {}: {}", money(in), money(out), money(collected),
                                  missing == 0 ? "the money adds up."
                                               : money(missing) + " IS MISSING: THE MONEY DOES NOT ADD UP."));
    if (!now.tray.empty())
        m_printer.line(LineKind::Note, fmt::format("{} lies in the tray and belongs to the customer",
                                                   money(amountOf(now.tray))));
    if (now.paidIn != 0)
        m_printer.line(LineKind::Note, fmt::format("{} is paid in and not settled", money(now.paidIn)));
    return missing == 0;
}
