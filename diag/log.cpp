#include "diag/log.h"

#include "platform/files.h"
#include "text/compose.h"
#include "text/dates.h"

#include <algorithm>
#include <chrono>
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

std::string dateOf(const platform::LocalTime& time)
{
    return dateText(time.calendar, "-");
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

/// "w45 23:53:04.123"
std::string timeStampOf(const platform::LocalTime& time)
{
    return compose("w", formatted(time, "%W"), " ", leftPadded(time.calendar.tm_hour, 2), ":",
                   leftPadded(time.calendar.tm_min, 2), ":", leftPadded(time.calendar.tm_sec, 2), ".",
                   leftPadded(time.milliseconds, 3));
}

/// How a file of this index tells on its first line when it was begun: the week, or the year.
struct AgeMark {
    const char* scanFormat;
    int current;
};

AgeMark ageMark(int fileIndex, const platform::LocalTime& now)
{
    if (fileIndex == LOG_FILE_ERROR)
        return {"%9d", std::atoi(formatted(now, "%Y").c_str())};
    return {"w%9d", std::atoi(formatted(now, "%W").c_str())};
}

/// Empties a file that was begun in another week or year, and hands back what is open then.
std::FILE* emptyIfOld(std::FILE* file, const std::string& path, const AgeMark& mark)
{
    if (file == nullptr)
        return nullptr;
    const long position = std::ftell(file);
    std::rewind(file);
    int begun = 0;
    const int scanned = std::fscanf(file, mark.scanFormat, &begun);
    if (scanned == EOF)
        return file;
    if (scanned == 1 && begun == mark.current) {
        std::fseek(file, position, SEEK_SET);
        return file;
    }
    std::fclose(file);
    if (std::FILE* const emptied = platform::openLogFile(path, platform::LogOpening::Empty))
        std::fclose(emptied);
    return platform::openLogFile(path, platform::LogOpening::Append);
}

/// The mark of a kind, or null if the kind is unknown or its gate is shut.
const char* openMark(int kind)
{
    switch (kind) {
    case LOG_APP_IN:
        return g_bLogCRToCAPI ? "=>" : nullptr;
    case LOG_APP_OUT:
        return g_bLogCAPIToCR ? "<=" : nullptr;
    case LOG_DEVICE_OUT:
        return g_bLogCAPIToCom ? "->" : nullptr;
    case LOG_DEVICE_IN:
        return g_bLogComToCAPI ? "<-" : nullptr;
    case LOG_DEBUG:
        return g_bLogDebug ? "==" : nullptr;
    case LOG_ERROR:
    case LOG_FAILURE:
        return "!!";
    case LOG_NOTE:
        return "##";
    default:
        return nullptr;
    }
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

/// A subfolder must stay below the log directory.
bool isSafeFolderName(const std::string& name)
{
    return std::none_of(name.begin(), name.end(), platform::isPathSeparator) &&
           name.find_first_not_of('.') != std::string::npos;
}

} // namespace

CLogFiles::CLogFiles()
{
    findDirectory();
    if (!m_sDirectory.empty())
        openFiles(platform::localTime());
    else
        m_sCreationDate = dateOf(platform::localTime());
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
    m_sCreationDate = dateOf(now);
    const std::array<std::string, 3> periods{weekdayOf(now), weekdayOf(now), monthOf(now)};
    const bool separated = platform::isPathSeparator(m_sDirectory.back());
    std::array<std::string, 3> paths;
    for (std::size_t i = 0; i < m_files.size(); ++i) {
        paths[i] = compose(m_sDirectory, separated ? "" : platform::pathSeparator(), BASE_NAMES[i], "_",
                           periods[i], ".log");
        platform::clearReadOnly(paths[i]);
        m_files[i] = platform::openLogFile(paths[i], platform::LogOpening::Append);
    }
    // Only now that all are open.
    for (std::size_t i = 0; i < m_files.size(); ++i)
        m_files[i] = emptyIfOld(m_files[i], paths[i], ageMark(static_cast<int>(i), now));
}

void CLogFiles::write(const std::string& text, int kind, int fileIndex, const platform::LocalTime& now) const
{
    if (fileIndex < LOG_FILE_API || fileIndex > LOG_FILE_ERROR)
        return;
    std::FILE* const file = m_files[static_cast<std::size_t>(fileIndex)];
    if (file == nullptr)
        return;
    if (const char* const mark = openMark(kind)) {
        const std::string prefix =
            fileIndex == LOG_FILE_ERROR ? compose(dateOf(now), " ", weekdayOf(now), " ") : "";
        std::fprintf(file, "%s%s %s %s\n", prefix.c_str(), timeStampOf(now).c_str(), mark, text.c_str());
    }
    std::fflush(file);
}

void CLogFiles::close()
{
    for (std::FILE*& file : m_files) {
        if (file != nullptr)
            std::fclose(file);
        file = nullptr;
    }
    m_sDirectory.clear();
    m_bNoDirectory = false;
}

void logLine(const std::string& text, int kind, int fileIndex)
{
    const LogLock lock;
    if (!lock)
        return;
    if (g_pLogFiles == nullptr || g_pLogFiles->hasNoDirectory())
        g_pLogFiles = std::make_unique<CLogFiles>();
    const platform::LocalTime now = platform::localTime();
    if (dateOf(now) != g_pLogFiles->creationDate()) {
        g_pLogFiles->close();
        g_pLogFiles = std::make_unique<CLogFiles>();
    }
    g_pLogFiles->write(text, kind, fileIndex, now);
}

void logLineTwice(const std::string& text, int kind, int fileIndex, int secondFileIndex)
{
    logLine(text, kind, fileIndex);
    logLine(text, kind, secondFileIndex);
}

void logDebug(const std::string& text)
{
    logLine(text, LOG_DEBUG, LOG_FILE_LOGIC);
}

void logNote(const std::string& text)
{
    logLine(text, LOG_NOTE, LOG_FILE_LOGIC);
}

void logError(const std::string& text)
{
    logLineTwice(text, LOG_ERROR, LOG_FILE_LOGIC, LOG_FILE_ERROR);
}

void setLogSubfolder(const std::string& name)
{
    const LogLock lock;
    // A point tells an address from the name of a serial port.
    if (name.find('.') != std::string::npos && isSafeFolderName(name))
        g_sLogSubfolder = name.substr(0, MAX_SUBFOLDER_LENGTH);
    // The former files stay open to the end of the process: whoever follows them loses nothing.
    g_pLogFiles = std::make_unique<CLogFiles>();
}

void closeLogFiles()
{
    const LogLock lock;
    if (lock && g_pLogFiles != nullptr)
        g_pLogFiles->close();
}

void expectUnload()
{
    g_bUnloading = true;
}
