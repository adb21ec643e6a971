// What happens in a session, line by line as it happens: what the runner notes, and between it the lines of
// the three logs. Begun before the library's objects are built and compared after they are destroyed, so
// that the first and last lines of the logs stand in it too.
#pragma once

#include <array>
#include <cstdint>
#include <fstream>
#include <string>

class Transcript {
public:
    Transcript();
    Transcript(const Transcript&) = delete;
    Transcript& operator=(const Transcript&) = delete;
    /// Compares, or ends the process with an exit code of 1.
    ~Transcript();

    /// Names the session; without a name nothing is compared.
    void begin(const std::string& session) { m_session = session; }

    // Each stands behind the lines of the logs so far and the time that passed.
    /// A line of the script or a result, at the margin; noted also while quiet.
    void heading(const std::string& text);
    /// Something that happened.
    void happened(const std::string& what, const std::string& text);
    /// Takes in what the logs got since.
    void look();
    void quiet(bool quiet);

private:
    struct LogFile {
        std::string kind, name;
        std::streamoff end = 0;
    };

    void logged(const std::string& kind, const std::string& line);
    void flush();
    void note(const std::string& what, const std::string& text);
    void notePassedTime(std::int64_t now);
    bool matches() const;

    std::string m_session;
    std::string m_text;
    std::string m_kinds, m_line; // the last line of a log, which may come to another log too
    std::array<LogFile, 3> m_logs{
        {{"api", "tlapi_Sun.log"}, {"logic", "tllogic_Sun.log"}, {"error", "tlerror_Nov.log"}}};
    std::int64_t m_lineAt = 0;
    std::int64_t m_now = 0; // what is noted so far
    bool m_quiet = false;
};

Transcript& transcript();
