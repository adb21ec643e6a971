// The library's exports, called by name with what a session's line gives for their parameters.
#pragma once

#include <functional>
#include <string>
#include <vector>

/// A word of a line, or a text in quotes.
struct Word {
    std::string text;
    bool quoted = false;
};

/// Calls "words[0]" with the words behind it, the message last unless the line names it. What came back:
/// the status, then what was handed out. Throws std::runtime_error if the line can't be such a call.
std::string callExport(const std::vector<Word>& words);

/// Runs inside the next event, once.
extern std::function<void()> duringEvent;
