#include "tools/words.h"

#include <array>
#include <cstdlib>

namespace tllog {

namespace {

void appendNumber(std::string& text, std::int64_t number)
{
    text += std::to_string(number);
}

bool isSeparatorLine(std::string_view text)
{
    return text.starts_with("====") && text.find_first_not_of('=') == std::string_view::npos;
}

bool isPlainProgress(std::string_view text)
{
    return text.find("is Busy. Wait") == std::string_view::npos &&
           text.find("giving up") == std::string_view::npos;
}

/// Settings as they always are, and what every start says.
bool isPlainNote(std::string_view text)
{
    if (isSeparatorLine(text) || text.ends_with("(default value)"))
        return true;
    static constexpr std::array<std::string_view, 14> PLAIN{
        "Session Starting",
        "Session Ending",
        "CTLLogics::",
        "Library Name",
        "Library Path",
        "Windows x64",
        "tllang.ini Path",
        "CTLLogics::getIniFileSettings: Environment",
        "CTLLogics::getIniFileSettings: Read environment",
        "CTLLogics::getIniFileSettings: Settings file",
        "CTLSettings::NewSettings: Failed to get LevelWarningFilter",
        "CTLLogics::~CTLLogics",
        "CTLLogics::initialize: IPName",
        "CTLLogics::CTLLogics"};
    if (text.find("from ini file") != std::string_view::npos ||
        text.find("About to") != std::string_view::npos ||
        text.find("supplied parameter") != std::string_view::npos)
        return false;
    for (const std::string_view plain : PLAIN)
        if (text.starts_with(plain))
            return true;
    return false;
}

/// "1200, 7500, \"SALE-1\", message" without the message.
std::string_view withoutMessage(std::string_view arguments)
{
    for (const std::string_view end : {", message", "message"})
        if (arguments.ends_with(end))
            return arguments.substr(0, arguments.size() - end.size());
    return arguments;
}

void describeCall(std::string& text, const Entry& entry, int decimals)
{
    const CallText call = parseCall(entry.text);
    if (call.name.empty()) {
        appendPrintable(text, entry.text);
        return;
    }
    text += call.name;
    text += '(';
    appendPrintable(text, withoutMessage(call.arguments));
    text += ')';
    const std::int64_t first = leadingNumber(call.arguments);
    const auto say = [&](const char* what, std::int64_t amount) {
        text += what;
        appendMoney(text, amount, decimals);
    };
    if (call.name == "payoutTL" || call.name == "payout2TL") {
        const std::size_t comma = call.arguments.find(", ");
        say(": pay out ", first);
        if (comma != std::string_view::npos)
            say(", keep ", leadingNumber(call.arguments.substr(comma + 2)));
    } else if (call.name == "amountDueTL") {
        say(": the sale costs ", first);
    } else if (call.name == "dispenseTL") {
        say(": pay out ", first);
    } else if (call.name == "askPayoutTL" || call.name == "askPayout2TL") {
        say(": could it pay ", first);
        text += '?';
    } else if (call.name == "informTotalAmountTL") {
        say(": the total is ", first);
    } else if (call.name == "depositTL") {
        text += ": keep what is paid in";
    } else if (call.name == "changeTL") {
        text += ": change what is paid in";
    } else if (call.name == "regretTL") {
        text += first == 0 ? ": give the last note back" : ": give everything back";
    }
}

void describeEnd(std::string& text, const Told& told, const CallEnd& end)
{
    text += end.name;
    text += end.status == 0 ? " done" : " FAILED: ";
    if (end.status != 0) {
        appendNumber(text, end.status);
        text += ' ';
        text += statusName(end.status);
    }
    if (!end.message.empty() && !end.message.ends_with("Done")) {
        text += ", ";
        appendPrintable(text, end.message);
    }
    if (end.rest && *end.rest != 0) {
        text += ", rest ";
        appendMoney(text, *end.rest, told.decimals);
    }
    if (told.duration) {
        text += " (";
        text += durationText(*told.duration);
        text += ')';
    }
}

void describeCommand(std::string& text, const Entry& entry, int decimals)
{
    const DeviceCommand command = parseCommand(entry.text);
    appendPrintable(text, entry.text);
    const auto say = [&](const char* what, std::int64_t amount) {
        text += what;
        appendMoney(text, amount, decimals);
    };
    switch (command.letter) {
    case 'a':
        text += "  log in";
        break;
    case 'b':
        text += "  log out";
        break;
    case 'c':
        say("  pay out ", command.amount(0));
        break;
    case 'd':
        say("  can you pay ", command.amount(0));
        text += '?';
        break;
    case 'e': {
        const char how = command.count > 0 && !command.fields[0].empty() ? command.fields[0][0] : '?';
        text += how == '1'   ? "  change what is paid in"
                : how == '2' ? "  give the last note back"
                : how == '3' ? "  reset"
                             : "  give everything back";
        break;
    }
    case 'f':
        say("  pay out ", command.amount(0));
        say(", keep ", command.amount(1));
        break;
    case 'g':
        text += "  close pay-in";
        break;
    case 'h':
        text += "  open pay-in";
        break;
    case 'i':
    case 'j':
        text += "  count";
        break;
    case 'k':
        text += entry.text.ends_with("1") ? "  administration mode" : "  leave administration mode";
        break;
    case 'l':
        say("  the total is ", command.amount(0));
        break;
    case 'm':
        text += "  pay out these pieces";
        break;
    case 'n':
        text += "  collect down to the float";
        break;
    case 'p':
        text += "  replenishing is over";
        break;
    case 'q':
        text += "  purge";
        break;
    case 'r':
        text += "  unlock";
        break;
    case 'v':
        text += "  your version?";
        break;
    case 'x':
        text += "  your commands?";
        break;
    default:
        break;
    }
}

void describeMessage(std::string& text, const Entry& entry, const Told& told)
{
    const DeviceMessage message = told.message.value_or(parseMessage(entry.text, false));
    switch (message.letter) {
    case 'a':
    case 'b':
        text += deviceStatusWords(message.status);
        if (message.mode != 1) {
            text += ", ";
            text += deviceModeWords(message.mode);
        }
        if (message.amount != 0) {
            text += ", ";
            appendMoney(text, message.amount, told.decimals);
            text += message.mode == 3 ? " filled in" : " paid in";
        }
        if (told.paidInChange && message.mode != 3) {
            text += *told.paidInChange > 0 ? " (+" : " (";
            appendMoney(text, *told.paidInChange, told.decimals);
            text += ')';
        }
        if (!message.text.empty()) {
            text += ": ";
            appendPrintable(text, message.text);
        }
        break;
    case 'c':
        if (message.status == 1) {
            text += "REST: ";
            appendMoney(text, message.amount, told.decimals);
            text += " did NOT come out";
        } else if (message.amount == 0) {
            text += "it can pay that";
        } else {
            appendMoney(text, message.amount, told.decimals);
            text += " of that can't be paid";
        }
        break;
    case 'e':
        text += message.text.starts_with("1") ? "NOT moved " : "moved ";
        appendPrintable(text, message.text.substr(message.text.empty() ? 0 : 1));
        break;
    case 'j':
        text += "count ";
        appendPrintable(text, message.text);
        break;
    default:
        appendPrintable(text, entry.text);
        break;
    }
}

} // namespace

const char* actorOf(const Entry& entry)
{
    switch (entry.mark) {
    case Mark::Call:
        return entry.file->family == Family::Api ? "till" : "library";
    case Mark::Event:
        return "event";
    case Mark::Command:
        return "command";
    case Mark::Message:
        return "device";
    case Mark::Error:
        return entry.file->family == Family::Api ? "till" : "library";
    case Mark::Progress:
        return entry.file->family == Family::Api ? "till" : "library";
    case Mark::Note:
        return "note";
    default:
        return "?";
    }
}

bool isDetail(const Entry& entry, const Told& told)
{
    if (entry.torn)
        return false;
    if (told.again || told.inner)
        return true;
    switch (entry.mark) {
    case Mark::Progress:
        return parseCallEnd(entry.text).name.empty() && isPlainProgress(entry.text);
    case Mark::Note:
        return isPlainNote(entry.text);
    case Mark::Message:
        return entry.text.starts_with("x") || entry.text.starts_with("v");
    case Mark::Command:
        return entry.text.starts_with("X\x1C") || entry.text.starts_with("V");
    default:
        return false;
    }
}

void describe(std::string& text, const Entry& entry, const Told& told)
{
    if (entry.torn) {
        text += "torn line: ";
        appendPrintable(text, entry.text);
        return;
    }
    switch (entry.mark) {
    case Mark::Call:
        describeCall(text, entry, told.decimals);
        return;
    case Mark::Command:
        describeCommand(text, entry, told.decimals);
        return;
    case Mark::Message:
        describeMessage(text, entry, told);
        return;
    case Mark::Progress:
    case Mark::Error:
        if (const CallEnd end = parseCallEnd(entry.text); !end.name.empty()) {
            describeEnd(text, told, end);
            return;
        }
        break;
    default:
        break;
    }
    appendPrintable(text, entry.text);
}

void appendMoney(std::string& text, std::int64_t amount, int decimals)
{
    std::int64_t unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    if (amount < 0)
        text += '-';
    const std::int64_t value = amount < 0 ? -amount : amount;
    appendNumber(text, value / unit);
    if (decimals == 0)
        return;
    text += '.';
    const std::string fraction = std::to_string(value % unit);
    text.append(static_cast<std::size_t>(decimals) - fraction.size(), '0');
    text += fraction;
}

std::string money(std::int64_t amount, int decimals)
{
    std::string text;
    appendMoney(text, amount, decimals);
    return text;
}

std::string durationText(Time milliseconds)
{
    std::string text;
    if (milliseconds < 60'000) {
        appendMoney(text, milliseconds, 3);
        text += " s";
        return text;
    }
    const std::int64_t seconds = milliseconds / 1000;
    if (seconds < 3600)
        return std::to_string(seconds / 60) + " min " + std::to_string(seconds % 60) + " s";
    if (seconds < 48 * 3600)
        return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
    return std::to_string(seconds / 86400) + " days";
}

void appendPrintable(std::string& text, std::string_view raw)
{
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    for (const char character : raw) {
        const auto code = static_cast<unsigned char>(character);
        if (character == FIELD_SEPARATOR) {
            text += '|';
        } else if (code < 0x20 || code == 0x7F) {
            text += "\\x";
            text += DIGITS[code >> 4];
            text += DIGITS[code & 15];
        } else {
            text += character;
        }
    }
}

const char* kindName(Mark mark)
{
    static constexpr std::array<const char*, 8> NAMES{"call",     "event", "command", "message",
                                                      "progress", "error", "note",    "foreign"};
    return NAMES[static_cast<std::size_t>(mark)];
}

} // namespace tllog
