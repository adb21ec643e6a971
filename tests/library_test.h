// What a test of the library starts from: an application with all its events, a device that does what its
// script says, a virtual clock, and the log files as they grow.
#pragma once

#include "api/tllogics.h"
#include "logic/low_level_warning.h"
#include "logic/shared_state.h"
#include "scratch.h"
#include "scripted_device.h"
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

// Nobody's handle on either platform: what is posted to it is lost.
inline const TLWindowHandle nobody = reinterpret_cast<TLWindowHandle>(std::intptr_t{99999});

/// Calls an export; the status and the message, as "0 Done".
template <typename... Parameters, typename... Arguments>
std::string call(std::int16_t (*function)(Parameters...), const Arguments&... arguments)
{
    std::array<char, 1024> message{"(untouched)"};
    const int status = std::apply(function, std::tuple<Parameters...>(arguments..., message.data()));
    return std::to_string(status) + " " + message.data();
}

class LibraryTest : public testing::Test {
protected:
    LibraryTest() { ostrivane().ownPath = scratch::path("library/tllogics.dll"); }

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
