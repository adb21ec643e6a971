#include "tools/log_reader.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <utility>

namespace tllog {

namespace {

constexpr std::size_t BLOCK = 256 * 1024;
constexpr std::size_t LONGEST_LINE = 64 * 1024;

// Two threads write: a line may be this much older than the one before it and no clock was set.
constexpr Time JITTER = 1000;

// Where two files tell of a clock that was set back, the lines ahead that are looked at for it.
constexpr int LINES_AHEAD = 64;

std::optional<LogFile> describe(const std::filesystem::path& path)
{
    LogFile file;
    file.path = path;
    file.name = path.filename().string();
    const auto starts = [&](const char* stem) { return file.name.find(stem) != std::string::npos; };
    if (starts("tlapi"))
        file.family = Family::Api;
    else if (starts("tllogic"))
        file.family = Family::Logic;
    else if (starts("tlerror"))
        file.family = Family::Error;
    else
        return std::nullopt;
    const std::size_t underscore = file.name.find('_');
    if (underscore != std::string::npos)
        file.weekday = weekdayNumber(std::string_view(file.name).substr(underscore + 1, 3));
    return file;
}

/// By its first lines, for a file whose name doesn't tell.
LogFile describeByContent(const std::filesystem::path& path)
{
    LogFile file;
    file.path = path;
    file.name = path.filename().string();
    std::ifstream stream(path, std::ios::binary);
    std::string line;
    for (int i = 0; i < 50 && std::getline(stream, line); ++i) {
        const LogLine parsed = parseLogLine(line);
        if (parsed.day >= 0) {
            file.family = Family::Error;
            break;
        }
        const bool logic = parsed.mark == Mark::Command || parsed.mark == Mark::Message ||
                           parsed.text.find("CTLLogics") != std::string_view::npos ||
                           parsed.text.starts_with("Session Starting");
        if (logic) {
            file.family = Family::Logic;
            break;
        }
    }
    return file;
}

void findIn(const std::filesystem::path& directory, const std::string& folder, std::vector<LogFile>& found)
{
    std::error_code error;
    std::filesystem::directory_iterator end;
    std::vector<LogFile> here;
    for (std::filesystem::directory_iterator each(directory, error); !error && each != end;
         each.increment(error)) {
        std::error_code ignored;
        if (each->path().extension() != ".log" || !each->is_regular_file(ignored))
            continue;
        if (auto file = describe(each->path())) {
            file->folder = folder;
            here.push_back(std::move(*file));
        }
    }
    std::sort(here.begin(), here.end(),
              [](const LogFile& left, const LogFile& right) { return left.name < right.name; });
    found.insert(found.end(), here.begin(), here.end());
}

Day dayOfFile(const std::filesystem::path& path)
{
    std::error_code error;
    const auto written = std::filesystem::last_write_time(path, error);
    if (error)
        return static_cast<Day>(
            std::chrono::duration_cast<std::chrono::days>(std::chrono::system_clock::now().time_since_epoch())
                .count());
    const auto system = std::chrono::file_clock::to_sys(written);
    return static_cast<Day>(std::chrono::floor<std::chrono::days>(system.time_since_epoch()).count());
}

/// The date that a line of the log tells beside its stamp.
std::optional<Day> evidenceOf(Mark mark, std::string_view text)
{
    if (mark == Mark::Progress) {
        const std::size_t at = text.find(", date: ");
        if (at == std::string_view::npos || at > 24 || text.find("ogin") == std::string_view::npos)
            return std::nullopt;
        return readDay(text.substr(at + 8, 10));
    }
    if (mark == Mark::Command && text.size() >= 19 && text[0] == 'X' && text[1] == FIELD_SEPARATOR)
        return readDay(text.substr(2, 8));
    return std::nullopt;
}

/// The first day that one of the lines tells.
std::optional<Day> dayToldIn(std::string_view lines)
{
    for (std::size_t at = 0; at < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', at), lines.size());
        const LogLine line = parseLogLine(lines.substr(at, end - at));
        at = end + 1;
        if (line.day >= 0)
            return line.day;
        if (const auto day = evidenceOf(line.mark, line.text); day && weekOf(*day) == line.week)
            return day;
    }
    return std::nullopt;
}

std::optional<Day> dayToldIn(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::string head(BLOCK, '\0');
    stream.read(head.data(), BLOCK);
    head.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, stream.gcount())));
    return dayToldIn(std::string_view(head));
}

} // namespace

std::vector<LogFile> findLogFiles(const std::vector<std::filesystem::path>& places)
{
    std::vector<LogFile> found;
    for (const std::filesystem::path& place : places) {
        std::error_code error;
        if (!std::filesystem::is_directory(place, error)) {
            LogFile file = describe(place).value_or(describeByContent(place));
            // A file of an address folder that lies in its folder still.
            const std::string parent = std::filesystem::absolute(place).parent_path().filename().string();
            if (parent.find('.') != std::string::npos)
                file.folder = parent;
            found.push_back(std::move(file));
            continue;
        }
        findIn(place, "", found);
        std::vector<std::filesystem::path> folders;
        std::filesystem::directory_iterator end;
        for (std::filesystem::directory_iterator each(place, error); !error && each != end;
             each.increment(error)) {
            std::error_code ignored;
            if (each->is_directory(ignored) &&
                each->path().filename().string().find('.') != std::string::npos)
                folders.push_back(each->path());
        }
        std::sort(folders.begin(), folders.end());
        for (const auto& folder : folders)
            findIn(folder, folder.filename().string(), found);
    }
    std::set<std::filesystem::path> seen;
    std::erase_if(found, [&](const LogFile& file) {
        std::error_code error;
        const auto real = std::filesystem::weakly_canonical(file.path, error);
        return !seen.insert(error ? file.path : real).second;
    });
    return found;
}

/// Clocks that were set back, by folder and day. The files of one process tell of the same change, each from
/// the last line before it to the first one after; all its files go on with the same shift then, so that
/// their lines still meet.
class LogReader::ClockChanges {
public:
    struct Change {
        Time last;  // before it
        Time shift; // what is added to all times after it
    };
    using Changes = std::vector<Change>;

    Changes& of(const std::string& folder, Day day) { return m_changes[{folder, day}]; }

    /// Null if no clock was ever set back then.
    const Changes* find(const std::string& folder, Day day) const
    {
        if (m_changes.empty())
            return nullptr;
        const auto found = m_changes.find({folder, day});
        return found == m_changes.end() ? nullptr : &found->second;
    }

private:
    std::map<std::pair<std::string, Day>, Changes> m_changes;
};

/// One file: its lines, dated, in its own order.
class LogReader::Stream {
public:
    Stream(LogFile file, ClockChanges& changes, bool follow, const std::optional<Day>& dayOfOthers)
        : m_file(std::move(file)), m_changes(changes), m_follow(follow), m_dayOfOthers(dayOfOthers)
    {
        open();
    }

    bool isOpen() const { return m_stream.is_open(); }
    const LogFile& file() const { return m_file; }
    bool hasLine() const { return m_has; }

    /// What orders it among all: its time, but never back.
    Time order() const { return m_order; }

    Mark mark() const { return m_line.mark; }
    std::string_view text() const { return m_line.text; }

    void fill(Entry& entry) const
    {
        entry.file = &m_file;
        entry.number = m_number;
        entry.time = m_time;
        entry.mark = m_line.mark;
        entry.text = m_line.text;
        entry.torn = m_torn;
        entry.offset = m_offset;
    }

    /// Goes to the next line.
    void advance()
    {
        m_has = false;
        if (!isOpen())
            return;
        std::string_view raw;
        while (!m_has && takeLine(raw)) {
            m_number += !std::exchange(m_behindSplit, std::exchange(m_split, false));
            if (raw.empty() && !m_torn)
                continue;
            m_line = parseLogLine(raw);
            date();
            m_has = true;
        }
    }

    /// The file may have grown, or been emptied for its new week.
    void lookAgain()
    {
        std::error_code error;
        const std::uint64_t size = std::filesystem::file_size(m_file.path, error);
        if (error)
            return;
        if (!isOpen() || size < m_read || beginsAnew()) {
            open();
            m_visible = 0;
        } else {
            m_visible = std::max(m_visible, m_seen);
        }
        m_seen = size;
        m_size = size;
        m_atEnd = false;
        if (!m_has)
            advance();
    }

    void showAll() { m_seen = std::numeric_limits<std::uint64_t>::max(); }

    void skipToEnd(std::uint64_t bytes)
    {
        std::error_code error;
        const std::uint64_t size = std::filesystem::file_size(m_file.path, error);
        if (error || size <= bytes)
            return;
        m_stream.clear();
        m_stream.seekg(static_cast<std::streamoff>(size - bytes));
        m_read = size - bytes;
        m_buffer.clear();
        m_at = 0;
        m_atEnd = false;
        std::string_view rest;
        takeLine(rest); // the end of a line whose start is left out
        m_number = 0;
        advance();
    }

    std::uint64_t bytesRead() const { return m_read; }
    std::uint64_t size() const { return m_size; }

    /// True if the clock is set back within the next lines; where it was before and after.
    bool isSetBackSoon(Time& before, Time& after)
    {
        std::size_t at = m_at;
        Time previous = m_time;
        for (int i = 0; i < LINES_AHEAD; ++i) {
            const std::size_t end = m_buffer.find('\n', at);
            if (end == std::string::npos)
                return false;
            const LogLine line = parseLogLine(std::string_view(m_buffer).substr(at, end - at));
            at = end + 1;
            if (line.mark == Mark::Foreign)
                continue;
            const Day day = line.day >= 0 ? line.day : dayOfTime(m_time);
            const Time time = day * MILLISECONDS_A_DAY + line.clock;
            if (time + JITTER < previous) {
                before = previous;
                after = time;
                return true;
            }
            previous = time;
        }
        return false;
    }

    std::function<std::vector<Stream*>(const Stream&)> siblings;

private:
    void open()
    {
        m_stream.close();
        m_stream.clear();
        m_stream.open(m_file.path, std::ios::binary);
        std::error_code error;
        m_size = std::filesystem::file_size(m_file.path, error);
        if (error)
            m_size = 0;
        m_visible = m_seen = m_size;
        m_buffer.clear();
        m_at = 0;
        m_read = 0;
        m_number = 0;
        m_atEnd = false;
        m_skipping = false;
        m_begin.clear();
        m_time = 0;
        m_dated = false;
        m_applied = 0;
        refill();
        m_begin = m_buffer.substr(0, 24);
        if (m_buffer.starts_with("\xEF\xBB\xBF"))
            m_at = 3;
        findAnchor();
        advance();
    }

    bool beginsAnew()
    {
        if (m_begin.size() < 24)
            return false;
        std::ifstream stream(m_file.path, std::ios::binary);
        std::string begin(24, '\0');
        stream.read(begin.data(), 24);
        return stream.gcount() == 24 && begin != m_begin;
    }

    bool refill()
    {
        if (m_atEnd)
            return false;
        m_buffer.erase(0, m_at);
        m_at = 0;
        const std::size_t had = m_buffer.size();
        m_buffer.resize(had + BLOCK);
        m_stream.clear();
        m_stream.read(m_buffer.data() + had, BLOCK);
        const auto got = static_cast<std::size_t>(std::max<std::streamsize>(0, m_stream.gcount()));
        m_buffer.resize(had + got);
        m_read += got;
        m_size = std::max(m_size, m_read);
        m_atEnd = got == 0;
        return got > 0;
    }

    /// The next line without its end. A file that ends in the middle of one has it as a torn line; in one
    /// that grows still it waits.
    bool takeLine(std::string_view& line)
    {
        m_torn = false;
        std::size_t searched = m_at;
        for (;;) {
            const std::size_t end = m_buffer.find('\n', searched);
            m_offset = m_read - (m_buffer.size() - m_at);
            if (end != std::string::npos) {
                if (m_follow && m_read - (m_buffer.size() - end - 1) > m_visible)
                    return false;
                line = std::string_view(m_buffer).substr(m_at, end - m_at);
                m_at = end + 1;
                if (!line.empty() && line.back() == '\r')
                    line.remove_suffix(1);
                if (!m_skipping) {
                    splitTorn(line);
                    return true;
                }
                m_skipping = false; // the end of a line that was too long
                searched = m_at;
                continue;
            }
            if (m_buffer.size() - m_at > LONGEST_LINE) {
                line = std::string_view(m_buffer).substr(m_at, LONGEST_LINE);
                const bool first = !m_skipping;
                m_skipping = true;
                m_at = m_buffer.size();
                if (first) {
                    m_torn = true;
                    return true;
                }
            }
            const std::size_t behind = m_buffer.size() - m_at;
            if (!refill())
                break;
            searched = m_at + behind;
        }
        if (m_follow || m_skipping || m_at >= m_buffer.size())
            return false;
        line = std::string_view(m_buffer).substr(m_at);
        m_at = m_buffer.size();
        m_torn = true;
        return true;
    }

    /// A line that a dying process left without its end has the next process's first line behind it.
    void splitTorn(std::string_view& line)
    {
        if (!line.ends_with("====") || line.size() < 100)
            return;
        const std::size_t start = line.find(" ## ====", 24);
        if (start == std::string_view::npos || start < 16)
            return;
        std::size_t stamp = start - 16;
        if (parseLogLine(line.substr(stamp)).mark != Mark::Note)
            return;
        m_at = static_cast<std::size_t>(line.data() - m_buffer.data()) + stamp;
        m_split = true;
        line = line.substr(0, stamp);
        m_torn = true;
    }

    /// The day from which the others follow: what the file's first part tells, or another file of the same
    /// logs, or at last its age.
    void findAnchor()
    {
        m_anchor = -1;
        if (const auto day = dayToldIn(std::string_view(m_buffer).substr(m_at))) {
            m_anchor = *day;
            m_dated = true;
            if (m_file.family != Family::Error)
                m_file.weekday = weekdayOf(*day);
            return;
        }
        m_dated = m_dayOfOthers.has_value();
        m_anchor = m_dated ? *m_dayOfOthers : dayOfFile(m_file.path);
        if (m_file.weekday < 0)
            m_file.weekday = weekdayOf(m_anchor);
    }

    /// A line in the file of a weekday is of that weekday, in the week that it tells; only the year is open.
    void date()
    {
        const Time previous = m_time;
        if (m_line.mark == Mark::Foreign) {
            if (m_time == 0)
                m_time = m_order = std::max<Day>(m_anchor, 0) * MILLISECONDS_A_DAY;
            return;
        }
        if (m_line.day >= 0) {
            m_time = m_line.day * MILLISECONDS_A_DAY + m_line.clock;
        } else {
            if (m_line.week != m_week || m_day < 0) {
                m_week = m_line.week;
                m_day = dayOfWeekNear(m_anchor, m_week, m_file.weekday).value_or(m_anchor);
                // Without a better witness a log is no younger than its file.
                if (!m_dated && m_day > m_anchor + 1)
                    if (const auto earlier = dayOfWeek(dateOf(m_anchor).year - 1, m_week, m_file.weekday))
                        m_day = *earlier;
            }
            if (const auto day = evidenceOf(m_line.mark, m_line.text);
                day && *day != m_day && weekOf(*day) == m_week && weekdayOf(*day) == m_file.weekday) {
                m_anchor = m_day = *day;
                m_dated = true;
            }
            m_time = m_day * MILLISECONDS_A_DAY + m_line.clock;
        }
        orderAfter(previous);
    }

    void orderAfter(Time previous)
    {
        if (previous == 0) {
            m_order = m_time;
            return;
        }
        const Day day = dayOfTime(m_time);
        if (dayOfTime(previous) != day)
            m_applied = 0;
        const bool setBack = m_time + JITTER < previous && dayOfTime(previous) == day;
        if (setBack) {
            auto& changes = m_changes.of(m_file.folder, day);
            if (m_applied == changes.size())
                changes.push_back(changeAt(previous));
            ++m_applied;
        } else if (const auto* changes = m_changes.find(m_file.folder, day)) {
            Time before = 0;
            Time after = 0;
            while (m_applied < changes->size() && m_time > (*changes)[m_applied].last &&
                   !isSetBackSoon(before, after))
                ++m_applied;
        }
        Time shift = 0;
        if (m_applied > 0)
            shift = m_changes.of(m_file.folder, day)[m_applied - 1].shift;
        m_order = std::max(m_order, m_time + shift);
        // Only within its day: the next one's files must not wait behind it.
    }

    ClockChanges::Change changeAt(Time previous)
    {
        Time last = previous;
        Time first = m_time;
        if (siblings)
            for (Stream* const other : siblings(*this)) {
                Time before = 0;
                Time after = 0;
                if (other->isSetBackSoon(before, after) && before >= m_time && after <= previous) {
                    last = std::max(last, before);
                    first = std::min(first, after);
                }
            }
        const auto& changes = m_changes.of(m_file.folder, dayOfTime(m_time));
        const Time shiftSoFar = changes.empty() ? 0 : changes.back().shift;
        return {last, shiftSoFar + last - first + 1}; // what comes after has a later place
    }

    LogFile m_file;
    ClockChanges& m_changes;
    bool m_follow;
    const std::optional<Day>& m_dayOfOthers;
    std::ifstream m_stream;
    std::string m_buffer;
    std::string m_begin;
    std::size_t m_at = 0;
    bool m_atEnd = false;
    bool m_skipping = false;
    bool m_split = false;       // the line just taken has another one behind it
    bool m_behindSplit = false; // the next one is that
    std::uint64_t m_read = 0;
    std::uint64_t m_size = 0;
    std::uint64_t m_seen = 0;    // its size at the last look
    std::uint64_t m_visible = 0; // what may be read of it by who follows it

    bool m_has = false;
    LogLine m_line;
    std::uint64_t m_number = 0;
    std::uint64_t m_offset = 0;
    bool m_torn = false;
    Time m_time = 0;
    Time m_order = 0;

    Day m_anchor = -1;
    bool m_dated = false; // the anchor is what the log itself tells
    int m_week = -1;
    Day m_day = -1;
    std::size_t m_applied = 0; // changes of the clock that lie behind
};

LogReader::LogReader(const std::vector<LogFile>& files, Follow follow)
    : m_follow(follow), m_changes(std::make_unique<ClockChanges>())
{
    // An error file goes back for months: the others know better.
    for (const bool errorFiles : {false, true})
        for (const LogFile& file : files)
            if (!m_dayTold && (file.family == Family::Error) == errorFiles)
                m_dayTold = dayToldIn(file.path);
    for (const LogFile& file : files)
        add(file);
}

LogReader::~LogReader() = default;

void LogReader::add(const LogFile& file)
{
    auto stream = std::make_unique<Stream>(file, *m_changes, m_follow == Follow::Yes, m_dayTold);
    if (!stream->isOpen()) {
        m_unreadable.push_back(file.path.string());
        return;
    }
    stream->siblings = [this](const Stream& asking) {
        std::vector<Stream*> others;
        for (const auto& other : m_streams)
            if (other.get() != &asking && other->hasLine() && other->file().folder == asking.file().folder &&
                other->file().weekday == asking.file().weekday)
                others.push_back(other.get());
        return others;
    };
    m_streams.push_back(std::move(stream));
    m_current = nullptr;
}

bool LogReader::has(const std::filesystem::path& path) const
{
    return std::any_of(m_streams.begin(), m_streams.end(),
                       [&](const auto& stream) { return stream->file().path == path; });
}

namespace {

constexpr std::string_view ENTRY = "CTLLogics::";

/// "dispense" of the entry line "CTLLogics::dispense(1200, ...)".
std::string_view operationOf(std::string_view entry)
{
    entry.remove_prefix(ENTRY.size());
    return entry.substr(0, entry.find_first_of("( "));
}

bool isOperationOf(std::string_view operation, std::string_view call)
{
    if (operation == "payout" && call == "payout2TL")
        return true;
    if (operation == "askPayout" && call == "askPayout2TL")
        return true;
    if (operation == "login" && call == "loginStrTL")
        return true;
    return call.size() == operation.size() + 2 && call.starts_with(operation);
}

/// True for what one call does by calling another operation.
bool isStepOf(std::string_view operation, std::string_view call)
{
    if (operation == "askPayout" || operation == "payout")
        return call == "payoutTL" || call == "payout2TL" || call == "dispenseTL" || call == "amountDueTL";
    if (operation == "disablePayin" || operation == "versionTL")
        return call.starts_with("login");
    return operation == "changeSettings" && call == "initTL";
}

/// How many entry lines of its own operation a call writes.
int entriesOf(std::string_view call)
{
    return call == "payoutTL" || call == "askPayoutTL" || call == "loginStrTL" ? 2 : 1;
}

} // namespace

/// What of several lines of the same millisecond was written first. The library writes a call to the API
/// file and then what it does to the logic file; with events and ends of calls it is the other way round.
int LogReader::rankOf(const Stream& stream, const OpenCall* openCall)
{
    const Family family = stream.file().family;
    if (family == Family::Error)
        return 4; // after the line that it repeats
    if (family == Family::Api)
        return (stream.mark() == Mark::Call && openCall == nullptr) || stream.mark() == Mark::Note ? 1 : 2;
    if (stream.mark() != Mark::Call || !stream.text().starts_with(ENTRY))
        return 0;
    if (openCall == nullptr)
        return 3;
    const std::string_view operation = operationOf(stream.text());
    const bool own =
        isOperationOf(operation, openCall->name) && openCall->entries < entriesOf(openCall->name);
    return own || isStepOf(operation, openCall->name) ? 0 : 3;
}

LogReader::Stream* LogReader::choose()
{
    Stream* best = nullptr;
    int bestRank = 0;
    Time second = std::numeric_limits<Time>::max();
    const auto rank = [&](const Stream& stream) {
        const auto open = m_openCalls.find(stream.file().folder);
        return rankOf(stream, open == m_openCalls.end() ? nullptr : &open->second);
    };
    for (const auto& stream : m_streams) {
        if (!stream->hasLine())
            continue;
        if (best == nullptr || stream->order() < best->order()) {
            if (best != nullptr)
                second = std::min(second, best->order());
            best = stream.get();
            bestRank = -1;
            continue;
        }
        second = std::min(second, stream->order());
        if (stream->order() == best->order()) {
            bestRank = bestRank < 0 ? rank(*best) : bestRank;
            if (const int other = rank(*stream); other < bestRank) {
                best = stream.get();
                bestRank = other;
            }
        }
    }
    m_limit = second;
    return best;
}

bool LogReader::next(Entry& entry)
{
    if (m_current != nullptr)
        m_current->advance();
    if (m_current == nullptr || !m_current->hasLine() || m_current->order() >= m_limit)
        m_current = choose();
    if (m_current == nullptr)
        return false;
    m_current->fill(entry);
    if (entry.file->family == Family::Api) {
        // For the order of lines of one millisecond.
        if (entry.mark == Mark::Call)
            m_openCalls[entry.file->folder] = {std::string(parseCall(entry.text).name), 0};
        else if ((entry.mark == Mark::Error || entry.mark == Mark::Progress) && !m_openCalls.empty() &&
                 !parseCallEnd(entry.text).name.empty())
            m_openCalls.erase(entry.file->folder);
    } else if (entry.mark == Mark::Call && !m_openCalls.empty() && entry.text.starts_with(ENTRY)) {
        const auto open = m_openCalls.find(entry.file->folder);
        if (open != m_openCalls.end() && isOperationOf(operationOf(entry.text), open->second.name))
            ++open->second.entries;
    }
    return true;
}

void LogReader::lookAgain()
{
    if (m_current != nullptr)
        m_current->advance();
    m_current = nullptr;
    for (const auto& stream : m_streams)
        stream->lookAgain();
}

void LogReader::showAll()
{
    for (const auto& stream : m_streams)
        stream->showAll();
    lookAgain();
}

void LogReader::skipToEnds(std::uint64_t bytes)
{
    for (const auto& stream : m_streams)
        stream->skipToEnd(bytes);
    m_current = nullptr;
}

std::uint64_t LogReader::bytesRead() const
{
    std::uint64_t sum = 0;
    for (const auto& stream : m_streams)
        sum += stream->bytesRead();
    return sum;
}

std::uint64_t LogReader::bytesInAll() const
{
    std::uint64_t sum = 0;
    for (const auto& stream : m_streams)
        sum += stream->size();
    return sum;
}

} // namespace tllog
