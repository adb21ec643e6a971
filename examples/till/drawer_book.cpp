#include "examples/till/drawer_book.h"

#include "simulator/tellarion_simulator.h"

#include <fmt/format.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace {

/// Reads "100:2,500:1;2000:3".
Cash parseCash(std::string text)
{
    for (char& character : text)
        if (character == ',' || character == ';' || character == ':')
            character = ' ';
    std::istringstream stream(text);
    Cash cash;
    std::int64_t denomination = 0;
    int count = 0;
    while (stream >> denomination >> count)
        cash[denomination] = count;
    return cash;
}

template <typename Function>
Cash askFor(Function function)
{
    std::array<char, 2048> text{};
    function(text.data(), static_cast<int>(text.size()));
    return parseCash(text.data());
}

std::string signedMoney(std::int64_t amount)
{
    return (amount > 0 ? "+" : "") + money(amount);
}

} // namespace

std::int64_t amountOf(const Cash& cash)
{
    std::int64_t amount = 0;
    for (const auto& [denomination, count] : cash)
        amount += denomination * count;
    return amount;
}

std::string describe(const Cash& cash)
{
    std::string text;
    for (auto piece = cash.rbegin(); piece != cash.rend(); ++piece)
        text += fmt::format("{}{} x {}", text.empty() ? "" : ", ", piece->second, money(piece->first));
    return text.empty() ? "nothing" : text;
}

Cash drawerCash()
{
    return askFor(&tlsim_drawer);
}

Cash takeCustomersCash()
{
    return askFor(&tlsim_taken);
}

Cash takeCollectedCash()
{
    return askFor(&tlsim_collected);
}

DrawerBook::DrawerBook(Printer& printer) : m_printer(printer) {}

void DrawerBook::insert(std::int64_t denomination, int count)
{
    const int accepted = tlsim_insert(static_cast<std::int32_t>(denomination), count);
    m_printer.line(LineKind::Customer, fmt::format("puts in {} x {}", count, money(denomination)));
    m_inserted += accepted;
    if (accepted != denomination * count)
        throw std::runtime_error(fmt::format("the device took {} of it only", money(accepted)));
}

Cash DrawerBook::take()
{
    const Cash cash = takeCustomersCash();
    m_taken += amountOf(cash);
    m_printer.line(LineKind::Customer, fmt::format("gets {}: {}", money(amountOf(cash)), describe(cash)));
    return cash;
}

Cash DrawerBook::takeCollected()
{
    const Cash cash = takeCollectedCash();
    m_collected += amountOf(cash);
    m_printer.line(LineKind::Note, fmt::format("collected {}: {}", money(amountOf(cash)), describe(cash)));
    return cash;
}

bool DrawerBook::close()
{
    Cash after = drawerCash();
    Table table{{"denomination", "before", "after", "pieces", "amount"}, {}, true, 0};
    for (const auto& [denomination, count] : m_before) {
        const int difference = after[denomination] - count;
        table.rows.push_back({money(denomination), std::to_string(count), std::to_string(after[denomination]),
                              difference == 0 ? "" : fmt::format("{:+}", difference),
                              difference == 0 ? "" : signedMoney(denomination * difference)});
    }
    const std::int64_t difference = amountOf(after) - amountOf(m_before);
    table.rows.push_back(
        {"total", money(amountOf(m_before)), money(amountOf(after)), "", signedMoney(difference)});
    m_printer.heading("The device's drawer");
    m_printer.table(table);

    const bool addsUp = difference == m_inserted - m_taken - m_collected && tlsim_balances() == 1;
    m_printer.heading(fmt::format("In {}, out {}, collected {}: the money {}", money(m_inserted),
                                  money(m_taken), money(m_collected),
                                  addsUp ? "adds up." : "DOES NOT ADD UP."));
    return addsUp;
}
