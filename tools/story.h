// Follows the lines of each log folder: sessions, calls and how long they took, gates, and the sales. Free of
// output; what it finds it hands to whoever listens.
#pragma once

#include "tools/log_reader.h"
#include "tools/overlaps.h"
#include "tools/sale.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tllog {

/// Something about the log itself that the reader must know.
struct Notice {
    Time time = 0;
    std::string folder;
    std::string text;
};

/// What the story knows of a line beyond the line.
struct Told {
    bool again = false;                       // another line tells the same
    bool inner = false;                       // a step inside a call that other lines tell better
    std::uint64_t sale = 0;                   // that it belongs to
    std::optional<Time> duration;             // of the call that it ends
    std::optional<DeviceMessage> message;     // in its parts
    std::optional<std::int64_t> paidInChange; // by this message
    int decimals = 2;
};

class Story {
public:
    /// "files" are those that will be read: what is missing among them limits what can be told.
    explicit Story(const std::vector<LogFile>& files);
    ~Story();
    Story(const Story&) = delete;
    Story& operator=(const Story&) = delete;

    std::function<void(const Sale&)> onSale;
    std::function<void(const Notice&)> onNotice;

    /// A further file that will be read.
    void know(const LogFile& file);

    Told read(const Entry& entry);

    /// The last line has come.
    void finish();

    /// A sale that is going on, for those who can't wait; null if it is over.
    const Sale* openSale(std::uint64_t id) const;

private:
    class Till;

    Till& tillOf(const std::string& folder);

    std::map<std::string, std::unique_ptr<Till>> m_tills;
    std::map<std::string, bool> m_hasApi; // by folder
    std::map<std::string, bool> m_hasLogic;
    std::map<std::filesystem::path, std::vector<Overlap>> m_overlaps;
    std::map<std::string, bool> m_overlapNow; // by folder
    std::uint64_t m_lastSale = 0;
    std::string m_lastFolder;
    Till* m_lastTill = nullptr;
};

} // namespace tllog
