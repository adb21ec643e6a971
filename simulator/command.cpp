#include "simulator/command.h"

#include <algorithm>

namespace simulator {

namespace {

using Fields = std::vector<std::string_view>;

Fields splitFields(std::string_view text)
{
    Fields fields;
    std::size_t separator = text.find(FIELD_SEPARATOR);
    while (separator != std::string_view::npos) {
        fields.push_back(text.substr(0, separator));
        text.remove_prefix(separator + 1);
        separator = text.find(FIELD_SEPARATOR);
    }
    fields.push_back(text);
    return fields;
}

bool isDigits(std::string_view text, std::size_t length)
{
    return text.size() == length && parseNumber(text).has_value();
}

bool readAmount(std::string_view field, Amount& amount)
{
    if (!isDigits(field, 8))
        return false;
    amount = *parseNumber(field);
    return true;
}

/// "number" gets one of the digits from "least" to "most".
bool readDigit(std::string_view field, int least, int most, int& number)
{
    if (!isDigits(field, 1))
        return false;
    number = *parseNumber(field);
    return number >= least && number <= most;
}

bool readNumber(std::string_view field, int& number)
{
    const auto value = parseNumber(field);
    number = value.value_or(0);
    return value.has_value();
}

/// "#" and the transaction id, which may be empty.
bool readMarkedId(std::string_view field, std::string& id)
{
    if (!field.starts_with('#'))
        return false;
    id = field.substr(1);
    return true;
}

/// Date, hour, minute and the text behind its length.
bool readLongLogin(std::string_view text, Command& command)
{
    constexpr std::size_t HEAD_LENGTH = 15;
    if (text.size() < HEAD_LENGTH || !isDigits(text.substr(1, 8), 8) || !isDigits(text.substr(9, 6), 6))
        return false;
    command.text = text.substr(HEAD_LENGTH);
    return command.text.size() == static_cast<std::size_t>(*parseNumber(text.substr(13, 2)));
}

bool readLogin(std::string_view text, const Fields& fields, Command& command)
{
    if (fields.size() == 1)
        return readLongLogin(text, command);
    return fields.size() == 4 && fields[0].size() == 1 && isDigits(fields[1], 2) && isDigits(fields[2], 2) &&
           isDigits(fields[3], 4);
}

/// The amount, and the transaction id if there is one.
bool readDispense(const Fields& fields, Command& command)
{
    if (fields.size() < 2 || fields.size() > 3 || !readAmount(fields[1], command.amount))
        return false;
    command.text = fields.size() == 3 ? fields[2] : "";
    return true;
}

bool readPayOut(const Fields& fields, Command& command)
{
    if (fields.size() < 3 || fields.size() > 4)
        return false;
    command.text = fields.size() == 4 ? fields[3] : "";
    return readAmount(fields[1], command.amount) && readAmount(fields[2], command.deposit);
}

bool readDispenseList(const Fields& fields, Command& command)
{
    if (fields.size() != 3 || fields[1].empty() || !readDigit(fields[1].substr(0, 1), 0, 2, command.number))
        return false;
    const auto list = CashList::parse(fields[1].substr(1));
    command.list = list.value_or(CashList{});
    return list && readMarkedId(fields[2], command.text);
}

bool readFields(std::string_view text, const Fields& fields, Command& command)
{
    const bool one = fields.size() == 2;
    switch (command.letter) {
    case 'a':
        return readLogin(text, fields, command);
    case 'b':
    case 'g':
    case 'h':
    case 'i':
    case 'j':
        return text.size() == 1;
    case 'c':
        return readDispense(fields, command);
    case 'd':
    case 'l':
        return one && readAmount(fields[1], command.amount);
    case 'e':
        return one && readDigit(fields[1], 1, 4, command.number);
    case 'f':
        return readPayOut(fields, command);
    case 'k':
        return one && readDigit(fields[1], 1, 2, command.number);
    case 'm':
        return readDispenseList(fields, command);
    case 'n':
        return one && !fields[1].empty() && readDigit(fields[1].substr(0, 1), 1, 2, command.number) &&
               readMarkedId(fields[1].substr(1), command.text);
    case 'p':
        return fields.size() == 3 && fields[1].empty() && readMarkedId(fields[2], command.text);
    case 'q':
    case 'r':
        return one && readNumber(fields[1], command.number);
    case 'v':
        return one && fields[1].empty();
    case 'x':
        command.text = one ? fields[1] : "";
        return one && command.text.size() == 17;
    default:
        return false;
    }
}

} // namespace

std::optional<Command> parseCommand(std::string_view text)
{
    Command command;
    command.letter = text.empty() ? '\0' : text.front();
    if (!readFields(text, splitFields(text), command))
        return std::nullopt;
    return command;
}

} // namespace simulator
