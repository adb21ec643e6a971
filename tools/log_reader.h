// Reads log files, whole directories of them, as one list of dated lines. Knows nothing of what the lines
// mean, and writes nothing anywhere.
#pragma once

#include "tools/log_line.h"

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tllog {

struct LogFile {
    std::filesystem::path path;
    std::string folder; // the address folder's name; empty for the log directory itself
    std::string name;   // "tlapi_Mon.log"
    Family family = Family::Api;
    int weekday = -1; // as its name says
};

/// The log files of a directory and its address folders, or of a list of files, in a fixed order. What is
/// none of these by its name is left out, but taken if it was named itself.
std::vector<LogFile> findLogFiles(const std::vector<std::filesystem::path>& places);

/// One line, valid until the next one is asked for.
struct Entry {
    const LogFile* file = nullptr;
    std::uint64_t number = 0; // of the line in its file, from 1
    std::uint64_t offset = 0; // of the line in its file, in bytes
    Time time = 0;
    Mark mark = Mark::Foreign;
    std::string_view text;
    bool torn = false; // the last line of its file, without its end
};

class LogReader {
public:
    enum class Follow : bool { No, Yes };

    explicit LogReader(const std::vector<LogFile>& files, Follow follow = Follow::No);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// The next line in the order of time, that of each file kept. False if there is none (now).
    bool next(Entry& entry);

    /// Looks for what has been written since. With "Follow::Yes" the lines that were there at the look before
    /// can be read: by then their neighbours in the other files are there too. Lines without an end wait.
    void lookAgain();
    /// Lets all lines be read that are there.
    void showAll();

    /// Takes a further file in, for a running till's next day.
    void add(const LogFile& file);
    bool has(const std::filesystem::path& path) const;

    /// Goes to the ends of the files but for about their last "bytes".
    void skipToEnds(std::uint64_t bytes);

    std::uint64_t bytesRead() const;
    std::uint64_t bytesInAll() const;

    /// Files that can't be opened.
    const std::vector<std::string>& unreadable() const { return m_unreadable; }

private:
    class Stream;
    class ClockChanges;
    struct OpenCall {
        std::string name;
        int entries = 0; // of its operation so far
    };

    static int rankOf(const Stream& stream, const OpenCall* openCall);

    Stream* choose();

    Follow m_follow;
    std::optional<Day> m_dayTold; // by one of the files, for those that tell none
    std::unique_ptr<ClockChanges> m_changes;
    std::vector<std::unique_ptr<Stream>> m_streams;
    std::vector<std::string> m_unreadable;
    Stream* m_current = nullptr;
    Time m_limit = 0;                            // the current stream may go on up to here
    std::map<std::string, OpenCall> m_openCalls; // by folder
};

} // namespace tllog
