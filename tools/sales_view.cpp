// One line a sale, and their sum.
#include "tools/views.h"
#include "tools/words.h"

#include <fmt/format.h>

namespace tllog {

namespace {

// Columns that the table needs with its words.
constexpr std::size_t WIDE = 110;

std::string amountOrUnknown(const std::optional<std::int64_t>& amount, int decimals)
{
    return amount ? money(*amount, decimals) : "unknown";
}

class SalesView : public View {
public:
    SalesView(const Options& options, Printer& printer) : m_options(options), m_printer(printer) {}

    void sale(const Sale& sale) override
    {
        if (!m_options.covers(sale))
            return;
        add(sale);
        if (m_options.json)
            m_printer.raw(saleJson(sale));
        else
            print(sale);
        if (m_options.follow)
            m_printer.flush();
    }

    void notice(const Notice& notice) override
    {
        if (!m_options.covers(notice.time))
            return;
        if (m_options.json) {
            printNoticeJson(notice, m_printer);
            return;
        }
        std::string text = "! ";
        appendStamp(text, notice.time);
        text += notice.folder.empty() ? ": " : " (" + notice.folder + "): ";
        m_printer.line("", text + notice.text, Tone::Bad, "  ");
    }

    void line(const Entry&, const Told&) override {}

    void finish() override
    {
        if (m_options.json) {
            JsonLine("total")
                .number("sales", m_sales)
                .number("unknown", m_unknown)
                .number("missingSales", m_short)
                .number("openSales", m_open)
                .number("paidIn", total(m_paidIn))
                .number("paidOut", total(m_paidOut))
                .number("missing", total(m_missing))
                .number("knownPaidIn", m_paidIn)
                .number("knownPaidOut", m_paidOut)
                .number("knownMissing", m_missing)
                .print(m_printer);
            return;
        }
        if (m_sales == 0) {
            m_printer.line("", "No sales.");
            return;
        }
        const auto word = [&](std::int64_t sum) { return amountOrUnknown(total(sum), m_decimals); };
        m_printer.line("",
                       fmt::format("{:8} {:10} {:>9} {:>9} {:>9} {:>9} {:>9}", "total", m_sales, "",
                                   word(m_paidIn), "", word(m_paidOut), word(m_missing)),
                       Tone::Strong);
        if (m_unknown + m_open > 0)
            m_printer.line(
                "",
                fmt::format("{} can't be told, {} not settled. The others: paid in {}, paid out {}, "
                            "missing {}.",
                            m_unknown, m_open, money(m_paidIn, m_decimals), money(m_paidOut, m_decimals),
                            money(m_missing, m_decimals)),
                Tone::Bad);
        if (m_short > 0)
            m_printer.line("", fmt::format("{} with money missing.", m_short), Tone::Bad);
    }

    int exitStatus() const override { return m_short + m_unknown + m_open > 0 ? 1 : 0; }

private:
    std::optional<std::int64_t> total(std::int64_t sum) const
    {
        return m_unknown + m_open > 0 ? std::nullopt : std::optional(sum);
    }

    void add(const Sale& sale)
    {
        ++m_sales;
        m_decimals = sale.decimals;
        if (!sale.isKnown()) {
            ++m_unknown;
            return;
        }
        if (!sale.missing()) {
            ++m_open;
            return;
        }
        m_short += *sale.missing() != 0;
        m_paidIn += sale.paidIn;
        m_paidOut += sale.paidOut;
        m_missing += *sale.missing();
    }

    void print(const Sale& sale)
    {
        const Day day = dayOfTime(sale.start);
        if (day != m_day || sale.folder != m_folder) {
            std::string heading;
            appendDay(heading, day);
            heading += fmt::format(" {}{}{}", weekdayName(weekdayOf(day)), sale.folder.empty() ? "" : ", ",
                                   sale.folder);
            m_printer.line("", heading, Tone::Strong);
            const bool narrow = m_printer.width() != 0 && m_printer.width() < WIDE;
            m_printer.line("",
                           fmt::format("{:8} {:10} {:>9} {:>9} {:>9} {:>9} {:>9} {:>5}{}", "time", "receipt",
                                       "due", "paid in", "owed", "paid out", "missing", "secs",
                                       narrow ? "" : " result"),
                           Tone::Dim);
            m_day = day;
            m_folder = sale.folder;
        }
        std::string clock;
        appendClock(clock, sale.start);
        const int decimals = sale.decimals;
        std::string receipt;
        appendPrintable(receipt, sale.receipt.empty() ? "-" : sale.receipt);
        std::string result;
        appendPrintable(result, sale.result());
        const std::string front =
            fmt::format("{:8} {:10} {:>9} {:>9} {:>9} {:>9} {:>9} {:>5}", clock.substr(0, 8), receipt,
                        sale.hasDue || !sale.isKnown() ? amountOrUnknown(sale.due(), decimals) : "-",
                        sale.isKnown() ? money(sale.paidIn, decimals) : "unknown",
                        sale.isKnown() ? money(sale.owed(), decimals) : "unknown",
                        sale.isKnown() ? money(sale.paidOut, decimals) : "unknown",
                        amountOrUnknown(sale.missing(), decimals), fmt::format("{:.1f}", seconds(sale)));
        const Tone tone = sale.needsALook() ? Tone::Bad : Tone::Plain;
        const std::string below(20, ' ');
        // In a narrow terminal the words have a line of their own.
        if (m_printer.width() != 0 && m_printer.width() < WIDE) {
            m_printer.line("", front, tone);
            if (result != "ok")
                m_printer.line(std::string(9, ' '), result, tone);
            return;
        }
        m_printer.line(front + " ", result, tone, std::string(20, ' '));
    }

    static double seconds(const Sale& sale) { return static_cast<double>(sale.end - sale.start) / 1000.0; }

    const Options& m_options;
    Printer& m_printer;
    Day m_day = -1;
    std::string m_folder;
    int m_decimals = 2;
    std::int64_t m_sales = 0;
    std::int64_t m_unknown = 0;
    std::int64_t m_open = 0;
    std::int64_t m_short = 0;
    std::int64_t m_paidIn = 0;
    std::int64_t m_paidOut = 0;
    std::int64_t m_missing = 0;
};

} // namespace

std::unique_ptr<View> makeSalesView(const Options& options, Printer& printer)
{
    return std::make_unique<SalesView>(options, printer);
}

std::string saleInWords(const Sale& sale)
{
    const auto words = [&](std::int64_t amount) { return money(amount, sale.decimals); };
    std::string text = "sale";
    if (!sale.receipt.empty()) {
        text += ' ';
        appendPrintable(text, sale.receipt);
    }
    text += ": ";
    if (sale.isKnown()) {
        if (sale.hasDue)
            text += "due " + words(sale.kept) + ", ";
        text += "paid in " + words(sale.paidIn) + ", owed " + words(sale.owed()) + ", came out " +
                words(sale.paidOut);
        if (sale.missing().value_or(0) != 0)
            text += ", MISSING " + words(*sale.missing());
        text += ", " + durationText(sale.end - sale.start) + ": ";
    }
    appendPrintable(text, sale.result());
    return text;
}

std::string saleJson(const Sale& sale)
{
    const bool known = sale.isKnown();
    const auto sum = [&](std::int64_t amount) { return known ? std::optional(amount) : std::nullopt; };
    JsonLine line("sale");
    return line.number("id", static_cast<std::int64_t>(sale.id))
        .text("folder", sale.folder)
        .time("start", sale.start)
        .time("end", sale.end)
        .text("receipt", sale.receipt)
        .text("kind", sale.kind)
        .number("due", sale.due())
        .number("paidIn", sum(sale.paidIn))
        .number("owed", sum(sale.owed()))
        .number("paidOut", sum(sale.paidOut))
        .number("missing", sale.missing())
        .flag("over", sale.isOver)
        .flag("refused", sale.wasRefused)
        .text("unknown", sale.unknown)
        .text("call", sale.call)
        .number("status", sale.status < 0 ? std::nullopt : std::optional<std::int64_t>(sale.status))
        .text("message", sale.message)
        .text("deviceError", sale.deviceError)
        .text("result", sale.result())
        .number("milliseconds", sale.end - sale.start)
        .finished();
}

void printNoticeJson(const Notice& notice, Printer& printer)
{
    JsonLine("notice")
        .time("time", notice.time)
        .text("folder", notice.folder)
        .text("text", notice.text)
        .print(printer);
}

} // namespace tllog
