// What a test of the library starts from: an application with all its events, a device that does what its
// script says, a virtual clock, and the log files as they grow.
#pragma once

#include "api/tllogics.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "scratch.h"
#include "scripted_modules.h"
#include "text/compose.h"
#include "virtual_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <tuple>
#include <utility>

using Texts = std::vector<std::string>;

// Nobody's handle on either platform: what is posted to it is lost.
inline const TLWindowHandle nobody = reinterpret_cast<TLWindowHandle>(std::intptr_t{99999});

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

/// Calls an export; the status and the message, as "0 Done".
template <typename... Parameters, typename... Arguments>
std::string call(std::int16_t (*function)(Parameters...), const Arguments&... arguments)
{
    std::array<char, 1024> message{"(untouched)"};
    const int status = std::apply(function, std::tuple<Parameters...>(arguments..., message.data()));
    return std::to_string(status) + " " + message.data();
}

class Till : public testing::Test {
protected:
    Till() { ostrivane().ownPath = scratch::path("library/tllogics.dll"); }

    void SetUp() override { forget(); }

    static void registerEvents()
    {
        ASSERT_EQ("0 Done",
                  call(registerEvents23TL, onStatus, onError, onCashLevel, onLevelWarning, onSession));
        ASSERT_EQ("0 Done",
                  call(registerEvents4TL, onStatus, onError, onLevelWarning, onInformation, onSession));
    }

    void init(const std::string& settings = "")
    {
        registerEvents();
        ASSERT_EQ("0 Done", call(initTL, "Type:RS232;Name:COM7;", settings.c_str()));
        forget();
    }

    /// An open session, pay-in enabled.
    void open(const std::string& settings = "")
    {
        init(settings);
        ASSERT_EQ("0 Done", call(loginTL, 7, 5));
        forget();
    }

    /// The device's newer kind, whose messages are of the long form.
    void openLong(const std::string& settings = "")
    {
        device.on("x").says(10, "x---reserved-17---0312ABCDEFGHIJKLMNPQRVX");
        device.on("v").says(10, "v106API4.2 and what is cut");
        open(settings);
    }

    /// Drops what happened so far.
    void forget()
    {
        device.sent();
        heard.clear();
        ostrivane().calls.clear();
        apiLog();
        logicLog();
        errorLog();
    }

    /// The lines since this was last asked, without their time stamps, of a file in the log directory.
    Texts lines(const std::string& file)
    {
        const std::size_t stamp = file.find("tlerror") == std::string::npos ? 17 : 32;
        std::istringstream stream(scratch::read("logs/" + file));
        Texts found;
        std::size_t number = 0;
        for (std::string line; std::getline(stream, line); ++number) {
            std::erase(line, '\r');
            if (number >= m_seen[file])
                found.push_back(line.size() < stamp ? line : line.substr(stamp));
        }
        m_seen[file] = number;
        return found;
    }
    Texts apiLog() { return lines("tlapi_Sun.log"); }
    Texts logicLog() { return lines("tllogic_Sun.log"); }
    Texts errorLog() { return lines("tlerror_Nov.log"); }

    /// Events as the application got them since it was last asked, "status 0 0 1".
    static Texts happened() { return std::exchange(heard, {}); }

    /// Runs inside every event.
    static inline std::function<void()> duringEvent;

    template <typename... Fields>
    static void note(const char* event, const Fields&... fields)
    {
        heard.push_back(event);
        ((heard.back() += compose(" ", fields)), ...);
        if (duringEvent)
            duringEvent();
    }
    static void onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode)
    {
        note("status", amount, status, mode);
    }
    static void onError(std::int32_t code, const char* text, const char* info)
    {
        note("error", code, text, info);
    }
    static void onCashLevel(std::int32_t denomination, std::uint16_t number, const char* info)
    {
        note("level", denomination, number, info);
    }
    static void onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t number,
                               const char* word, const char* name, const char* warning, const char* info)
    {
        note("warning", type, denomination, number, word, name, warning, info);
    }
    static void onInformation(const char* text) { note("information", text); }
    static void onSession(std::uint16_t type, std::int32_t amount, const char* info)
    {
        note("session", type, amount, info);
    }

    Device device;

private:
    static inline Texts heard;
    std::map<std::string, std::size_t> m_seen;
};

/// By the steps that lead there.
inline void setLowLevelWarning(int value)
{
    g_nCurrentLowLevelWarningState.assumeLow();
    if (value < LOW_LEVEL_WARNING_TRUE)
        g_nCurrentLowLevelWarningState.beginPayOut();
    if (value < LOW_LEVEL_WARNING_TRUE_PENDING)
        g_nCurrentLowLevelWarningState.endPayOut();
    if (value == LOW_LEVEL_WARNING_FALSE_PENDING)
        g_nCurrentLowLevelWarningState.beginPayOut();
}

/// How often a text is part of a line.
inline int countOf(const std::string& text, const Texts& lines)
{
    int count = 0;
    for (const std::string& line : lines)
        count += line.find(text) != std::string::npos;
    return count;
}
