// The log: three families of text files that support engineers read. API files and logic files
// live for a week, one a weekday; error files for a year, one a month.
#pragma once

#include "platform/clock.h"
#include "platform/files.h"
#include "text/compose.h"

#include <array>
#include <atomic>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

enum LogKind : int {
    LOG_APP_IN = 0,     // " => " a call from the application
    LOG_APP_OUT = 1,    // " <= " an event to the application
    LOG_DEVICE_OUT = 2, // " -> " a command to the device
    LOG_DEVICE_IN = 3,  // " <- " a message from the device
    LOG_DEBUG = 4,      // " == " progress
    LOG_ERROR = 5,      // " !! " a detected error
    LOG_FAILURE = 6,    // " !! " an operation that failed
    LOG_NOTE = 7        // " ## " facts worth always having
};

enum LogFile : int { LOG_FILE_API = 0, LOG_FILE_LOGIC = 1, LOG_FILE_ERROR = 2 };

/// Writes at most one line and has it on disk before it returns. Never fails a caller. Any thread. The text
/// ends at its first NUL, and a line end inside it is written as the two characters "\\n" or "\\r".
void logLine(std::string_view text, LogKind kind, LogFile file) noexcept;

/// Appends a text to the line that is being written.
using AppendText = void (*)(std::string& line, const void* text);

/// The same with a text that is put together only if its line is written.
void logLine(AppendText append, const void* text, LogKind kind, LogFile file) noexcept;

template <typename... Pieces>
void logLine(const Joined<Pieces...>& text, LogKind kind, LogFile file)
{
    logLine([](std::string& line,
               const void* joined) { static_cast<const Joined<Pieces...>*>(joined)->appendTo(line); },
            &text, kind, file);
}

/// The same line into two files.
template <typename Text>
void logLineTwice(const Text& text, LogKind kind, LogFile file, LogFile secondFile)
{
    logLine(text, kind, file);
    logLine(text, kind, secondFile);
}

/// Progress of the logic, and its errors, which stand in the error file too.
template <typename Text>
void logDebug(const Text& text)
{
    logLine(text, LOG_DEBUG, LOG_FILE_LOGIC);
}

template <typename Text>
void logNote(const Text& text)
{
    logLine(text, LOG_NOTE, LOG_FILE_LOGIC);
}

template <typename Text>
void logError(const Text& text)
{
    logLineTwice(text, LOG_ERROR, LOG_FILE_LOGIC, LOG_FILE_ERROR);
}

/// Whether lines of this kind are written at present.
bool isLogged(LogKind kind);

/// Opens the log anew, in a folder named after the device's address if "name" looks like one. Never fails a
/// caller.
void setLogSubfolder(const std::string& name) noexcept;

/// Closes the files for good; called as the library is unloaded.
void closeLogFiles();

/// From here on a line that can't have the log at once is lost: at the end of a process the thread that
/// had it may be dead.
void expectUnload();

/// One day's three open files.
class CLogFiles {
public:
    CLogFiles();

    /// True if no directory could be made: worth another try at the next line.
    bool hasNoDirectory() const { return m_bNoDirectory; }

    /// The day of its building.
    int day() const { return m_nDay; }

    void write(AppendText append, const void* text, const char* mark, LogFile file,
               const platform::LocalTime& now);
    void close();

private:
    void findDirectory();
    void openFiles(const platform::LocalTime& now);
    void readClock(const platform::LocalTime& now);

    std::array<platform::AppendFile, 3> m_files; // by file index
    int m_nDay;
    std::string m_sDirectory;
    bool m_bNoDirectory = false;

    // What the lines of the running second begin with.
    std::tm m_second{};
    std::string m_sSecond; // "w46 14:05:06."
    std::string m_sDate;   // "2026-11-22 Sun ", in the error file only
    std::string m_sLine;   // the line that is being written
};

// Process-wide; process_objects.cpp builds what needs building.
extern std::unique_ptr<CLogFiles> g_pLogFiles;
extern std::unique_ptr<CLogFiles> g_pFormerLogFiles; // before the log moved; closed when it is opened anew
extern std::string g_sLogSubfolder;
extern std::mutex g_logLock;                            // guards the three above
inline constinit std::atomic<int> g_nLogDay{0};         // whose files are open; 0: none
inline constinit std::atomic<bool> g_bUnloading{false}; // see expectUnload

// What is logged, by kind; the current values of the settings of the same names.
inline constinit std::atomic<bool> g_bLogCRToCAPI{true};
inline constinit std::atomic<bool> g_bLogCAPIToCR{true};
inline constinit std::atomic<bool> g_bLogComToCAPI{true};
inline constinit std::atomic<bool> g_bLogCAPIToCom{true};
inline constinit std::atomic<bool> g_bLogDebug{true};
