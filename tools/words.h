// Log lines in words for people.
#pragma once

#include "tools/story.h"

#include <string>
#include <string_view>

namespace tllog {

/// Who does what a line tells; at most eight characters.
const char* actorOf(const Entry& entry);

/// True if the line adds nothing to what the others tell, for those who don't want all.
bool isDetail(const Entry& entry, const Told& told);

/// Adds what the line tells. Control characters come out readable, the separator of fields as "|".
void describe(std::string& text, const Entry& entry, const Told& told);

/// "437.00"
void appendMoney(std::string& text, std::int64_t amount, int decimals);
std::string money(std::int64_t amount, int decimals);

/// "0.504 s", "5 min 12 s", "2 h 3 min"
std::string durationText(Time milliseconds);

/// Adds a text without anything that a terminal would act on.
void appendPrintable(std::string& text, std::string_view raw);

/// "call", "event", "command", "message", "progress", "error", "note", "foreign"
const char* kindName(Mark mark);

} // namespace tllog
