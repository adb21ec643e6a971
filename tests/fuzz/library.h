// What the fuzz targets of the library share: the library as it is after load, on a system in memory, and a
// communication library that does what the input says.
#pragma once

#include "fuzz/bytes.h"

namespace fuzz {

/// Whether lines of the log are looked at one by one, or not made at all where a setting can spare them.
enum class Log { Silent, Checked };

/// The state, settings and queues are as they are after load.
void begin(Log log);

/// And so is the logic, which only targets that call exports need.
void loadLibrary(Log log);

/// Registers callbacks that read all of what they get, or a window.
void listen(bool toWindow);

/// As the communication library's thread would deliver it.
void deliver(const std::string& message);

/// Every line is a message; one behind a "*" comes twenty times.
void deliverLines(Bytes& input);

/// Runs inside each event; null for nothing.
extern std::function<void()> duringEvent;

/// What the communication library answers to the next commands: all that is written into the buffer, up to
/// its end if no NUL comes.
extern std::string nextAnswer;

/// Delivers a message while the library sleeps, so many milliseconds from now.
void deliverAfter(std::int64_t milliseconds, std::string message);

/// The callbacks, for who registers them itself.
void onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode);
void onError(std::int32_t code, const char* text, const char* info);
void onCashLevel(std::int32_t denomination, std::uint16_t number, const char* info);
void onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t number, const char* word,
                    const char* name, const char* warning, const char* info);
void onInformation(const char* text);
void onSession(std::uint16_t type, std::int32_t amount, const char* info);

} // namespace fuzz
