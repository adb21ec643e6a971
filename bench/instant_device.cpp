#include "bench/instant_device.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <thread>

namespace {

using namespace std::literals;

BenchCallback callback = nullptr;
std::jthread later;

void say(const char* message)
{
    callback(message);
}

/// After the round of a wait that is sure to see what was said before.
void sayAfterTheNextRound(const char* message)
{
    later = std::jthread([message] {
        std::this_thread::sleep_for(14ms);
        callback(message);
    });
}

/// What the device says to a command, before the command returns.
void obey(std::string_view command)
{
    switch (command.front()) {
    case 'x':
        return say("x---reserved-17---0312AB1C2DEFGHIJKLMNPQRVX");
    case 'v':
        return say("v006API4.2");
    case 'a': // log in
    case 'h': // pay-in enabled
    case 'l': // the total amount
        return say("a0000010001");
    case 'b': // log out
        return say("a0000000000");
    case 'd': // can it be paid?
        return say("c0000000001");
    case 'g': // pay-in disabled
        return say("a0000000031");
    case 'c':
    case 'f':
    case 'e': // any way of giving money
        return say("a0000010011");
    case 'i':
    case 'j':
        return say("j100:2:1,500:3:1;2000:4:0.");
    case 'k': // administration
        return say("a0000000033");
    case 'p': // the end of a replenishment
        say("e00.33");
        return sayAfterTheNextRound("a0000000033");
    case 'm':
    case 'n':
    case 'q':
    case 'r':
        return say("e00.33");
    default:
        return;
    }
}

} // namespace

BenchCallback bench_callback()
{
    return callback;
}

extern "C" {

void tl_initiate2(BenchCallback given, const char*, char* answer, std::int16_t* returnCode)
{
    callback = given;
    answer[0] = '\0';
    *returnCode = 0;
}

void tl_dini(void*, char*) {}

void tl_loggedout(const char*, char* answer)
{
    answer[0] = '\0';
}

void tl_002(const char* command, char* answer)
{
    if (later.joinable())
        later.join();
    obey(command);
    answer[0] = command[0];
    std::strcpy(answer + 1, "\x1C"
                            "0Done");
}

} // extern "C"
