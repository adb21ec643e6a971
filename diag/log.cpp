#include "diag/log.h"

#include "platform/files.h"
#include "text/compose.h"
#include "text/dates.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr std::array<const char*, 3> BASE_NAMES{"tlapi", "tllogic", "tlerror"};
constexpr std::array<const char*, 7> WEEKDAYS{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> MONTHS{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::size_t MAX_SUBFOLDER_LENGTH = 103;

std::string formatted(const platform::LocalTime& time, const char* format)
{
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), format, &time.calendar);
    return text.data();
}

bool isSameSecond(const std::tm& one, const std::tm& other)
{
    return one.tm_sec == other.tm_sec && one.tm_min == other.tm_min && one.tm_hour == other.tm_hour &&
           one.tm_yday == other.tm_yday && one.tm_year == other.tm_year;
}

// Names as the C locale writes them: the host program's locale must not reach the file names.
const char* weekdayOf(const platform::LocalTime& time)
{
    return WEEKDAYS[static_cast<std::size_t>(time.calendar.tm_wday) % WEEKDAYS.size()];
}

const char* monthOf(const platform::LocalTime& time)
{
    return MONTHS[static_cast<std::size_t>(time.calendar.tm_mon) % MONTHS.size()];
}

/// How a file of this index tells on its first line when it was begun: the week, or the year.
struct AgeMark {
    const char* scanFormat;
    int current;
};

AgeMark ageMark(LogFile file, const platform::LocalTime& now)
{
    if (file == LOG_FILE_ERROR)
        return {"%9d", std::atoi(formatted(now, "%Y").c_str())};
    return {"w%9d", std::atoi(formatted(now, "%W").c_str())};
}

/// Empties a file that was begun in another week or year.
void emptyIfOld(platform::AppendFile& file, const std::string& path, const AgeMark& mark)
{
    if (!file.isOpen())
        return;
    std::string beginning = file.beginning(64);
    std::replace(beginning.begin(), beginning.end(), '\0', '?'); // a NUL is no end of the file
    int begun = 0;
    const int scanned = std::sscanf(beginning.c_str(), mark.scanFormat, &begun);
    if (scanned == EOF || (scanned == 1 && begun == mark.current))
        return;
    file.close();
    platform::AppendFile::empty(path);
    file = platform::AppendFile::open(path);
}

/// Ends a text at its first NUL and keeps it on one line.
void tidy(std::string& line, std::size_t start)
{
    // Three searches for a character are faster than one for any of the three, and find nothing but rarely.
    const std::size_t at = std::min({line.find('\0', start), line.find('\r', start), line.find('\n', start)});
    if (at == std::string::npos)
        return;
    const std::string rest = line.substr(at);
    line.resize(at);
    for (const char character : rest) {
        if (character == '\0')
            return;
        if (character == '\r')
            line += "\\r";
        else if (character == '\n')
            line += "\\n";
        else
            line += character;
    }
}

void appendText(std::string& line, const void* text)
{
    line += *static_cast<const std::string_view*>(text);
}

/// How a kind is marked, and the setting that can silence it, if any.
struct KindOfLine {
    const char* mark;
    const std::atomic<bool>* gate;
};

constexpr std::array<KindOfLine, LOG_NOTE + 1> KINDS{{{"=>", &g_bLogCRToCAPI},
                                                      {"<=", &g_bLogCAPIToCR},
                                                      {"->", &g_bLogCAPIToCom},
                                                      {"<-", &g_bLogComToCAPI},
                                                      {"==", &g_bLogDebug},
                                                      {"!!", nullptr},
                                                      {"!!", nullptr},
                                                      {"##", nullptr}}};

/// The mark of a kind, or null if its gate is shut.
const char* openMark(LogKind kind)
{
    const auto& [mark, gate] = KINDS[static_cast<std::size_t>(kind)];
    return gate == nullptr || *gate ? mark : nullptr;
}

/// Holds the log for one line.
class LogLock {
public:
    LogLock() : m_lock(g_logLock, std::defer_lock)
    {
        if (!g_bUnloading) {
            m_lock.lock();
            return;
        }
        for (int tries = 0; tries < 10 && !m_lock.try_lock(); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    explicit operator bool() const { return m_lock.owns_lock(); }

private:
    std::unique_lock<std::mutex> m_lock;
};

void openLog()
{
    g_nLogDay = 0;
    g_pLogFiles = std::make_unique<CLogFiles>();
    if (!g_pLogFiles->hasNoDirectory())
        g_nLogDay = g_pLogFiles->day();
}

/// A subfolder must stay below the log directory.
bool isSafeFolderName(const std::string& name)
{
    return std::none_of(name.begin(), name.end(), platform::isPathSeparator) &&
           name.find_first_not_of('.') != std::string::npos;
}

} // namespace

CLogFiles::CLogFiles()
{
    const platform::LocalTime now = platform::localTime();
    m_nDay = dayNumber(now.calendar);
    findDirectory();
    if (!m_sDirectory.empty())
        openFiles(now);
}

void CLogFiles::findDirectory()
{
    auto directory = platform::environmentVariable("TLLOGS");
    if (!directory)
        directory = platform::environmentVariable("LOGFILE");
    m_sDirectory = directory.value_or(platform::defaultLogDirectory());
    m_sDirectory += platform::pathSeparator();
    m_sDirectory += g_sLogSubfolder;
    if (!platform::makeDirectory(m_sDirectory)) {
        m_sDirectory.clear();
        m_bNoDirectory = true;
    }
}

void CLogFiles::openFiles(const platform::LocalTime& now)
{
    const std::array<std::string, 3> periods{weekdayOf(now), weekdayOf(now), monthOf(now)};
    const bool separated = platform::isPathSeparator(m_sDirectory.back());
    std::array<std::string, 3> paths;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        paths[i] = compose(m_sDirectory, separated ? "" : platform::pathSeparator(), BASE_NAMES[i], "_",
                           periods[i], ".log");
        platform::clearReadOnly(paths[i]);
        m_files[i] = platform::AppendFile::open(paths[i]);
    }
    // Only now that all are open.
    for (std::size_t i = 0; i < m_files.size(); ++i)
        emptyIfOld(m_files[i], paths[i], ageMark(static_cast<LogFile>(i), now));
}

/// The texts of a second are made once: making them costs more than all the rest of a line.
void CLogFiles::readClock(const platform::LocalTime& now)
{
    if (!m_sSecond.empty() && isSameSecond(m_second, now.calendar))
        return;
    m_sSecond = compose("w", formatted(now, "%W"), " ", leftPadded(now.calendar.tm_hour, 2), ":",
                        leftPadded(now.calendar.tm_min, 2), ":", leftPadded(now.calendar.tm_sec, 2), ".");
    m_sDate = compose(dateText(now.calendar, "-"), " ", weekdayOf(now), " ");
    m_second = now.calendar; // last: without memory the texts are not there
}

void CLogFiles::write(AppendText append, const void* text, const char* mark, LogFile file,
                      const platform::LocalTime& now)
{
    const platform::AppendFile& target = m_files[static_cast<std::size_t>(file)];
    if (!target.isOpen())
        return;
    readClock(now);
    m_sLine.clear();
    if (file == LOG_FILE_ERROR)
        m_sLine += m_sDate;
    m_sLine += m_sSecond;
    const auto digit = [&](int unit) { return static_cast<char>('0' + now.milliseconds / unit % 10); };
    const std::array<char, 7> rest{digit(100), digit(10), digit(1), ' ', mark[0], mark[1], ' '};
    m_sLine.append(rest.data(), rest.size());
    const std::size_t start = m_sLine.size();
    append(m_sLine, text);
    tidy(m_sLine, start);
    m_sLine += platform::lineEnd();
    target.append(m_sLine);
}

void CLogFiles::close()
{
    for (platform::AppendFile& file : m_files)
        file.close();
    m_sDirectory.clear();
    m_bNoDirectory = false;
}

bool isLogged(LogKind kind)
{
    return openMark(kind) != nullptr;
}

void logLine(AppendText append, const void* text, LogKind kind, LogFile file) noexcept
try {
    const char* const mark = openMark(kind);
    // A line that is not written opens the day's files all the same, but doesn't wait for them.
    if (mark == nullptr && g_nLogDay == platform::localDay())
        return;
    const LogLock lock;
    if (!lock)
        return;
    if (g_pLogFiles == nullptr || g_pLogFiles->hasNoDirectory())
        openLog();
    const platform::LocalTime now = platform::localTime();
    if (dayNumber(now.calendar) != g_pLogFiles->day()) {
        g_pFormerLogFiles.reset();
        g_pLogFiles.reset();
        openLog();
    }
    if (mark != nullptr)
        g_pLogFiles->write(append, text, mark, file, now);
} catch (...) {
    // No memory: the line is lost.
}

void logLine(std::string_view text, LogKind kind, LogFile file) noexcept
{
    logLine(appendText, &text, kind, file);
}

void setLogSubfolder(const std::string& name) noexcept
try {
    const LogLock lock;
    // A point tells an address from the name of a serial port.
    if (name.find('.') != std::string::npos && isSafeFolderName(name))
        g_sLogSubfolder = name.substr(0, MAX_SUBFOLDER_LENGTH);
    // What is open stays so until the log is opened anew again: whoever follows it loses nothing.
    g_pFormerLogFiles = std::move(g_pLogFiles);
    openLog();
} catch (...) {
    // No memory: the next line tries again to open it.
}

void closeLogFiles()
{
    const LogLock lock;
    if (!lock)
        return;
    g_pFormerLogFiles.reset();
    if (g_pLogFiles != nullptr)
        g_pLogFiles->close();
}

void expectUnload()
{
    g_bUnloading = true;
}
