#include "simulation/replay/tape_replay.h"

#include "simulation/replay/invoke.h"
#include "simulation/tape.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace simulation {

TapeReplay::TapeReplay(const std::string& path)
{
    std::ifstream stream(path);
    if (!stream)
        throw std::runtime_error(path + " can't be read");
    for (std::string line; std::getline(stream, line);) {
        Line parsed = Line::parse(line, nullptr, false);
        if (parsed.is_discarded() || !parsed.contains("at"))
            break; // the end was cut off
        m_lines.push_back(std::move(parsed));
    }
    setCommunicationLibrary(this);
    virtualSystem().onSleep = [this](Milliseconds time) { sayUntil(virtualSystem().now() + time); };
}

TapeReplay::~TapeReplay()
{
    setCommunicationLibrary(nullptr);
    virtualSystem().onSleep = [](Milliseconds) {};
}

void TapeReplay::differ(const std::string& what)
{
    if (m_difference.empty())
        m_difference = "line " + std::to_string(m_at + 1) + " of the tape: " + what;
}

void TapeReplay::sayUntil(Milliseconds end)
{
    while (isAt("said") && timeOfLine() <= end) {
        virtualSystem().setNow(std::max(virtualSystem().now(), timeOfLine()));
        const std::string message = asBytes(m_lines[m_at++].at("said").get<std::string>());
        if (m_callback != nullptr)
            m_callback(message.c_str());
    }
    virtualSystem().setNow(end);
}

int TapeReplay::open(Callback callback)
{
    if (!isAt("opened")) {
        differ("the link was opened");
        return 0;
    }
    const int code = m_lines[m_at++].at("opened").get<int>();
    m_callback = code == 0 ? callback : nullptr;
    return code;
}

std::string TapeReplay::command(std::string_view text)
{
    if (!isAt("sent") || asBytes(m_lines[m_at].at("sent").get<std::string>()) != text) {
        differ("the command \"" + std::string(text) + "\" was sent");
        return "?";
    }
    ++m_at;
    while (isAt("said"))
        sayUntil(timeOfLine());
    if (!isAt("answered"))
        return "?";
    virtualSystem().setNow(timeOfLine());
    return asBytes(m_lines[m_at++].at("answered").get<std::string>());
}

std::string TapeReplay::run()
{
    while (m_at < m_lines.size() && m_difference.empty()) {
        const Line& line = m_lines[m_at];
        if (line.contains("said")) {
            sayUntil(timeOfLine());
            continue;
        }
        virtualSystem().setNow(timeOfLine());
        ++m_at;
        if (line.contains("environment")) {
            for (const auto& [name, value] : line.at("environment").items())
                virtualSystem().environment[name] = value.get<std::string>();
        } else if (line.contains("file")) {
            virtualSystem().files[line.at("file").get<std::string>()] =
                asBytes(line.at("text").get<std::string>());
        } else if (line.contains("call")) {
            const auto name = line.at("call").get<std::string>();
            const Invoked invoked = invoke(name, line.at("args"));
            if (!isAt("returned"))
                differ(name + " returned");
            else if (m_lines[m_at].at("returned") != invoked.status ||
                     asBytes(m_lines[m_at].at("message").get<std::string>()) != invoked.message)
                differ(name + " returned " + std::to_string(invoked.status) + " \"" + invoked.message + "\"");
            ++m_at;
        } else {
            differ("it stands outside of a call");
        }
    }
    return m_difference;
}

} // namespace simulation
