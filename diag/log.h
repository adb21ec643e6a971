// The log: three families of text files that support engineers read. API files and logic files
// live for a week, one a weekday; error files for a year, one a month.
#pragma once

#include "platform/clock.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

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

/// Writes at most one line and has it on disk before it returns. Never fails a caller. Any thread.
void logLine(const std::string& text, int kind, int fileIndex);

/// The same line into two files.
void logLineTwice(const std::string& text, int kind, int fileIndex, int secondFileIndex);

/// Progress of the logic, and its errors, which stand in the error file too.
void logDebug(const std::string& text);
void logNote(const std::string& text);
void logError(const std::string& text);

/// Opens the log anew, in a folder named after the device's address if "name" looks like one.
void setLogSubfolder(const std::string& name);

/// Closes the files for good; called as the library is unloaded.
void closeLogFiles();

/// From here on a line that can't have the log at once is lost: at the end of a process the thread that
/// had it may be dead.
void expectUnload();

/// One day's three open files.
class CLogFiles {
public:
    CLogFiles();
    CLogFiles(const CLogFiles&) = delete;
    CLogFiles& operator=(const CLogFiles&) = delete;

    /// True if no directory could be made: worth another try at the next line.
    bool hasNoDirectory() const { return m_bNoDirectory; }
    const std::string& creationDate() const { return m_sCreationDate; }

    void write(const std::string& text, int kind, int fileIndex, const platform::LocalTime& now) const;
    void close();

private:
    void findDirectory();
    void openFiles(const platform::LocalTime& now);

    std::array<std::FILE*, 3> m_files{}; // by file index; null while not open
    std::string m_sCreationDate;         // "2026-11-22"
    std::string m_sDirectory;
    bool m_bNoDirectory = false;
};

// Process-wide; process_objects.cpp builds what needs building.
extern std::unique_ptr<CLogFiles> g_pLogFiles;
extern std::string g_sLogSubfolder;
extern std::mutex g_logLock;                            // guards the two above
inline constinit std::atomic<bool> g_bUnloading{false}; // see expectUnload

// What is logged, by kind; the current values of the settings of the same names.
inline constinit std::atomic<bool> g_bLogCRToCAPI{true};
inline constinit std::atomic<bool> g_bLogCAPIToCR{true};
inline constinit std::atomic<bool> g_bLogComToCAPI{true};
inline constinit std::atomic<bool> g_bLogCAPIToCom{true};
inline constinit std::atomic<bool> g_bLogDebug{true};
