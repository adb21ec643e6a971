#include "tools/overlaps.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <utility>

namespace tllog {

namespace {

enum class What { Begins, Ends, GoesOn };

/// Follows one file's loads and unloads. In an address folder a session begins and ends with the link, its
/// load being told in the directory above.
class Loads {
public:
    explicit Loads(bool inAddressFolder) : m_inAddressFolder(inAddressFolder) {}

    void line(std::string_view line, std::uint64_t offset)
    {
        const LogLine parsed = parseLogLine(line);
        if (parsed.mark == Mark::Foreign || parsed.text.starts_with("===="))
            return;
        const What what = whatOf(parsed);
        const bool first = std::exchange(m_first, false);
        if (what == What::Begins) {
            if (m_ended)
                m_open = 0; // whoever else was there had died
            if (m_open > 0)
                m_second = offset;
            m_ended = false;
            ++m_open;
        } else if (what == What::Ends) {
            if (m_ended && m_open > 0)
                m_found.push_back({m_second, offset});
            m_open = std::max(0, m_open - 1);
            m_ended = true;
        } else {
            if (first)
                ++m_open; // a session of the day before
            if (m_ended && (m_open > 0 || !m_inAddressFolder)) {
                // Somebody else is here still.
                m_found.push_back({m_second, offset});
                m_open = 1;
            }
            m_ended = false;
        }
    }

    /// Whether a line has to be looked at.
    bool wants(std::string_view line) const
    {
        if (m_first || m_ended)
            return true;
        return line.size() > 22 && (line.substr(20).starts_with("C API ") ||
                                    (m_inAddressFolder && line.find("itTL: Ok!") != std::string_view::npos));
    }

    std::vector<Overlap> found() const { return m_found; }

private:
    What whatOf(const LogLine& line) const
    {
        if (m_inAddressFolder) {
            if (line.text.starts_with("initTL: Ok!"))
                return What::Begins;
            return line.text.starts_with("exitTL: Ok!") ? What::Ends : What::GoesOn;
        }
        if (line.mark == Mark::Note && line.text == "C API Loaded")
            return What::Begins;
        return line.mark == Mark::Note && line.text == "C API Unloaded" ? What::Ends : What::GoesOn;
    }

    bool m_inAddressFolder;
    bool m_first = true;
    bool m_ended = false; // what follows tells whether somebody else is here
    int m_open = 0;
    std::uint64_t m_second = 0;
    std::vector<Overlap> m_found;
};

} // namespace

std::vector<Overlap> findOverlaps(const LogFile& apiFile)
{
    std::ifstream stream(apiFile.path, std::ios::binary);
    Loads loads(!apiFile.folder.empty());
    std::string buffer;
    std::uint64_t start = 0; // of the buffer in the file
    while (stream) {
        const std::size_t had = buffer.size();
        buffer.resize(had + 1024 * 1024);
        stream.read(buffer.data() + had, 1024 * 1024);
        buffer.resize(had + static_cast<std::size_t>(std::max<std::streamsize>(0, stream.gcount())));
        std::size_t at = 0;
        for (;;) {
            const std::size_t end = buffer.find('\n', at);
            if (end == std::string::npos)
                break;
            std::string_view line = std::string_view(buffer).substr(at, end - at);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            if (loads.wants(line))
                loads.line(line, start + at);
            at = end + 1;
        }
        buffer.erase(0, at);
        start += at;
        if (buffer.size() > 4 * 1024 * 1024)
            break; // no log
    }
    return loads.found();
}

} // namespace tllog
