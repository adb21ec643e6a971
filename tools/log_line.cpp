#include "tools/log_line.h"

#include "text/ascii.h"

#include <algorithm>

namespace tllog {

namespace {

int twoDigits(const char* text)
{
    return isDigit(text[0]) && isDigit(text[1]) ? (text[0] - '0') * 10 + (text[1] - '0') : -1;
}

Mark markOf(char first, char second)
{
    switch (first) {
    case '=':
        return second == '>' ? Mark::Call : second == '=' ? Mark::Progress : Mark::Foreign;
    case '<':
        return second == '=' ? Mark::Event : second == '-' ? Mark::Message : Mark::Foreign;
    case '-':
        return second == '>' ? Mark::Command : Mark::Foreign;
    case '!':
        return second == '!' ? Mark::Error : Mark::Foreign;
    case '#':
        return second == '#' ? Mark::Note : Mark::Foreign;
    default:
        return Mark::Foreign;
    }
}

// "w47 03:16:55.862 ## "
constexpr std::size_t STAMP_WIDTH = 20;
// "2026-11-15 Sun " before it
constexpr std::size_t DATE_WIDTH = 15;

/// The last lines of the mark lack the space behind it where the text is empty and blanks were cut.
bool parseStamp(std::string_view line, LogLine& parsed)
{
    if (line.size() + 1 < STAMP_WIDTH || line[0] != 'w' || line[3] != ' ' || line[6] != ':' ||
        line[9] != ':' || line[12] != '.' || line[16] != ' ')
        return false;
    const int week = twoDigits(&line[1]);
    const int hours = twoDigits(&line[4]);
    const int minutes = twoDigits(&line[7]);
    const int seconds = twoDigits(&line[10]);
    const int hundredths = twoDigits(&line[13]);
    if (week < 0 || week > 53 || hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 ||
        seconds > 60 || hundredths < 0 || !isDigit(line[15]))
        return false;
    const Mark mark = markOf(line[17], line[18]);
    if (mark == Mark::Foreign || (line.size() > 19 && line[19] != ' '))
        return false;
    parsed.mark = mark;
    parsed.week = week;
    parsed.clock = ((hours * 60 + minutes) * 60 + seconds) * 1000 + hundredths * 10 + (line[15] - '0');
    parsed.text = line.substr(std::min(line.size(), STAMP_WIDTH));
    return true;
}

} // namespace

LogLine parseLogLine(std::string_view line)
{
    LogLine parsed;
    parsed.text = line;
    if (line.empty())
        return parsed;
    if (line[0] == 'w') {
        parseStamp(line, parsed);
        return parsed;
    }
    if (line.size() > DATE_WIDTH && isDigit(line[0]) && line[10] == ' ' && line[14] == ' ') {
        const auto day = readDay(line.substr(0, 10));
        if (day && parseStamp(line.substr(DATE_WIDTH), parsed))
            parsed.day = *day;
    }
    return parsed;
}

CallText parseCall(std::string_view text)
{
    const std::size_t open = text.find('(');
    if (open == std::string_view::npos || open == 0)
        return {};
    CallText call{text.substr(0, open), text.substr(open + 1)};
    const std::size_t close = call.arguments.rfind(')');
    if (close != std::string_view::npos)
        call.arguments = call.arguments.substr(0, close);
    if (call.name == "adminModeType")
        call.name = "adminModeTL";
    if (!call.name.ends_with("TL"))
        return {};
    return call;
}

CallEnd parseCallEnd(std::string_view text)
{
    const std::size_t colon = text.find(": ");
    if (colon == std::string_view::npos || colon > 40)
        return {};
    std::string_view after = text.substr(colon + 2);
    const bool good = after.starts_with("Ok! Returning ");
    if (!good && !after.starts_with("Failed! Returning ") && !after.starts_with("Warning! Returning "))
        return {};
    CallEnd end;
    end.name = text.substr(0, colon);
    if (end.name == "dispenseSpecified")
        end.name = "dispenseSpecifiedTL";
    if (!end.name.ends_with("TL"))
        return {};
    after.remove_prefix(after.find("Returning ") + 10);
    end.status = static_cast<int>(leadingNumber(after));
    const std::size_t behind = after.find(": ");
    end.message = behind == std::string_view::npos ? std::string_view() : after.substr(behind + 2);
    if (end.message.starts_with("amountRest=")) {
        end.rest = leadingNumber(end.message.substr(11));
        const std::size_t next = end.message.find(": ");
        end.message = next == std::string_view::npos ? std::string_view() : end.message.substr(next + 2);
    }
    return end;
}

DeviceMessage parseMessage(std::string_view text, bool longForm)
{
    DeviceMessage message;
    if (text.empty())
        return message;
    const char letter = text[0];
    if (letter != 'a' && letter != 'b' && letter != 'c') {
        message.letter = letter;
        message.text = text.substr(1);
        return message;
    }
    if (text.size() < 11)
        return message;
    const std::string_view amount = text.substr(1, 8);
    message.amount = leadingNumber(amount);
    if (message.amount < 0 || (message.amount == 0 && amount != "00000000") || !isDigit(text[9]) ||
        !isDigit(text[10]))
        return message;
    message.status = text[9] - '0';
    message.mode = text[10] - '0';
    if (!longForm)
        message.text = text.substr(11);
    else if (text.size() >= 18)
        message.text = text.substr(18);
    message.letter = letter;
    return message;
}

std::int64_t DeviceCommand::amount(std::size_t field) const
{
    return field < count ? readDigits(fields[field]).value_or(-1) : -1;
}

std::string_view DeviceCommand::receipt() const
{
    switch (letter) {
    case 'c':
        return count > 1 ? fields[1] : std::string_view();
    case 'f':
        return count > 2 ? fields[2] : std::string_view();
    case 'm': {
        const std::size_t hash = whole.find("\x1C#");
        return hash == std::string_view::npos ? std::string_view() : whole.substr(hash + 2);
    }
    default:
        return {};
    }
}

DeviceCommand parseCommand(std::string_view text)
{
    DeviceCommand command;
    if (text.empty() || text[0] < 'A' || text[0] > 'Z')
        return command;
    command.letter = static_cast<char>(text[0] - 'A' + 'a');
    command.whole = text;
    // The receipt may hold anything: the fields before it have their number by the letter.
    const std::size_t most = command.letter == 'c' ? 2 : command.letter == 'f' ? 3 : command.fields.size();
    std::size_t at = text.find(FIELD_SEPARATOR);
    while (at != std::string_view::npos && command.count < most) {
        const std::size_t next =
            command.count + 1 == most ? std::string_view::npos : text.find(FIELD_SEPARATOR, at + 1);
        command.fields[command.count++] =
            text.substr(at + 1, next == std::string_view::npos ? next : next - at - 1);
        at = next;
    }
    return command;
}

std::int64_t valueOfList(std::string_view list)
{
    std::int64_t value = 0;
    std::size_t at = 0;
    while (at < list.size()) {
        std::size_t end = list.find_first_of(",;", at);
        end = end == std::string_view::npos ? list.size() : end;
        const std::string_view entry = list.substr(at, end - at);
        const std::size_t colon = entry.find(':');
        if (colon != std::string_view::npos)
            value += leadingNumber(entry.substr(0, colon)) * leadingNumber(entry.substr(colon + 1));
        at = end + 1;
    }
    return value;
}

std::int64_t leadingNumber(std::string_view text)
{
    std::size_t at = 0;
    const bool negative = !text.empty() && text[0] == '-';
    if (negative)
        at = 1;
    std::int64_t number = 0;
    for (; at < text.size() && isDigit(text[at]) && number < 1'000'000'000'000; ++at)
        number = number * 10 + (text[at] - '0');
    return negative ? -number : number;
}

std::string_view between(std::string_view text, std::string_view before, std::string_view after)
{
    const std::size_t start = text.find(before);
    if (start == std::string_view::npos)
        return {};
    const std::size_t from = start + before.size();
    const std::size_t end = after.empty() ? text.size() : text.find(after, from);
    return end == std::string_view::npos ? std::string_view() : text.substr(from, end - from);
}

const char* markText(Mark mark)
{
    static constexpr std::array<const char*, 8> TEXTS{"=>", "<=", "->", "<-", "==", "!!", "##", "??"};
    return TEXTS[static_cast<std::size_t>(mark)];
}

const char* statusName(int status)
{
    static constexpr std::array<const char*, 14> NAMES{"OK",
                                                       "BUSY",
                                                       "ERROR",
                                                       "WARNING",
                                                       "INPUT_PARAM_ERROR",
                                                       "CLOSED",
                                                       "TIMEOUT",
                                                       "SEND_FAILED",
                                                       "NOT_POSSIBLE",
                                                       "9",
                                                       "AMOUNT_TOO_BIG",
                                                       "PAYOUT_LIMIT",
                                                       "NOT_SUPPORTED",
                                                       "FAILED_TO_COMPLY"};
    return status >= 0 && status < 14 ? NAMES[static_cast<std::size_t>(status)] : "?";
}

const char* deviceStatusWords(int status)
{
    switch (status) {
    case 0:
        return "ready";
    case 1:
        return "busy";
    case 2:
        return "ERROR";
    case 3:
        return "ready, pay-in off";
    default:
        return "status ?";
    }
}

const char* deviceModeWords(int mode)
{
    switch (mode) {
    case 0:
        return "closed";
    case 1:
        return "open";
    case 2:
        return "not opened";
    case 3:
        return "administration";
    default:
        return "mode ?";
    }
}

bool isPayCall(std::string_view name)
{
    static constexpr std::array<std::string_view, 8> NAMES{"payoutTL",  "payout2TL",          "amountDueTL",
                                                           "depositTL", "dispenseTL",         "changeTL",
                                                           "regretTL",  "dispenseSpecifiedTL"};
    return std::find(NAMES.begin(), NAMES.end(), name) != NAMES.end();
}

} // namespace tllog
