// All that happened, in its order and in words.
#include "tools/views.h"
#include "tools/words.h"

#include <algorithm>
#include <deque>
#include <map>

namespace tllog {

namespace {

// A silence worth a word.
constexpr Time LONG_SILENCE = 60'000;

// Most lines that wait for another folder's sale to end, and of a sale whose receipt isn't known yet.
constexpr std::size_t MOST_WAITING = 5000;

class Timeline : public View {
public:
    Timeline(const Options& options, Printer& printer) : m_options(options), m_printer(printer) {}

    void sale(const Sale& sale) override { m_ended.push_back(sale); }

    void notice(const Notice& notice) override
    {
        if (!m_options.covers(notice.time) || m_options.choosesSales())
            return;
        if (m_options.json) {
            printNoticeJson(notice, m_printer);
            return;
        }
        Row row;
        row.time = notice.time;
        row.folder = notice.folder;
        row.actor = "NOTICE";
        row.text = notice.text;
        row.tone = Tone::Bad;
        show(std::move(row));
    }

    void line(const Entry& entry, const Told& told) override
    {
        const bool endsHere = !m_ended.empty() && m_ended.back().id == told.sale;
        if (!endsHere)
            endSales();
        if (told.sale == 0 && m_options.choosesSales())
            return;
        if (isWanted(entry, told))
            take(entry, told);
        endSales();
    }

    void finish() override
    {
        endSales();
        while (m_holder != 0 || !m_held.empty()) {
            m_holder = 0;
            release();
        }
        if (!m_options.json && !m_any)
            m_printer.line("", m_options.choosesSales() ? "No such sale." : "No lines.");
    }

private:
    struct Row {
        Time time = 0;
        std::string folder;
        const char* actor = "";
        std::string text;
        Tone tone = Tone::Plain;
        std::uint64_t sale = 0;
        bool endsSale = false;
    };

    bool isWanted(const Entry& entry, const Told& told) const
    {
        if (!m_options.covers(entry.time) || !m_options.wants(entry.mark))
            return false;
        return !told.again && (m_options.json || m_options.all || !isDetail(entry, told));
    }

    void take(const Entry& entry, const Told& told)
    {
        Row row;
        row.sale = told.sale;
        if (m_options.json) {
            row.text = jsonOf(entry, told);
        } else {
            row.time = entry.time;
            row.folder = entry.file->folder;
            row.actor = actorOf(entry);
            describe(row.text, entry, told);
            row.tone = toneOf(entry);
        }
        if (!m_options.choosesSales()) {
            show(std::move(row));
            return;
        }
        // Which sale it is shows later.
        auto& rows = m_waiting[told.sale];
        if (rows.size() < MOST_WAITING)
            rows.push_back(std::move(row));
    }

    std::string jsonOf(const Entry& entry, const Told& told)
    {
        std::string words;
        describe(words, entry, told);
        JsonLine line("line");
        line.time("time", entry.time)
            .text("folder", entry.file->folder)
            .text("file", entry.file->name)
            .number("number", static_cast<std::int64_t>(entry.number))
            .text("kind", kindName(entry.mark))
            .text("text", entry.text)
            .text("words", words);
        if (told.sale != 0)
            line.number("sale", static_cast<std::int64_t>(told.sale));
        if (told.duration)
            line.number("milliseconds", *told.duration);
        if (entry.torn)
            line.flag("torn", true);
        return line.finished();
    }

    void endSales()
    {
        for (const Sale& sale : m_ended) {
            Row row;
            row.sale = sale.id;
            row.endsSale = true;
            if (m_options.json) {
                row.text = saleJson(sale);
            } else {
                row.time = sale.end;
                row.folder = sale.folder;
                row.text = saleInWords(sale);
                row.tone = sale.needsALook() ? Tone::Bad : Tone::Good;
            }
            const auto waiting = m_waiting.find(sale.id);
            if (m_options.covers(sale)) {
                if (waiting != m_waiting.end())
                    for (Row& each : waiting->second)
                        show(std::move(each));
                show(std::move(row));
            } else if (!m_options.choosesSales() && m_options.covers(sale.end)) {
                show(std::move(row));
            }
            if (waiting != m_waiting.end())
                m_waiting.erase(waiting);
        }
        m_ended.clear();
    }

    /// Keeps the lines of a sale together: those of other folders wait.
    void show(Row row)
    {
        if (m_options.json || m_options.follow) {
            print(row);
            return;
        }
        if (m_holder != 0 && row.sale != m_holder && row.folder != m_holderFolder &&
            m_held.size() < MOST_WAITING) {
            m_held.push_back(std::move(row));
            return;
        }
        if (row.sale != 0 && m_holder == 0) {
            m_holder = row.sale;
            m_holderFolder = row.folder;
        }
        const bool over = row.endsSale && row.sale == m_holder;
        print(row);
        if (over || m_held.size() >= MOST_WAITING) {
            m_holder = 0;
            release();
        }
    }

    void release()
    {
        std::deque<Row> held;
        held.swap(m_held);
        for (Row& row : held)
            show(std::move(row));
    }

    void print(const Row& row)
    {
        m_any = true;
        if (m_options.json) {
            m_printer.raw(row.text);
            if (m_options.follow)
                m_printer.flush();
            return;
        }
        const Day day = dayOfTime(row.time);
        if (day != m_day) {
            m_front.clear();
            appendDay(m_front, day);
            m_front += ' ';
            m_front += weekdayName(weekdayOf(day));
            m_printer.line("", m_front, Tone::Strong);
            m_day = day;
        } else if (row.time > m_last + LONG_SILENCE) {
            m_printer.line("             ", "... " + durationText(row.time - m_last) + " later", Tone::Dim);
        } else if (row.time + 1000 < m_last && row.folder == m_folder) {
            m_printer.line("             ",
                           "... the clock was set back by " + durationText(m_last - row.time), Tone::Dim);
        }
        if (row.folder != m_folder) {
            m_printer.line("             ",
                           row.folder.empty() ? "... in the log directory" : "... in folder " + row.folder,
                           Tone::Dim);
            m_folder = row.folder;
        }
        m_last = row.time;

        m_front.clear();
        if (row.endsSale) {
            m_front += "             `-- ";
            m_printer.line(m_front, row.text, row.tone, "                 ");
        } else {
            appendClock(m_front, row.time);
            m_front += row.sale != 0 ? " | " : "   ";
            m_front += row.actor;
            m_front.append(8 - std::min<std::size_t>(8, std::string_view(row.actor).size()), ' ');
            m_printer.line(m_front, row.text, row.tone,
                           row.sale != 0 ? "             |           " : "                         ");
        }
        if (m_options.follow)
            m_printer.flush();
    }

    const Options& m_options;
    Printer& m_printer;
    std::vector<Sale> m_ended;
    std::map<std::uint64_t, std::vector<Row>> m_waiting; // by sale
    std::uint64_t m_holder = 0;                          // the sale whose lines are being shown
    std::string m_holderFolder;
    std::deque<Row> m_held;
    bool m_any = false;
    Day m_day = -1;
    Time m_last = 0;
    std::string m_folder;
    std::string m_front;
};

} // namespace

std::unique_ptr<View> makeTimeline(const Options& options, Printer& printer)
{
    return std::make_unique<Timeline>(options, printer);
}

Tone toneOf(const Entry& entry)
{
    switch (entry.mark) {
    case Mark::Call:
        return Tone::Strong;
    case Mark::Command:
        return Tone::Command;
    case Mark::Message:
        return Tone::Device;
    case Mark::Error:
        return Tone::Bad;
    case Mark::Note:
    case Mark::Foreign:
        return Tone::Dim;
    default:
        return Tone::Plain;
    }
}

} // namespace tllog
