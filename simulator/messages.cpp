#include "simulator/messages.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::size_t LONGEST_TEXT = 99;

std::string digit(int number)
{
    return std::to_string(number % 10);
}

const char* errorWords(int code)
{
    switch (code) {
    case 1:
        return "note path jammed";
    case 2:
        return "coin path jammed";
    case 3:
        return "door open";
    case 4:
        return "cassette out";
    default:
        return "device fault";
    }
}

std::vector<std::string> pieces(const std::string& text, std::size_t size)
{
    std::vector<std::string> parts;
    for (std::size_t position = 0; position < text.size(); position += size)
        parts.push_back(text.substr(position, size));
    return parts;
}

/// Cuts a list into lists whose texts are no longer than "size", or of one entry where that is longer.
std::vector<std::string> wholeLists(const CashList& list, std::size_t size)
{
    std::vector<std::string> texts;
    CashList current;
    const auto append = [&](std::vector<CashEntry> CashList::*group) {
        for (const CashEntry& entry : list.*group) {
            (current.*group).push_back(entry);
            const bool single = current.coins.size() + current.notes.size() == 1;
            if (single || current.text().size() <= size)
                continue;
            (current.*group).pop_back();
            texts.push_back(current.text());
            current = {};
            (current.*group).push_back(entry);
        }
    };
    append(&CashList::coins);
    append(&CashList::notes);
    if (!current.empty())
        texts.push_back(current.text());
    return texts;
}

} // namespace

std::string statusMessage(char letter, Amount amount, int status, int mode, const MessageTail& tail,
                          bool longForm)
{
    const std::string head =
        letter + padded(std::clamp<Amount>(amount, 0, LARGEST_AMOUNT), 8) + digit(status) + digit(mode);
    const std::string text = tail.text.substr(0, LONGEST_TEXT);
    if (!longForm)
        return head + text;
    return head + digit(tail.kind) + padded(tail.code, 4) + padded(static_cast<Amount>(text.size()), 2) +
           text;
}

std::string majorUnits(Amount amount, int decimals)
{
    Amount unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    const std::string whole = std::to_string(amount / unit);
    const Amount fraction = amount % unit;
    return fraction == 0 ? whole : whole + "," + padded(fraction, static_cast<std::size_t>(decimals));
}

MessageTail levelTail(const LevelReport& report, const Settings& settings)
{
    const std::string denomination = majorUnits(report.denomination, settings.decimals);
    switch (report.level) {
    case LevelReport::Level::Empty:
        return {1, 1, "00 " + denomination + " " + settings.currency};
    case LevelReport::Level::Low:
        return {1, 2, padded(report.count, 2) + " " + denomination + " " + settings.currency};
    default:
        // No space: one in third place would make this a report of a low unit.
        return {1, 3, denomination + settings.currency};
    }
}

MessageTail errorTail(int code)
{
    return {1, code, "Device error: " + padded(code, 2) + " " + errorWords(code)};
}

MessageTail rejectedTail(bool longForm)
{
    if (longForm)
        return {3, 9, "Note rejected"};
    return {0, 0, "Tellarion note rejected"};
}

MessageTail restTail(Amount rest, const Settings& settings, bool longForm)
{
    if (longForm)
        return {3, 8, "Rest " + majorUnits(rest, settings.decimals) + " " + settings.currency};
    // Without a kind digit only a session text gets by as information.
    return {0, 0, "Tellarion no change"};
}

MessageTail sessionTail(const std::string& prefix, Amount amount)
{
    return {0, 0, prefix + padded(amount, 8)};
}

std::vector<std::string> countMessages(const CashList& list, std::size_t partSize)
{
    // Readers that split at the semicolon see no group behind the last one.
    const std::string end = list.notes.empty() ? ";." : ".";
    std::vector<std::string> messages = pieces(list.text() + end, partSize);
    for (std::string& message : messages)
        message = "j" + message + (&message == &messages.back() ? "" : "~");
    return messages;
}

std::vector<std::string> recordMessages(const CashList& done, const CashList& undone, RecordForm undoneForm,
                                        std::size_t partSize, int status, int mode)
{
    std::vector<std::string> messages;
    for (const std::string& list : wholeLists(done, partSize))
        messages.push_back("e0" + list + ".");
    if (messages.empty() && undone.empty())
        messages.push_back("e0.");

    if (undoneForm == RecordForm::Whole) {
        for (const std::string& list : wholeLists(undone, partSize))
            messages.push_back("e1" + list + ".");
    } else if (!undone.empty()) {
        for (const std::string& part : pieces(undone.text(), partSize))
            messages.push_back("e1" + part);
        messages.back() += ".";
    }

    for (std::string& message : messages)
        message += (&message == &messages.back() ? "" : "~") + digit(status) + digit(mode);
    return messages;
}

} // namespace simulator
