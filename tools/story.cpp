#include "tools/story.h"

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <utility>

namespace tllog {

namespace {

constexpr Time SOON = 2000;

/// A pay command under way.
struct Pending {
    char letter = 'f';
    char how = '1'; // of an "e"
    std::int64_t dispense = 0;
    std::int64_t deposit = 0;
    std::int64_t before = 0;  // paid in when it went out, as far as it was told
    std::int64_t atStart = 0; // and when the device began
    std::int64_t fallen = 0;  // by how much the paid-in amount went down since
    bool isDeposit = false;
    bool started = false; // the device was seen busy
    bool errored = false;
    bool hasRest = false;
    std::int64_t rest = 0;
    bool hasRecords = false; // a list's answer is complete
    std::int64_t undone = 0;

    /// What comes out is what the paid-in amount falls by.
    bool givesBack() const { return letter == 'e' || (letter == 'f' && dispense == 0 && deposit == 0); }
    bool keepsPaidIn() const { return letter == 'c' || letter == 'm'; }
};

enum class Ending { Ready, Lost };

constexpr const char* UNREAD = "a device message could not be read";

/// Texts of a moment ago.
template <std::size_t Most>
class Recent {
public:
    void add(std::string_view text, Time time)
    {
        m_texts[m_next] = {std::hash<std::string_view>()(text), time};
        m_next = (m_next + 1) % m_texts.size();
    }
    /// And forgets it: two equal lines have two twins.
    bool take(std::string_view text, Time time)
    {
        const std::size_t hash = std::hash<std::string_view>()(text);
        for (auto& each : m_texts)
            if (each.hash == hash && each.time <= time + SOON && each.time + SOON >= time) {
                each.time = -SOON * 10;
                return true;
            }
        return false;
    }

private:
    struct Text {
        std::size_t hash = 0;
        Time time = -SOON * 10;
    };
    std::array<Text, Most> m_texts{};
    std::size_t m_next = 0;
};

struct Gate {
    const char* key;
    const char* lost; // what can't be told without it
    bool spoilsSums;
};
constexpr std::array<Gate, 7> GATES{{
    {"LogCRToCAPI", "calls are missing, only their ends are there", false},
    {"LogCAPIToCR", "events to the till are missing", false},
    {"LogComToCAPI", "device messages are missing: what was paid in and what came out can't be told", true},
    {"LogCAPIToCom", "commands to the device are missing: what was to be paid can't be told", true},
    {"LogDebug", "ends of calls that went well are missing, and with them durations and dates", false},
    {"LoggSendEvents", "events to the till are missing", false},
    {"LoggEveryCallback", nullptr, false},
}};

std::string kindOf(std::string_view call)
{
    if (call == "payoutTL" || call == "payout2TL")
        return "payout";
    if (call == "amountDueTL")
        return "amountdue";
    if (call == "depositTL")
        return "deposit";
    if (call == "dispenseTL")
        return "dispense";
    if (call == "changeTL")
        return "change";
    if (call == "regretTL")
        return "regret";
    return "specified";
}

/// The transaction id as the entry line of an export shows it.
std::string_view receiptOf(const CallText& call)
{
    const std::size_t open = call.arguments.find('"');
    const std::size_t close = call.arguments.rfind('"');
    if (open == std::string_view::npos || close <= open)
        return {};
    return call.arguments.substr(open + 1, close - open - 1);
}

} // namespace

class Story::Till {
public:
    Till(Story& story, std::string folder, bool hasApi, bool hasLogic)
        : m_story(story), m_folder(std::move(folder)), m_hasApi(hasApi), m_hasLogic(hasLogic)
    {}

    Told read(const Entry& entry, bool overlapped)
    {
        Told told;
        m_now = entry.time;
        if (overlapped != m_overlapped)
            overlap(overlapped);
        if (entry.torn)
            ; // who knows what is missing
        else if (entry.file->family == Family::Api)
            api(entry, told);
        else if (entry.file->family == Family::Logic)
            logic(entry, told);
        else if (entry.mark == Mark::Error)
            told.again = m_errors.take(entry.text, entry.time);
        told.decimals = m_decimals;
        told.sale = m_sale ? m_sale->id : m_endedSale != 0 ? m_endedSale : 0;
        m_endedSale = 0;
        return told;
    }

    void finish() { closeSale(Ending::Lost); }

    const Sale* sale() const { return m_sale ? &*m_sale : nullptr; }

    void takeSettingsFrom(const Till& other)
    {
        m_shut = other.m_shut;
        m_decimals = other.m_decimals;
    }

private:
    // ---- The API file ----

    void api(const Entry& entry, Told& told)
    {
        const std::string_view text = entry.text;
        switch (entry.mark) {
        case Mark::Call:
            if (const CallText call = parseCall(text); !call.name.empty())
                callBegins(call);
            break;
        case Mark::Event:
            if (const std::size_t colon = text.find("Event: "); colon != std::string_view::npos)
                told.again = m_events.take(text.substr(colon + 7), entry.time);
            if (!m_hasLogic && text.starts_with("StatusEvent: "))
                statusEventAlone(text);
            break;
        case Mark::Error:
            m_errors.add(text, entry.time);
            if (const CallEnd end = parseCallEnd(text); !end.name.empty())
                callEnds(end, told);
            break;
        case Mark::Progress:
            if (const CallEnd end = parseCallEnd(text); !end.name.empty())
                callEnds(end, told);
            break;
        case Mark::Note:
            if (text == "C API Loaded")
                boundary();
            break;
        default:
            break;
        }
    }

    void callBegins(const CallText& call)
    {
        // Without the lines of calls that went well, the next call is all that tells of their end.
        if (isShut("LogDebug"))
            while (!m_calls.empty())
                endOfCall(-1, "", nullptr);
        if (m_calls.size() >= 8)
            m_calls.pop_front();
        m_calls.push_back({std::string(call.name), m_now, false, false});
        if (!isPayCall(call.name))
            return;
        const std::string_view receipt = receiptOf(call);
        const bool joins = m_sale && m_sale->isOver && m_waitsForDispense && call.name == "dispenseTL" &&
                           receipt == m_sale->receipt;
        if (m_sale && m_sale->isOver && !joins)
            closeSale(Ending::Ready);
        openSale();
        const Call current = m_calls.back();
        m_calls.pop_back();
        if (std::erase_if(m_calls, [](const Call& each) { return isPayCall(each.name); }) > 0)
            doubt("two payments were called at once");
        m_calls.push_back(current);
        if (!receipt.empty())
            m_sale->receipt = receipt;
        addKind(kindOf(call.name));
        m_sale->call = call.name;
        m_sale->status = -1;
        m_sale->message.clear();
        if (call.name == "dispenseTL")
            m_wanted = leadingNumber(call.arguments);
    }

    void callEnds(const CallEnd& end, Told& told)
    {
        const auto found = std::find_if(m_calls.rbegin(), m_calls.rend(),
                                        [&](const Call& each) { return each.name == end.name; });
        if (found == m_calls.rend()) {
            // Its beginning was not logged.
            if (isPayCall(end.name) && m_sale) {
                m_sale->call = end.name;
                m_sale->status = end.status;
                m_sale->message = end.message;
            }
            return;
        }
        told.duration = m_now - found->start;
        std::swap(*found, m_calls.back());
        endOfCall(end.status, end.message, &told);
    }

    void endOfCall(int status, std::string_view message, Told*)
    {
        const Call call = m_calls.back();
        m_calls.pop_back();
        if (!isPayCall(call.name) || !m_sale)
            return;
        m_sale->status = status;
        m_sale->message = message;
        if (status == 0 && !call.sent)
            doubt(m_hasLogic ? "the command of " + call.name + " is not in the log"
                             : "the logic file is missing");
        if (status > 0 && (!call.sent || call.refused)) {
            if (call.name == "dispenseTL" && m_waitsForDispense)
                m_refusedDispense = m_wanted;
            if (m_sale->isOver) // the change of a deposit may be tried again
                return;
            if (m_amount == 0 && !m_pending) {
                m_sale->wasRefused = true;
                m_sale->isOver = true;
                m_sale->end = m_now;
            }
        }
        if (m_sale->isOver && !m_waitsForDispense)
            closeSale(Ending::Ready);
    }

    /// Only what was paid in can be told from the API file alone.
    void statusEventAlone(std::string_view text)
    {
        const std::int64_t amount = leadingNumber(between(text, "amount=", ","));
        const std::int64_t status = leadingNumber(between(text, "status=", ","));
        const std::int64_t mode = leadingNumber(between(text, "mode=", ""));
        if (status == 1 || status == 2)
            return;
        DeviceMessage message;
        message.letter = 'a';
        message.amount = amount;
        message.status = static_cast<int>(status);
        message.mode = static_cast<int>(mode);
        if (amount < m_amount && m_sale)
            doubt("the logic file is missing");
        deviceSays(message, nullptr);
    }

    // ---- The logic file ----

    void logic(const Entry& entry, Told& told)
    {
        const std::string_view text = entry.text;
        switch (entry.mark) {
        case Mark::Call:
            if (text.starts_with("CTLLogics::")) {
                const std::string_view name = between(text, "CTLLogics::", "(");
                const bool top = !m_calls.empty() && !name.empty() && m_calls.back().name.starts_with(name);
                told.again = top;
                told.inner = !m_calls.empty() || !m_hasApi;
                if (text == "CTLLogics::init called" || name == "exit")
                    told.again = m_hasApi;
            }
            break;
        case Mark::Event:
            if (const std::size_t colon = text.find("Event: "); colon != std::string_view::npos)
                m_events.add(text.substr(colon + 7), entry.time);
            if (text.starts_with("sendStatusEvent: "))
                statusEvent(text);
            // The device's message tells it too, if messages are logged.
            told.inner = !isShut("LogComToCAPI") && !m_messageGateNoticed;
            break;
        case Mark::Command:
            if (const DeviceCommand command = parseCommand(text); command.letter != '\0')
                commandGoes(command);
            break;
        case Mark::Message: {
            const DeviceMessage message = parseMessage(text, m_longForm);
            if (message.letter != '\0') {
                told.message = message;
                deviceSays(message, &told);
            }
            break;
        }
        case Mark::Error:
            m_errors.add(text, entry.time);
            errorLine(text);
            break;
        case Mark::Note:
            noteLine(text);
            break;
        default:
            break;
        }
    }

    void noteLine(std::string_view text)
    {
        if (text == "Session Starting") {
            boundary();
            return;
        }
        std::string_view setting = text;
        for (const char* const head :
             {"CTLLogics::getIniFileSettings: ", "CTLSettings::NewSettings: Setting new ",
              "CTLSettings::RestoreSettings: Restored "})
            if (setting.starts_with(head))
                setting.remove_prefix(std::string_view(head).size());
        if (setting.size() == text.size()) {
            if (const std::string_view address = between(text, "CTLLogics::initialize: IPName: ", "");
                !address.empty()) {
                boundary();
                if (address.find('.') != std::string_view::npos && address != m_folder)
                    m_story.tillOf(std::string(address)).takeSettingsFrom(*this);
            }
            return;
        }
        const std::size_t colon = setting.find(": ");
        if (colon == std::string_view::npos)
            return;
        const std::string_view key = setting.substr(0, colon);
        const std::int64_t value = leadingNumber(setting.substr(colon + 2));
        if (key == "CurrencyDecimals" && value >= 0 && value <= 6)
            m_decimals = static_cast<int>(value);
        for (std::size_t i = 0; i < GATES.size(); ++i)
            if (key == GATES[i].key)
                setGate(i, value != 0);
    }

    bool isShut(std::string_view key) const
    {
        for (std::size_t i = 0; i < GATES.size(); ++i)
            if (key == GATES[i].key)
                return m_shut[i];
        return false;
    }

    void setGate(std::size_t gate, bool open)
    {
        const bool was = m_shut[gate];
        m_shut[gate] = !open;
        if (was == !open || GATES[gate].lost == nullptr)
            return;
        notice(std::string(GATES[gate].key) +
               (open ? " is on again" : std::string(" is 0: ") + GATES[gate].lost));
        if (!GATES[gate].spoilsSums)
            return;
        if (m_sale)
            doubt(std::string(GATES[gate].key) + " was 0");
        m_unsure = true;
        m_messageLost = true;
    }

    /// An event without the message that it is about: the messages aren't logged, whatever the notes say.
    void statusEvent(std::string_view text)
    {
        const std::int64_t amount = leadingNumber(between(text, "amount=", ","));
        const std::int64_t status = leadingNumber(between(text, "status=", ","));
        const std::int64_t mode = leadingNumber(between(text, "mode=", ""));
        if (m_unmatched && !m_messageGateNoticed) {
            m_messageGateNoticed = true;
            if (!isShut("LogComToCAPI")) {
                m_shut[2] = true;
                notice(
                    "events come without their device messages, so LogComToCAPI was 0: what was paid in and "
                    "what came out can't be told");
            }
            if (m_sale)
                doubt("device messages are missing");
        }
        const bool told = amount == m_toldAmount && status == m_toldStatus;
        const bool ownWords = status == 2 && mode == 0 && amount == 0; // of a login that was given up
        m_unmatched = !told && !ownWords;
        m_unmatchedAmount = amount;
        m_unmatchedStatus = status;
    }

    void errorLine(std::string_view text)
    {
        if (text.starts_with("ctllogics.callbackfunc: Error in format")) {
            m_unread = true;
            if (m_pending)
                doubt(UNREAD);
        }
        if (!text.starts_with("CTLLogics::"))
            return;
        static constexpr std::array<std::string_view, 6> REFUSED{
            "payout: COstrivane::doPayOut failed", "deposit: doPayOut failed",
            "dispense: dispense failed",           "change: COstrivane::change failed",
            "regret: COstrivane::regret failed",   "dispenseSpecified: COstrivane::dispenseSpecified failed"};
        const std::string_view line = text.substr(11);
        for (const std::string_view each : REFUSED)
            if (line.starts_with(each)) {
                const std::int64_t code = leadingNumber(between(line, "return code = ", ","));
                if (code == 1 || code == 2 || code == 5)
                    commandRefused();
                return;
            }
    }

    // ---- The device ----

    void commandGoes(const DeviceCommand& command)
    {
        Pending sent;
        sent.letter = command.letter;
        switch (command.letter) {
        case 'c':
            sent.dispense = command.amount(0);
            break;
        case 'f':
            sent.dispense = command.amount(0);
            sent.deposit = command.amount(1);
            break;
        case 'e':
            sent.how = command.count > 0 && !command.fields[0].empty() ? command.fields[0][0] : '?';
            if (sent.how == '3')
                return;
            break;
        case 'm':
            // Its first field begins with the type's digit.
            sent.dispense =
                command.count > 0 && !command.fields[0].empty() ? valueOfList(listOf(command.fields[0])) : 0;
            break;
        case 'd':
            m_asked = command.amount(0);
            m_askedRest = 0;
            return;
        case 'x':
            m_longForm = false;
            return;
        case 'b':
        case 'k':
            // What follows a deposit is no dispense then.
            if (m_sale && m_sale->isOver)
                closeSale(Ending::Ready);
            return;
        default:
            return;
        }
        const std::string_view receipt = command.receipt();
        const bool inCall = !m_calls.empty() && isPayCall(m_calls.back().name);
        if (!inCall && m_sale && m_sale->isOver &&
            !(m_waitsForDispense && command.letter == 'c' && receipt == m_sale->receipt))
            closeSale(Ending::Ready);
        openSale();
        if (inCall)
            m_calls.back().sent = true;
        else
            addKind(command.letter == 'e'   ? (sent.how == '1' ? "change" : "regret")
                    : command.letter == 'c' ? "dispense"
                    : command.letter == 'm' ? "specified"
                                            : "payout");
        if (m_sale->isOver) {
            m_sale->isOver = false;
            m_waitsForDispense = false;
        }
        if (!receipt.empty() && receipt != "regretAll")
            m_sale->receipt = receipt;
        sent.before = m_amount;
        sent.isDeposit = sent.letter == 'f' && sent.dispense == 0 && sent.deposit > 0 &&
                         (inCall ? m_calls.back().name == "depositTL" : m_status == 3);
        if (sent.dispense < 0 || sent.deposit < 0)
            doubt("the command can't be read");
        if (m_pending && m_next)
            doubt("three payments under way");
        if (m_pending)
            m_next = sent;
        else
            m_pending = sent;
    }

    static std::string_view listOf(std::string_view field) { return field.substr(1); }

    void commandRefused()
    {
        if (!m_calls.empty())
            m_calls.back().refused = true;
        if (m_next)
            m_next.reset();
        else
            m_pending.reset();
        if (m_calls.empty() && m_sale && m_amount == 0 && !m_pending) {
            m_sale->wasRefused = true;
            m_sale->isOver = true;
            m_sale->end = m_now;
        }
    }

    void deviceSays(const DeviceMessage& message, Told* told)
    {
        switch (message.letter) {
        case 'v':
            m_longForm = message.text.starts_with("1");
            return;
        case 'e':
            recordsCome(message.text);
            return;
        case 'a':
        case 'b':
        case 'c':
            break;
        default:
            return;
        }
        m_toldAmount = message.amount;
        m_toldStatus = message.status;
        if (m_unmatched && m_unmatchedAmount == message.amount && m_unmatchedStatus == message.status)
            m_unmatched = false;
        if (m_messageLost && !isShut("LogComToCAPI"))
            m_messageLost = false;
        m_status = message.status;

        if (message.letter == 'c') {
            if (message.status == 1)
                restComes(message.amount);
            else
                m_askedRest = message.amount;
            return;
        }
        const bool counts = message.mode != 3; // in administration mode it is what was filled in
        if (counts)
            amountIs(message.amount, message.status == 1, told);
        if (message.status == 2) {
            if (m_pending)
                m_pending->errored = true;
            if (m_sale && message.letter == 'b' && !message.text.empty() && m_sale->deviceError.empty())
                m_sale->deviceError = message.text;
            return;
        }
        if (message.status == 1) {
            starts(counts ? std::optional(message.amount) : std::nullopt);
            return;
        }
        if (message.status != 0 && message.status != 3)
            return;
        const bool idle = m_pending && !m_pending->started && m_pending->givesBack() &&
                          m_pending->before == 0 && message.amount == 0;
        // A device that is closed suddenly was switched off meanwhile: it pays nothing to its end then.
        if (m_pending && (m_pending->started || idle))
            endPending(message.mode == 0 ? Ending::Lost : Ending::Ready);
        if (counts && m_sale && !m_sale->isOver && !m_pending && message.amount == 0) {
            m_sale->isOver = true;
            m_sale->end = m_now;
            if (!m_waitsForDispense && !payCallIsOpen())
                closeSale(Ending::Ready);
        }
    }

    bool payCallIsOpen() const
    {
        return std::any_of(m_calls.begin(), m_calls.end(),
                           [](const Call& each) { return isPayCall(each.name); });
    }

    void amountIs(std::int64_t amount, bool busy, Told* told)
    {
        const std::int64_t change = amount - m_amount;
        const bool unsure = std::exchange(m_unsure, false);
        if (told != nullptr && change != 0)
            told->paidInChange = change;
        m_amount = amount;
        m_unread = false;
        if (change > 0) {
            if (m_sale && m_sale->isOver && !busy)
                closeSale(Ending::Ready);
            openSale();
            m_asked = -1; // with more pieces it may be possible
            m_sale->paidIn += change;
            if (m_pending && m_pending->started)
                doubt("device messages are missing: money came in while the device was paying");
        } else if (change < 0) {
            if (m_pending && !m_pending->keepsPaidIn()) {
                m_pending->fallen -= change;
            } else if (m_sale) {
                doubt(unsure ? "the session broke off with money in the device"
                             : "the paid-in amount fell without a command");
            }
        }
    }

    void starts(std::optional<std::int64_t> amount)
    {
        if (!m_pending) {
            if (payCallIsOpen() && isShut("LogCAPIToCom") && m_sale)
                doubt("LogCAPIToCom was 0");
            return;
        }
        if (m_pending->started)
            return;
        if (m_next) {
            // The former never made the device busy, as far as the log goes.
            doubt("the device never told what it did with a command");
            m_pending = std::exchange(m_next, std::nullopt);
        }
        m_pending->started = true;
        m_pending->atStart = amount.value_or(m_pending->before);
    }

    void restComes(std::int64_t rest)
    {
        if (!m_pending || m_pending->hasRest)
            return;
        m_pending->started = true;
        m_pending->hasRest = true;
        m_pending->rest = rest;
    }

    /// One part of the answer to a list: of kind "1" is what could not be paid.
    void recordsCome(std::string_view text)
    {
        if (!m_pending || m_pending->letter != 'm' || text.size() < 3)
            return;
        if (text[0] == '1')
            m_pending->undone += valueOfList(text.substr(1, text.find('.') - 1));
        m_pending->hasRecords = text[text.size() - 3] != '~';
        m_pending->started = true;
    }

    /// Books what became of the command.
    void endPending(Ending ending)
    {
        const Pending done = *m_pending;
        m_pending = std::exchange(m_next, std::nullopt);
        if (!m_sale)
            return;
        const bool ready = ending == Ending::Ready && done.started;
        if (done.givesBack()) {
            // Of all of it, what did not come back is named; otherwise messages are missing.
            const bool all = done.how != '2' || done.letter == 'f';
            if (done.started && (ready || done.errored) && all &&
                done.fallen + (done.hasRest ? done.rest : 0) != done.atStart)
                doubt("what came back and what was paid in don't fit");
            else if (done.started && (ready || done.errored))
                m_sale->paidOut += done.fallen;
            else if (done.started)
                doubt("the log ends while the device gives money back");
            else if (ending == Ending::Lost)
                doubt("the device never told what it did with a command");
            return;
        }
        std::int64_t owed = done.dispense;
        if (done.letter == 'f') {
            owed += (done.started ? done.atStart : done.before) - done.deposit;
            if (ready && m_amount != 0)
                doubt("money is paid in still after the payment");
            if (owed < 0)
                doubt("more was to be kept than was paid in");
        }
        m_sale->kept += done.deposit - done.dispense;
        m_sale->hasDue = m_sale->hasDue || done.deposit > 0;
        if (done.letter == 'm') {
            if (done.hasRecords)
                m_sale->paidOut += owed - done.undone;
            else
                doubt("the device's list of what came out is not complete");
        } else if (done.hasRest) {
            if (done.rest > owed)
                doubt("the device names a rest above the payment");
            m_sale->paidOut += owed - done.rest;
        } else if (done.dispense == m_asked && m_askedRest > 0) {
            doubt("the device could not pay this a moment ago, and named no rest now");
        } else if ((ready && !done.errored) || (owed == 0 && done.started)) {
            m_sale->paidOut += owed;
        } else if (done.errored) {
            doubt("the device failed and did not say what came out");
        } else {
            doubt("the device never told how the payment ended");
        }
        if (done.letter == 'c')
            m_refusedDispense = 0;
        m_waitsForDispense = done.isDeposit;
    }

    // ---- Sales ----

    void openSale()
    {
        if (m_sale)
            return;
        m_sale.emplace();
        m_sale->id = ++m_story.m_lastSale;
        m_sale->folder = m_folder;
        m_sale->start = m_now;
        m_sale->end = m_now;
        m_sale->decimals = m_decimals;
        m_refusedDispense = 0;
        m_waitsForDispense = false;
        if (m_overlapped)
            doubt("two processes wrote into these files");
        for (std::size_t i = 0; i < GATES.size(); ++i)
            if (GATES[i].spoilsSums && m_shut[i])
                doubt(std::string(GATES[i].key) + " was 0");
    }

    void closeSale(Ending ending)
    {
        if (!m_sale)
            return;
        if (m_unread)
            doubt(UNREAD);
        if (m_next) {
            doubt("the device never told what it did with a command");
            m_next.reset();
        }
        if (m_pending)
            endPending(ending == Ending::Ready ? Ending::Lost : ending);
        m_pending.reset();
        if (m_refusedDispense > 0) {
            m_sale->kept -= m_refusedDispense; // what the till meant to give back
            m_refusedDispense = 0;
        }
        if (!m_sale->isOver) {
            m_sale->end = m_now;
            // A payment whose outcome is known is settled, even if the device never got ready again.
            m_sale->isOver = m_amount == 0 && m_sale->isKnown();
        }
        m_waitsForDispense = false;
        m_endedSale = m_sale->id;
        const Sale ended = *std::exchange(m_sale, std::nullopt);
        if (m_story.onSale)
            m_story.onSale(ended);
    }

    void addKind(const std::string& kind)
    {
        std::string& kinds = m_sale->kind;
        if (kinds.empty())
            kinds = kind;
        else if (!kinds.ends_with(kind) && kinds.size() < 60)
            kinds += "+" + kind;
    }

    void doubt(const std::string& why)
    {
        if (m_sale && m_sale->unknown.empty())
            m_sale->unknown = why;
    }

    /// The library or the link begins anew: what was under way is lost, the device's money is not.
    void boundary()
    {
        m_calls.clear();
        if (m_sale && m_sale->isOver)
            closeSale(Ending::Ready);
        if (m_pending || m_next) {
            if (m_next)
                doubt("the session ended before the device told what it did");
            m_next.reset();
            if (m_pending)
                endPending(Ending::Lost);
            m_pending.reset();
        }
        if (m_sale && m_amount == 0)
            closeSale(Ending::Lost);
        m_unsure = true;
        m_longForm = false;
        m_unmatched = false;
        m_messageGateNoticed = false;
        m_waitsForDispense = false;
    }

    void overlap(bool overlapped)
    {
        m_overlapped = overlapped;
        notice(overlapped
                   ? "two processes write into these files from here on: their lines can't be told apart"
                   : "one process again");
        if (m_sale)
            doubt("two processes wrote into these files");
        m_pending.reset();
        m_next.reset();
        m_calls.clear();
        m_unsure = true;
    }

    void notice(std::string text)
    {
        if (m_story.onNotice)
            m_story.onNotice({m_now, m_folder, std::move(text)});
    }

    struct Call {
        std::string name;
        Time start;
        bool sent;    // its pay command went out
        bool refused; // and was not taken
    };

    Story& m_story;
    const std::string m_folder;
    const bool m_hasApi;
    const bool m_hasLogic;

    Time m_now = 0;
    std::deque<Call> m_calls;
    std::array<bool, GATES.size()> m_shut{};
    int m_decimals = 2;
    bool m_overlapped = false;

    // The device as it told.
    std::int64_t m_amount = 0;
    int m_status = -1;
    bool m_unsure = true; // the next message tells what the amount really is
    bool m_longForm = false;
    bool m_messageLost = false;
    bool m_unread = false; // a message that couldn't be read, and none since that tells the amount

    // Events against messages.
    std::int64_t m_toldAmount = -1;
    std::int64_t m_toldStatus = -1;
    bool m_unmatched = false;
    bool m_messageGateNoticed = false;
    std::int64_t m_unmatchedAmount = 0;
    std::int64_t m_unmatchedStatus = 0;

    std::optional<Sale> m_sale;
    std::uint64_t m_endedSale = 0;
    std::optional<Pending> m_pending;
    std::optional<Pending> m_next; // sent while the former was under way
    bool m_waitsForDispense = false;
    std::int64_t m_wanted = 0;
    std::int64_t m_refusedDispense = 0;
    std::int64_t m_asked = -1; // by the last question, and what the device could not pay of it
    std::int64_t m_askedRest = 0;

    Recent<1024> m_errors; // a till that tries again without a pause writes many at a time
    Recent<32> m_events;
};

Story::Story(const std::vector<LogFile>& files)
{
    for (const LogFile& file : files)
        know(file);
}

void Story::know(const LogFile& file)
{
    if (file.family == Family::Api) {
        m_hasApi[file.folder] = true;
        if (auto found = findOverlaps(file); !found.empty())
            m_overlaps[file.path] = std::move(found);
    } else if (file.family == Family::Logic) {
        m_hasLogic[file.folder] = true;
    }
}

Story::~Story() = default;

Story::Till& Story::tillOf(const std::string& folder)
{
    if (m_lastTill != nullptr && m_lastFolder == folder)
        return *m_lastTill;
    auto& till = m_tills[folder];
    if (!till)
        till = std::make_unique<Till>(*this, folder, m_hasApi[folder], m_hasLogic[folder]);
    m_lastFolder = folder;
    m_lastTill = till.get();
    return *till;
}

Told Story::read(const Entry& entry)
{
    bool overlapped = false;
    Till& till = tillOf(entry.file->folder);
    if (!m_overlaps.empty()) {
        if (entry.file->family == Family::Api) {
            const auto found = m_overlaps.find(entry.file->path);
            if (found != m_overlaps.end())
                overlapped =
                    std::any_of(found->second.begin(), found->second.end(), [&](const Overlap& each) {
                        return entry.offset >= each.from && entry.offset < each.to;
                    });
            m_overlapNow[entry.file->folder] = overlapped;
        } else {
            overlapped = m_overlapNow[entry.file->folder];
        }
    }
    return till.read(entry, overlapped);
}

void Story::finish()
{
    for (const auto& [folder, till] : m_tills)
        till->finish();
}

const Sale* Story::openSale(std::uint64_t id) const
{
    for (const auto& [folder, till] : m_tills)
        if (till->sale() != nullptr && till->sale()->id == id)
            return till->sale();
    return nullptr;
}

} // namespace tllog
