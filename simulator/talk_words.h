// The talk between till and device in words, for people who watch it.
#pragma once

#include "simulator/cash.h"

namespace simulator {

std::string wordsOfCommand(std::string_view command, int decimals);
std::string wordsOfAnswer(std::string_view answer);

/// "longForm": how the text of the message is to be read.
std::string wordsOfMessage(std::string_view message, bool longForm, int decimals);

} // namespace simulator
