#include "simulator/talk_words.h"

#include "simulator/command.h"

#include <array>

namespace simulator {

namespace {

constexpr std::size_t STATUS_AT = 9;
constexpr std::size_t MODE_AT = 10;
constexpr std::size_t HEAD_LENGTH = 11;
constexpr std::size_t LONG_HEAD_LENGTH = 18;

std::string wordsOf(const Command& command, int decimals)
{
    const std::string amount = moneyText(command.amount, decimals);
    constexpr std::array<const char*, 4> E_COMMANDS{"change what is paid in", "give the last note back",
                                                    "reset", "give everything back"};
    switch (command.letter) {
    case 'a':
        return "log in";
    case 'b':
        return "log out";
    case 'c':
        return "dispense " + amount;
    case 'd':
        return "can " + amount + " be paid out?";
    case 'e':
        return E_COMMANDS[static_cast<std::size_t>(command.number - 1)];
    case 'f':
        return "pay out " + amount + ", keep " + moneyText(command.deposit, decimals);
    case 'g':
        return "close pay-in";
    case 'h':
        return "open pay-in";
    case 'i':
        return "count everything";
    case 'j':
        return "count";
    case 'k':
        return command.number == 1 ? "administration mode on" : "administration mode off";
    case 'l':
        return "the total is " + amount;
    case 'm':
        return "pay out the pieces " + command.list.text();
    case 'n':
        return "collect down to the float";
    case 'p':
        return "end of replenishing";
    case 'q':
        return command.number == 0 ? "empty everything" : "empty unit " + std::to_string(command.number);
    case 'r':
        return "unlock " + std::to_string(command.number);
    case 'v':
        return "which version?";
    default:
        return "which commands?";
    }
}

const char* statusWords(char status)
{
    switch (status) {
    case '0':
        return "ready";
    case '1':
        return "busy";
    case '2':
        return "error";
    case '3':
        return "ready, pay-in closed";
    default:
        return "unknown status";
    }
}

const char* modeWords(char mode)
{
    switch (mode) {
    case '0':
        return "closed, ";
    case '1':
        return "";
    case '2':
        return "not opened, ";
    case '3':
        return "administration, ";
    default:
        return "unknown mode, ";
    }
}

std::string headWords(std::string_view message, int decimals)
{
    if (message.size() < HEAD_LENGTH)
        return "cut off";
    const auto amount = parseNumber(message.substr(1, 8));
    std::string words = std::string(modeWords(message[MODE_AT])) + statusWords(message[STATUS_AT]);
    if (!amount)
        return words + ", unreadable amount";
    if (message.front() == 'c')
        return words + ", " + moneyText(*amount, decimals) + " does not come out";
    if (*amount > 0)
        words += ", paid in " + moneyText(*amount, decimals);
    return words;
}

std::string recordWords(std::string_view message)
{
    const std::size_t end = std::min(message.find('.'), message.size());
    if (message.size() < 2)
        return "cut off";
    return (message[1] == '1' ? "not done: " : "done: ") + std::string(message.substr(2, end - 2));
}

} // namespace

std::string wordsOfCommand(std::string_view text, int decimals)
{
    const auto command = parseCommand(text);
    return command ? wordsOf(*command, decimals) : "no such command";
}

std::string wordsOfAnswer(std::string_view answer)
{
    switch (answer.size() > 2 ? answer[2] : '\0') {
    case '0':
        return "taken";
    case '1':
        return "busy";
    case '2':
        return "refused";
    case '3':
        return "closed";
    case '7':
        return "lost";
    default:
        return "refused in its own way";
    }
}

std::string wordsOfMessage(std::string_view message, bool longForm, int decimals)
{
    const std::size_t textAt = longForm ? LONG_HEAD_LENGTH : HEAD_LENGTH;
    switch (message.empty() ? '\0' : message.front()) {
    case 'a':
    case 'c':
        return headWords(message, decimals);
    case 'b':
        return headWords(message, decimals) +
               (message.size() > textAt ? ": " + std::string(message.substr(textAt)) : "");
    case 'e':
        return recordWords(message);
    case 'j':
        return "counted: " + std::string(message.substr(1));
    case 'v':
        return "version " + std::string(message.substr(std::min<std::size_t>(4, message.size())));
    case 'x':
        return "commands " + std::string(message.substr(std::min<std::size_t>(22, message.size())));
    default:
        return "no such message";
    }
}

} // namespace simulator
