// Each error with what was before and after it, and what it means.
#include "tools/statuses.h"
#include "tools/views.h"
#include "tools/words.h"

#include <deque>

namespace tllog {

namespace {

constexpr std::size_t LINES_BEFORE = 8;
constexpr std::size_t LINES_AFTER = 4;

class ErrorsView : public View {
public:
    ErrorsView(const Options& options, Printer& printer) : m_options(options), m_printer(printer) {}

    void sale(const Sale& sale) override
    {
        if (!sale.needsALook() || !m_options.covers(sale))
            return;
        if (m_options.json)
            m_printer.raw(saleJson(sale));
        else if (m_lastSale == sale.id)
            m_printer.line("             `-- ", saleInWords(sale), Tone::Bad, "                 ");
    }

    void notice(const Notice& notice) override
    {
        if (m_options.json && m_options.covers(notice.time))
            printNoticeJson(notice, m_printer);
    }

    void line(const Entry& entry, const Told& told) override
    {
        if (told.again || entry.torn)
            return;
        const bool isError = entry.mark == Mark::Error && m_options.covers(entry.time);
        if (!isError && isDetail(entry, told))
            return;
        if (m_options.json) {
            if (isError)
                printJson(entry, told);
            return;
        }
        Row row{entry.time, actorOf(entry), {}, toneOf(entry), told.sale};
        describe(row.text, entry, told);
        if (!isError) {
            if (m_after > 0) {
                --m_after;
                print(row);
                return;
            }
            m_before.push_back(std::move(row));
            if (m_before.size() > LINES_BEFORE)
                m_before.pop_front();
            return;
        }
        ++m_errors;
        if (m_after == 0 && m_printed > 0)
            m_printer.line("", "--", Tone::Dim);
        for (const Row& each : m_before)
            print(each);
        m_before.clear();
        print(row);
        explain(entry);
        m_lastSale = told.sale;
        m_after = LINES_AFTER;
    }

    void finish() override
    {
        if (!m_options.json)
            m_printer.line("", m_errors == 0 ? "No errors." : "Error lines: " + std::to_string(m_errors));
    }

private:
    struct Row {
        Time time;
        const char* actor;
        std::string text;
        Tone tone;
        std::uint64_t sale;
    };

    void print(const Row& row)
    {
        ++m_printed;
        std::string front;
        const Day day = dayOfTime(row.time);
        if (day != m_day) {
            appendDay(front, day);
            m_printer.line("", front + " " + weekdayName(weekdayOf(day)), Tone::Strong);
            front.clear();
            m_day = day;
        }
        appendClock(front, row.time);
        front += row.sale != 0 ? " | " : "   ";
        front += row.actor;
        front.append(8 - std::string_view(row.actor).size(), ' ');
        m_printer.line(front, row.text, row.tone,
                       row.sale != 0 ? "             |           " : "                         ");
    }

    void explain(const Entry& entry)
    {
        const CallEnd end = parseCallEnd(entry.text);
        const StatusMeaning* const meaning = end.name.empty() ? nullptr : findMeaning(end.name, end.status);
        if (meaning == nullptr)
            return;
        const auto say = [&](const char* head, std::string_view text) {
            if (!text.empty() && text != "-")
                m_printer.line(std::string("                 ") + head, text, Tone::Plain,
                               "                          ");
        };
        say("means:   ", meaning->meaning);
        say("money:   ", meaning->money == "no"    ? "none has moved"
                         : meaning->money == "yes" ? "it has moved"
                                                   : "it may have moved");
        say("retry:   ", meaning->retry);
        say("ask:     ", meaning->ask);
        say("cashier: ", meaning->cashier);
    }

    void printJson(const Entry& entry, const Told& told)
    {
        JsonLine line("error");
        line.time("time", entry.time)
            .text("folder", entry.file->folder)
            .text("file", entry.file->name)
            .number("number", static_cast<std::int64_t>(entry.number))
            .text("text", entry.text);
        if (told.sale != 0)
            line.number("sale", static_cast<std::int64_t>(told.sale));
        if (const CallEnd end = parseCallEnd(entry.text); !end.name.empty()) {
            line.text("call", end.name).number("status", std::int64_t{end.status});
            if (const StatusMeaning* const meaning = findMeaning(end.name, end.status))
                line.text("meaning", meaning->meaning)
                    .text("money", meaning->money)
                    .text("retry", meaning->retry)
                    .text("ask", meaning->ask)
                    .text("cashier", meaning->cashier);
        }
        line.print(m_printer);
        if (m_options.follow)
            m_printer.flush();
    }

    const Options& m_options;
    Printer& m_printer;
    std::deque<Row> m_before;
    std::size_t m_after = 0;
    std::uint64_t m_errors = 0;
    std::uint64_t m_printed = 0;
    std::uint64_t m_lastSale = 0;
    Day m_day = -1;
};

} // namespace

std::unique_ptr<View> makeErrorsView(const Options& options, Printer& printer)
{
    return std::make_unique<ErrorsView>(options, printer);
}

} // namespace tllog
