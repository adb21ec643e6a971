// Texts of events that went to a window as a message: they wait here until the application fetches them.
#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

/// First in, first out, at most 100 texts. When it is full the newest is dropped. The lines are what the
/// log says of a refused text and of a fetch that finds nothing.
class EventQueue {
public:
    EventQueue(const char* fullLine, const char* emptyTextLine, const char* nothingLine)
        : m_sFullLine(fullLine), m_sEmptyTextLine(emptyTextLine), m_sNothingLine(nothingLine)
    {}

    /// 0, or 2 if the text wasn't stored.
    std::int16_t push(const std::string& text);
    /// 0 with the oldest text, or 3 with "text" as it was.
    std::int16_t retrieve(std::string& text);

private:
    const char* const m_sFullLine;
    const char* const m_sEmptyTextLine;
    const char* const m_sNothingLine;
    std::mutex m_lock;
    std::deque<std::string> m_texts;
};

std::int16_t pushToErrorQueue(const std::string& text);
std::int16_t pushToCashLevelWarningsQueue(const std::string& text);
std::int16_t pushToCashSessionQueue(const std::string& text);
/// Nobody fetches from this one: it fills up and then only logs.
std::int16_t pushToInformationQueue(const std::string& text);

std::int16_t retrieveFromErrorQueue(std::string& text);
std::int16_t retrieveFromCashLevelWarningsQueue(std::string& text);
std::int16_t retrieveFromCashSessionQueue(std::string& text);

// Process-wide, see process_objects.cpp. They outlive exitTL.
extern EventQueue errorQueue;
extern EventQueue cashLevelWarningsQueue;
extern EventQueue cashSessionQueue;
extern EventQueue informationQueue;
