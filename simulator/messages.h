// The texts that the device sends.
#pragma once

#include "simulator/drawer.h"

namespace simulator {

/// Kind, code and text behind the head of a long message. Short messages carry the text alone.
struct MessageTail {
    int kind = 0; // 0 no code, 3 information, any other: the code says what it is
    int code = 0; // 0 to 9999
    std::string text = {};
};

/// "letter" a, b or c; "amount" 0 to 99999999; "status" and "mode" one digit each.
std::string statusMessage(char letter, Amount amount, int status, int mode, const MessageTail& tail,
                          bool longForm);

/// An amount as people write it: "100" or "0,50".
std::string majorUnits(Amount amount, int decimals);

MessageTail levelTail(const LevelReport& report, const Settings& settings);
MessageTail errorTail(int code);
MessageTail rejectedTail(bool longForm);
MessageTail restTail(Amount rest, const Settings& settings, bool longForm);

/// "prefix" of five characters and the amount in eight digits.
MessageTail sessionTail(const std::string& prefix, Amount amount);

/// The parts of a count answer.
std::vector<std::string> countMessages(const CashList& list, std::size_t partSize);

/// How the parts of a record answer are cut. Whole: each part is a list of its own and ends in ".".
/// Running: the parts put together are one list; only the last ends in ".".
enum class RecordForm { Whole, Running };

/// The parts of a record answer: what was done in records of kind 0, and what was not in records of
/// kind 1, of which there are none if all was done.
std::vector<std::string> recordMessages(const CashList& done, const CashList& undone, RecordForm undoneForm,
                                        std::size_t partSize, int status, int mode);

} // namespace simulator
