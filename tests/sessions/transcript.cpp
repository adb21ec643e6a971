#include "transcript.h"

#include "platform/files.h"
#include "scratch.h"
#include "text/compose.h"
#include "virtual_clock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

namespace {

// The time stamp of a line; the error file's begins with the date.
constexpr std::size_t STAMP = 17;
constexpr std::size_t ERROR_STAMP = 32;

// After the directory of the process, before the library's objects.
[[gnu::init_priority(102)]] Transcript only;

void replaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;
         at += to.size())
        text.replace(at, from.size(), to);
}

/// The same on every system and in every run.
std::string plain(std::string text)
{
    replaceAll(text, scratch::path(""), "");
    replaceAll(text, platform::windowsDirectory() + platform::pathSeparator(), "(Windows directory)/");
    std::replace(text.begin(), text.end(), '\x1C', '|');
    if (platform::isPathSeparator('\\'))
        std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

} // namespace

Transcript& transcript()
{
    return only;
}

Transcript::Transcript()
{
    virtual_clock::onLook([] { only.look(); });
}

Transcript::~Transcript()
{
    virtual_clock::onLook(nullptr);
    look();
    flush();
    if (!m_session.empty() && !matches()) {
        std::fflush(nullptr);
        std::_Exit(1);
    }
}

void Transcript::heading(const std::string& text)
{
    look();
    flush();
    notePassedTime(virtual_clock::now());
    m_text += plain(text) + "\n";
}

void Transcript::happened(const std::string& what, const std::string& text)
{
    look();
    flush();
    notePassedTime(virtual_clock::now());
    note(what, text);
}

void Transcript::note(const std::string& what, const std::string& text)
{
    if (!m_quiet)
        m_text +=
            compose("    ", what, std::string(what.size() < 7 ? 7 - what.size() : 1, ' '), plain(text), "\n");
}

void Transcript::notePassedTime(std::int64_t now)
{
    const std::int64_t passed = now - m_now;
    m_now += passed;
    if (passed > 0 && !m_quiet)
        m_text += compose("    + ", passed, " ms\n");
}

void Transcript::quiet(bool quiet)
{
    look();
    flush();
    m_quiet = quiet;
}

void Transcript::look()
{
    for (LogFile& log : m_logs) {
        std::ifstream stream(scratch::path("logs/" + log.name), std::ios::binary);
        stream.seekg(log.end);
        for (std::string line; std::getline(stream, line);) {
            log.end += static_cast<std::streamoff>(line.size()) + 1;
            std::erase(line, '\r');
            const std::size_t stamp = log.kind == "error" ? ERROR_STAMP : STAMP;
            logged(log.kind, line.size() < stamp ? line : line.substr(stamp));
        }
    }
}

/// A line that comes to several logs at once is noted once.
void Transcript::logged(const std::string& kind, const std::string& line)
{
    if (line == m_line && !m_kinds.empty() && kind == "error" && m_kinds != "error") {
        m_kinds += "+" + kind;
        flush();
        return;
    }
    flush();
    m_kinds = kind;
    m_line = line;
    m_lineAt = virtual_clock::now();
}

void Transcript::flush()
{
    if (m_kinds.empty())
        return;
    const std::string what = std::exchange(m_kinds, {});
    notePassedTime(m_lineAt);
    note(what, std::exchange(m_line, {}));
}

bool Transcript::matches() const
{
    const std::string file = compose("tests/sessions/", m_session, ".expected");
    if (std::getenv("TL_UPDATE") != nullptr) {
        std::ofstream(compose(TLLOGICS_SOURCE_DIR, "/", file), std::ios::binary) << m_text;
        return true;
    }
    const std::string whole = scratch::source(file);
    if (whole == m_text)
        return true;
    std::istringstream expected(whole);
    std::istringstream happened(m_text);
    std::string expectedLine;
    std::string happenedLine;
    int number = 0;
    do {
        ++number;
        if (!std::getline(expected, expectedLine))
            expectedLine = "(the end)";
        if (!std::getline(happened, happenedLine))
            happenedLine = "(the end)";
    } while (expectedLine == happenedLine);
    std::printf("%s differs from line %d on:\n  expected: %s\n  happened: %s\n", file.c_str(), number,
                expectedLine.c_str(), happenedLine.c_str());
    std::ofstream(compose(TLLOGICS_BUILD_DIR, "/", m_session, ".happened"), std::ios::binary) << m_text;
    std::printf("All of it is in %s/%s.happened. If it is as it should be, run it again with TL_UPDATE=1.\n",
                TLLOGICS_BUILD_DIR, m_session.c_str());
    return false;
}
