#include "tools/explain.h"

#include "text/ascii.h"
#include "tools/log_line.h"
#include "tools/statuses.h"

#include <algorithm>
#include <map>

namespace tllog {

namespace {

std::string lowered(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char each) { return lowerCase(each); });
    return lower;
}

void print(const StatusMeaning& meaning, const std::string& calls, Printer& printer)
{
    const auto say = [&](const char* head, std::string_view text) {
        if (!text.empty() && text != "-")
            printer.line(head, text, Tone::Plain, "            ");
    };
    printer.line("", calls + ": " + std::to_string(meaning.status) + " " + statusName(meaning.status),
                 Tone::Strong, "  ");
    say("  means     ", meaning.meaning);
    say("  money     ", meaning.money == "no"    ? "none has moved"
                        : meaning.money == "yes" ? "it has moved"
                                                 : "it may have moved");
    say("  again     ", meaning.retry);
    say("  ask       ", meaning.ask);
    say("  cashier   ", meaning.cashier);
    say("  messages  ", meaning.messages);
}

void printJson(const StatusMeaning& meaning, Printer& printer)
{
    JsonLine("explanation")
        .text("call", meaning.call)
        .number("status", std::int64_t{meaning.status})
        .text("meaning", meaning.meaning)
        .text("money", meaning.money)
        .text("retry", meaning.retry)
        .text("ask", meaning.ask)
        .text("cashier", meaning.cashier)
        .text("messages", meaning.messages)
        .print(printer);
}

/// True if one of the messages, or all of the text behind a line's last colon, is what is asked for.
bool hasMessage(const StatusMeaning& meaning, const std::string& asked)
{
    std::string_view rest = meaning.messages;
    while (!rest.empty()) {
        const std::size_t bar = std::min(rest.find(" | "), rest.size());
        const std::string message = lowered(rest.substr(0, bar));
        if (!message.empty() && message != "-" &&
            (message == asked || (asked.size() > 6 && message.find(asked) != std::string::npos)))
            return true;
        rest.remove_prefix(std::min(bar + 3, rest.size()));
    }
    return false;
}

} // namespace

bool explain(const std::vector<std::string>& words, const Options& options, Printer& printer)
{
    std::string whole;
    for (const std::string& word : words)
        whole += (whole.empty() ? "" : " ") + word;

    std::string call;
    std::optional<int> status;
    std::string message;
    const LogLine line = parseLogLine(whole);
    if (const CallEnd end = parseCallEnd(line.text); !end.name.empty()) {
        call = end.name;
        status = end.status;
    } else {
        for (const std::string& word : words) {
            const auto number = readDigits(word);
            const bool isCall = std::any_of(statusMeanings().begin(), statusMeanings().end(),
                                            [&](const auto& each) { return sameWord(each.call, word); });
            if (number && *number < 100 && !status)
                status = static_cast<int>(*number);
            else if (isCall && call.empty())
                call = word;
            else
                message += (message.empty() ? "" : " ") + word;
        }
        for (int each = 0; each < 14 && !message.empty(); ++each) {
            const std::string name = statusName(each);
            if (sameWord(message, name) || sameWord(message, "TL_STATUS_" + name)) {
                status = each;
                message.clear();
            }
        }
    }
    message = lowered(message);

    // What many calls share is told once.
    std::vector<std::pair<const StatusMeaning*, std::string>> told;
    for (const StatusMeaning& meaning : statusMeanings()) {
        if (!call.empty() && !sameWord(meaning.call, call))
            continue;
        if (status && meaning.status != *status)
            continue;
        if (!message.empty() && !hasMessage(meaning, message))
            continue;
        if (options.json) {
            printJson(meaning, printer);
            told.emplace_back(&meaning, "");
            continue;
        }
        const auto same = std::find_if(told.begin(), told.end(), [&](const auto& each) {
            const StatusMeaning& other = *each.first;
            return other.status == meaning.status && other.meaning == meaning.meaning &&
                   other.money == meaning.money && other.retry == meaning.retry && other.ask == meaning.ask &&
                   other.cashier == meaning.cashier && other.messages == meaning.messages;
        });
        if (same != told.end())
            same->second += ", " + std::string(meaning.call);
        else
            told.emplace_back(&meaning, std::string(meaning.call));
    }
    if (!options.json)
        for (const auto& [meaning, calls] : told)
            print(*meaning, calls, printer);
    if (told.empty())
        printer.line("", "Nothing is known of \"" + whole +
                             "\". Ask for a status, a call and a status, or a "
                             "message, such as: tllog explain payoutTL 6");
    return !told.empty();
}

} // namespace tllog
