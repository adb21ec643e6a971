#include "examples/till/sale.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <numeric>

namespace {

std::int64_t amountIn(const std::string& text)
{
    const std::int64_t amount = parseMoney(text);
    if (amount < 0)
        throw std::runtime_error("the device's money has no amount \"" + text + "\"");
    return amount;
}

/// As people pay: the largest piece that is not too much, until one is enough for what is left.
std::vector<std::int64_t> piecesFor(std::int64_t due, const Cash& drawer)
{
    std::vector<std::int64_t> pieces;
    while (due > 0 && !drawer.empty()) {
        auto piece = pieces.empty() ? drawer.upper_bound(due) : drawer.lower_bound(due);
        if (piece == drawer.end() || (pieces.empty() && piece != drawer.begin()))
            --piece;
        pieces.push_back(piece->first);
        due -= piece->first;
    }
    return pieces;
}

Sale saleOf(const SaleOptions& wanted, const Cash& drawer)
{
    Sale sale{amountIn(wanted.due)};
    for (const std::string& piece : wanted.pieces)
        sale.pieces.push_back(amountIn(piece));
    if (sale.pieces.empty())
        sale.pieces = piecesFor(sale.due, drawer);
    return sale;
}

} // namespace

bool runSale(Printer& printer, const SessionOptions& options, const SaleOptions& wanted,
             const std::function<bool(Session&, const Sale&)>& run)
{
    Session session(printer, options);
    try {
        const bool right = run(session, saleOf(wanted, session.book().before().drawer));
        return session.finish() && right;
    } catch (const UnknownOutcome& failure) {
        printer.line(LineKind::Bad, fmt::format("it is not known what was paid: {}", failure.what()));
        session.clarify();
    } catch (const std::exception& error) {
        printer.line(LineKind::Bad, fmt::format("the sale is off: {}", error.what()));
        session.callOff();
    }
    return false;
}
