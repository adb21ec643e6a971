// Exports that open and close a session, and tell what is known of the device.
#include "api/frame.h"

#include "diag/log.h"
#include "logic/ctllogics.h"
#include "platform/clock.h"
#include "text/dates.h"

namespace {

void logDate(const char* name)
{
    logLine(pieces(name, ", date: ", dateText(platform::localTime().calendar, "-")), LOG_DEBUG, LOG_FILE_API);
}

} // namespace

std::int16_t isOpenTL(std::uint32_t* open, char* message)
{
    const auto opened = [open](const std::string& text) { return compose("open=", *open, ": ", text); };
    return Call("isOpenTL", "isOpenTL(open, message)", message)
        .required("open parameter is null", open)
        .initiated([open] {
            *open = 0;
            return "open=0: ";
        })
        .run([&](std::string& text) { return g_logic.isOpen(*open, text); }, opened, opened);
}

std::int16_t infoTL(std::uint32_t* level, char* commands, char* master, char* info, char* message)
{
    const auto levelTold = [level](const std::string& text) { return compose("level=", *level, ": ", text); };
    return Call("infoTL", "infoTL(level, commands, master, info, message)", message)
        .required("level parameter is null", level)
        .required("commands parameter is null", commands)
        .required("master parameter is null", master)
        .required("info parameter is null", info)
        .initiated([&] {
            *level = 0;
            for (char* const text : {commands, master, info})
                handOut("", text);
            return "level=0: ";
        })
        .run(
            [&](std::string& text) {
                std::string commandLetters;
                std::string masterVersion;
                std::string version;
                const std::int16_t result =
                    g_logic.info(*level, commandLetters, masterVersion, version, text);
                if (result == TL_STATUS_OK) {
                    handOut(commandLetters, commands);
                    handOut(masterVersion, master);
                    handOut(version, info);
                }
                return result;
            },
            levelTold, levelTold);
}

std::int16_t loginTL(std::int16_t loginNumber, std::int16_t loginDigits, char* message)
{
    return Call("loginTL", pieces("loginTL(", loginNumber, ", ", loginDigits, ", message)"), message)
        .initiated()
        .run([&](std::string& text) {
            logDate("loginTL");
            return g_logic.login(loginNumber, std::to_string(loginDigits), text);
        });
}

std::int16_t loginStrTL(const char* loginNumberText, const char* loginText, char* message)
{
    const std::string_view number = textOf(loginNumberText);
    const std::string_view digits = textOf(loginText);
    return Call("loginStrTL", pieces("loginStrTL(", number, ", ", digits, ", message)"), message)
        .initiated()
        .run([&](std::string& text) {
            logDate("loginStrTL");
            return g_logic.login(std::string(number), std::string(digits), text);
        });
}

std::int16_t logoutTL(char* message)
{
    return Call("logoutTL", "logoutTL(message)", message).initiated().run([](std::string& text) {
        return g_logic.logout(text);
    });
}
