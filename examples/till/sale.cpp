#include "examples/till/sale.h"

#include <fmt/format.h>

#include <exception>

bool runSale(Printer& printer, const SessionOptions& options, const std::function<bool(Session&)>& sale)
{
    Session session(printer, options);
    try {
        const bool right = sale(session);
        return session.finish() && right;
    } catch (const std::exception& error) {
        printer.line(LineKind::Bad, fmt::format("the sale is off: {}", error.what()));
    }
    session.callOff();
    return false;
}
