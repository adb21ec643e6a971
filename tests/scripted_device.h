// The device of a test: it does what its script says.
#pragma once

#include "scripted_modules.h"
#include "text/compose.h"
#include "virtual_clock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

using Texts = std::vector<std::string>;

/// A device message of the short form: the head, and the text of a "b".
inline std::string head(char letter, int amount, int status, int mode = 1, const std::string& text = "")
{
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "%c%08d%d%d", letter, amount, status, mode);
    return digits.data() + text;
}

/// What the device does on a command.
class Reply {
public:
    /// The status characters of its answers, one after the other; the last one stays.
    Reply& answers(const std::string& statuses)
    {
        m_statuses = statuses;
        return *this;
    }
    /// Inside the call if the time is negative.
    Reply& says(int milliseconds, const std::string& message)
    {
        m_messages.emplace_back(milliseconds, message);
        return *this;
    }
    Reply& says(int milliseconds, const Texts& messages)
    {
        for (const std::string& message : messages)
            says(milliseconds, message);
        return *this;
    }

    char play()
    {
        const char status = m_statuses.front();
        if (m_statuses.size() > 1)
            m_statuses.erase(0, 1);
        for (const auto& [milliseconds, message] : m_messages) {
            if (milliseconds < 0)
                ostrivane().deliver(message);
            else
                virtual_clock::after(milliseconds, [text = message] { ostrivane().deliver(text); });
        }
        return status;
    }

private:
    std::string m_statuses = "0";
    std::vector<std::pair<int, std::string>> m_messages;
};

/// A well-behaved device with the extended command set and short messages, unless told otherwise.
class Device {
public:
    Device() { behaveWell(); }

    void behaveWell()
    {
        m_scripts.clear();
        on("x").says(10, "x---reserved-17---0312AB1C2DEFGHIJKLMNPQRX");
        on("a").says(10, head('a', 0, 0));
        on("b").says(10, head('a', 0, 0, 0));
        on("d").says(10, head('c', 0, 0));
        on("g").says(10, head('a', 0, 3));
        on("h").says(10, head('a', 0, 0));
        on("l").says(10, head('a', 0, 0));
        for (const char* const paying : {"c", "f", "e|1", "e|2", "e|4"})
            on(paying).says(10, head('a', 0, 1)).says(20, head('a', 0, 0));
        ostrivane().onCommand = [this](const std::string& command) {
            // The longest script that the command begins with.
            const auto script = std::find_if(m_scripts.rbegin(), m_scripts.rend(), [&](const auto& each) {
                return command.starts_with(each.first);
            });
            const char status = script == m_scripts.rend() ? '0' : script->second.play();
            return compose(command.front(), '\x1C', status, "word");
        };
    }

    /// Starts the script of all commands that begin like this anew; "|" stands for the separator.
    Reply& on(const std::string& command) { return m_scripts[command] = Reply(); }

    void say(const std::string& message) { ostrivane().deliver(message); }
    void sayAfter(int milliseconds, const std::string& message)
    {
        virtual_clock::after(milliseconds, [=] { ostrivane().deliver(message); });
    }

    /// The commands since this was last asked.
    Texts sent() { return std::exchange(ostrivane().commands, {}); }
    std::string sentLetters()
    {
        std::string letters;
        for (const std::string& command : sent())
            letters += command.front();
        return letters;
    }

private:
    std::map<std::string, Reply> m_scripts;
};
