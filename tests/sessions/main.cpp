// Plays a session, tests/sessions/<name>.txt, and compares what happens with <name>.expected beside it.
// A line each:
//   # a comment                            stands in the transcript too
//   > depositTL "S1"                       calls an export: its parameters in order, "null" for none, a
//                                          name for what is handed out, 100:5,50:1 for an array; "|"
//                                          stands for the separator
//   quietly > loginTL 1 2                  and notes the result alone
//   in an event > exitTL                   inside the next event
//   device f: 10 a0000050011, 20 ...       what it says on such commands, after ms, or "now" inside the
//                                          call; "answers 13" are the status characters of its answers;
//                                          nothing: it stays silent; "|" as above
//   device says a0000050001                unasked
//   device says after 50: a0000050001
//   device as new                          forgets all that it was told
//   library lacks tl_002                   or "can't be loaded", "can't be freed", "opens with 9 words",
//                                          "says a0000000000" while opening, "as new"
//   path /till/tllogics.dll                where the library is told that it lies
//   version 1.2.3.4                        and which one it is
//   file tllogics.ini: [Operation] | PayOutOkCheck=1
//   environment TLCONFIG=shop
//   wait 100                               milliseconds
//   turn clock 3600                        the wall clock alone, by seconds
//   101 times: device says ...             of which the last one is noted
#include "environment.h"
#include "exports.h"
#include "logic/shared_state.h"
#include "scratch.h"
#include "scripted_device.h"
#include "transcript.h"

#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace {

bool takePrefix(std::string& line, const std::string& prefix)
{
    if (!line.starts_with(prefix))
        return false;
    line.erase(0, prefix.size());
    return true;
}

/// What stands before the separator, which goes too; all of the text if there is none.
std::string takeUntil(std::string& text, const std::string& separator)
{
    const std::size_t at = text.find(separator);
    const std::string head = text.substr(0, at);
    text.erase(0, at == std::string::npos ? at : at + separator.size());
    return head;
}

std::vector<Word> wordsOf(const std::string& line)
{
    std::vector<Word> words;
    for (std::size_t at = 0; (at = line.find_first_not_of(' ', at)) != std::string::npos;) {
        const bool quoted = line[at] == '"';
        const std::size_t start = quoted ? at + 1 : at;
        const std::size_t end = std::min(line.find(quoted ? '"' : ' ', start), line.size());
        words.push_back({line.substr(start, end - start), quoted});
        std::replace(words.back().text.begin(), words.back().text.end(), '|', '\x1C');
        at = quoted ? end + 1 : end;
    }
    return words;
}

std::string stateText()
{
    std::string text = stateName(g_TLState);
    if (const char last = g_nLastCommand; last != 0)
        text += compose(", last command ", last);
    return text;
}

class Session {
public:
    explicit Session(const std::string& name)
    {
        transcript().begin(name);
        ostrivane().ownPath = "/till/tllogics.dll";
        ostrivane().onDelivery = [](const char* message) {
            transcript().happened("said", message == nullptr ? "(null)" : message);
        };
        ostrivane().onCall = [](const std::string& call) { transcript().happened("link", call); };
        listen();
    }

    void play(const std::string& script)
    {
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with(">") && !line.starts_with("quietly >"))
                transcript().heading(line);
            if (!line.empty() && line.front() != '#')
                run(line);
            noteState();
        }
    }

private:
    void run(std::string line)
    {
        if (takePrefix(line, "> "))
            return call(line);
        if (takePrefix(line, "quietly > ")) {
            transcript().quiet(true);
            call(line);
            return transcript().quiet(false);
        }
        if (takePrefix(line, "in an event > ")) {
            duringEvent = [this, line] { call(line); };
            return;
        }
        if (takePrefix(line, "device "))
            return script(line);
        if (takePrefix(line, "library "))
            return makeLibrary(line);
        if (takePrefix(line, "path ")) {
            ostrivane().ownPath = line;
            return;
        }
        if (takePrefix(line, "version ")) {
            ostrivane().ownVersion = line;
            return;
        }
        if (takePrefix(line, "file ")) {
            const std::string name = takeUntil(line, ": ");
            std::string content;
            while (!line.empty())
                content += takeUntil(line, " | ") + "\n";
            scratch::write(name, content);
            return;
        }
        if (takePrefix(line, "environment ")) {
            const std::string name = takeUntil(line, "=");
            return setEnvironment(name, line.empty() ? "" : scratch::path(line));
        }
        if (takePrefix(line, "wait "))
            return virtual_clock::advance(std::stoll(line));
        if (takePrefix(line, "turn clock "))
            return virtual_clock::turnWallClock(std::stoll(line));
        const int count = std::stoi(takeUntil(line, " times: "));
        transcript().quiet(true);
        for (int i = 1; i < count; ++i)
            run(line);
        transcript().quiet(false);
        run(line);
    }

    void call(const std::string& line)
    {
        transcript().heading("> " + line);
        const std::string result = callExport(wordsOf(line));
        m_state = stateText();
        transcript().heading(compose("= ", result, " (", m_state, ")"));
    }

    /// If it is another one than the last call left.
    void noteState()
    {
        if (const std::string state = stateText(); state != m_state)
            transcript().heading(compose("= (", m_state = state, ")"));
    }

    /// With each command noted as it comes.
    void listen()
    {
        ostrivane().onCommand = [answer = ostrivane().onCommand](const std::string& command) {
            transcript().happened("sent", command);
            return answer(command);
        };
    }

    void script(std::string line)
    {
        if (line == "as new") {
            m_device.behaveWell();
            return listen();
        }
        if (line == "says null")
            return ostrivane().deliver(nullptr);
        if (takePrefix(line, "says after ")) {
            const int milliseconds = std::stoi(takeUntil(line, ": "));
            return m_device.sayAfter(milliseconds, line);
        }
        if (takePrefix(line, "says"))
            return m_device.say(line.substr(std::min<std::size_t>(1, line.size())));
        Reply& reply = m_device.on(takeUntil(line, ":"));
        takePrefix(line, " ");
        while (!line.empty()) {
            std::string part = takeUntil(line, ", ");
            if (takePrefix(part, "answers ")) {
                std::replace(part.begin(), part.end(), '|', '\x1C');
                reply.answers(part);
            } else if (takePrefix(part, "now ")) {
                reply.says(-1, part);
            } else {
                const int milliseconds = std::stoi(takeUntil(part, " "));
                reply.says(milliseconds, part);
            }
        }
    }

    void makeLibrary(std::string line)
    {
        ScriptedOstrivane& library = ostrivane();
        if (line == "as new") {
            library.canBeLoaded = library.canBeFreed = true;
            library.missingFunctions.clear();
            library.openCode = 0;
            library.openAnswer.clear();
            library.onOpening = nullptr;
        } else if (line == "can't be loaded") {
            library.canBeLoaded = false;
        } else if (line == "can't be freed") {
            library.canBeFreed = false;
        } else if (takePrefix(line, "lacks ")) {
            library.missingFunctions.insert(line);
        } else if (takePrefix(line, "opens with ")) {
            library.openCode = static_cast<std::int16_t>(std::stoi(takeUntil(line, " ")));
            library.openAnswer = line;
        } else if (takePrefix(line, "says ")) {
            library.onOpening = [this, line] { m_device.say(line); };
        } else {
            throw std::runtime_error("no such library");
        }
    }

    Device m_device;
    std::string m_state = stateText();
};

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "sessions <name>\n";
        return 2;
    }
    const std::string name = arguments[1];
    const std::string script = scratch::source(compose("tests/sessions/", name, ".txt"));
    if (script.empty()) {
        std::cerr << "There is no session " << name << ".\n";
        return 2;
    }
    // Never destroyed: the library may close its link as the process ends.
    Session& session = *new Session(name);
    try {
        session.play(script);
    } catch (const std::exception& error) {
        std::cerr << "The session can't go on: " << error.what() << "\n";
        return 2;
    }
}
