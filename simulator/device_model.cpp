#include "simulator/device_model.h"

#include "simulator/opening_codes.h"
#include "simulator/saved_device.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr char TAKEN = '0';
constexpr char BUSY = '1';
constexpr char REFUSED = '2';
constexpr char CLOSED = '3';
constexpr char LOST = '7';

const char* answerWord(char status)
{
    switch (status) {
    case TAKEN:
        return "Ok";
    case BUSY:
        return "Busy";
    case REFUSED:
        return "Error";
    case CLOSED:
        return "Closed";
    case LOST:
        return "Lost";
    default:
        return "Refused";
    }
}

char letterOf(const std::string& text)
{
    return text.empty() ? '?' : text.front();
}

char upperCase(char letter)
{
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : '\0';
}

std::string answerText(char letter, char status)
{
    return std::string{letter, FIELD_SEPARATOR, status} + answerWord(status);
}

/// Cut off, or with another character somewhere, but never with a NUL.
std::string garbled(std::string text, std::uint64_t random)
{
    if (text.empty())
        return text;
    const std::size_t position = random % text.size();
    random /= text.size();
    if (random % 4 == 0)
        return text.substr(0, position);
    text[position] = static_cast<char>(1 + random / 4 % 255);
    return text;
}

} // namespace

DeviceModel::DeviceModel(Settings settings) : m_settings(std::move(settings)), m_drawer(m_settings.drawer)
{
    for (const Fault& fault : m_settings.faults)
        m_faults.put(fault);
}

DeviceModel::DeviceModel(Settings settings, const SavedDevice& saved, Milliseconds now)
    : m_settings(std::move(settings)), m_drawer(saved.units, saved.books), m_paidOut(saved.tray),
      m_collected(saved.collected), m_takenPaidOut(saved.takenPaidOut),
      m_takenCollected(saved.takenCollected), m_tillThere(false), m_powerIsBack(true),
      m_longForm(saved.longForm), m_customerMoney(saved.paidIn, saved.paidInPieces)
{
    for (Fault fault : saved.faults) {
        fault.endsAt += now;
        m_faults.put(fault);
    }
}

SavedDevice DeviceModel::saved(Milliseconds now) const
{
    CustomerMoney money = m_customerMoney;
    if (m_work)
        settle(money, m_work->settlement, m_work->piecesOut());
    SavedDevice device{m_drawer.units(), m_drawer.books(), m_paidOut,      m_collected,    m_takenPaidOut,
                       m_takenCollected, money.amount(),   money.pieces(), m_faults.all(), m_longForm};
    for (Fault& fault : device.faults)
        fault.endsAt = fault.on && fault.lasts ? std::max<Milliseconds>(0, fault.endsAt - now) : 0;
    return device;
}

void DeviceModel::start(Milliseconds now)
{
    for (const Fault& fault : m_settings.faults)
        if (fault.start == Fault::Start::Now)
            beginFault(fault.name, now);
}

void DeviceModel::startAfresh(Settings settings, Milliseconds now)
{
    DeviceModel fresh(std::move(settings));
    fresh.m_watcher = std::move(m_watcher);
    fresh.m_tillThere = m_tillThere;
    fresh.m_longForm = m_longForm;
    *this = std::move(fresh);
    start(now);
    m_messages.setEarliest(now);
    tellPowerIsBack();
}

// ---- Commands ----

DeviceModel::Answer DeviceModel::command(std::string_view text, Milliseconds now)
{
    advance(now);
    const std::string copy(text);
    const char letter = letterOf(copy);
    beginFaults(m_faults.atCommand(letter), now);
    m_messages.setEarliest(now + slowed(m_settings.answerDelay));

    const bool arrives = hasPower() && !m_faults.isOn(FaultName::LinkLost);
    Answer answer{answerText(letter, arrives ? answerTo(copy, now) : LOST)};
    if (arrives && strike(FaultName::AnswerLost, now))
        answer.text = answerText(letter, LOST);
    if (const auto late = arrives ? strike(FaultName::AnswerLate, now) : std::nullopt)
        answer.lateness = late->lateness;
    if (m_watcher)
        tell({.kind = DeviceEvent::Kind::Command, .time = now, .text = copy, .answer = answer.text});
    return answer;
}

char DeviceModel::answerTo(const std::string& text, Milliseconds now)
{
    const char refusal = refusalOf(text, now);
    if (refusal != TAKEN || m_settings.silent.find(letterOf(text)) != std::string::npos)
        return refusal;
    const auto command = parseCommand(text);
    return command && carryOut(*command, now) ? TAKEN : REFUSED;
}

char DeviceModel::refusalOf(const std::string& text, Milliseconds now) const
{
    const char letter = letterOf(text);
    if (m_settings.commands.find(upperCase(letter)) == std::string::npos)
        return REFUSED;
    if (const auto refusal = m_settings.refuse.find(letter); refusal != m_settings.refuse.end())
        return refusal->second;
    if (isBusy(now))
        return BUSY;
    if (hasError())
        return isTakenInError(text) ? TAKEN : REFUSED;
    const bool opensSession = letter == 'x' || letter == 'v' || letter == 'a';
    return m_open || opensSession ? TAKEN : CLOSED;
}

bool DeviceModel::isTakenInError(const std::string& text) const
{
    const auto command = parseCommand(text);
    if (!command)
        return false;
    switch (command->letter) {
    case 'b':
        return true;
    case 'e':
        return command->number == 3;
    case 'a':
    case 'v':
    case 'x':
        return m_settings.loginClearsError;
    default:
        return false;
    }
}

// ---- Time ----

/// Step by step in the order of their times, since one may change what the next one is.
void DeviceModel::advance(Milliseconds now)
{
    for (;;) {
        const auto work = nextStepOfWork();
        const auto fault = m_faults.nextEnd();
        const bool pieceComes = !m_coming.empty() && m_nextComing <= now;
        if (pieceComes && (!work || m_nextComing < *work) && (!fault || m_nextComing < *fault))
            takeComing();
        else if (fault && *fault <= now && (!work || *fault <= *work))
            endFault(*m_faults.endingBy(*fault), EndOfFault::Itself, *fault);
        else if (work && *work <= now)
            stepWork();
        else
            return;
    }
}

std::optional<Milliseconds> DeviceModel::nextDue() const
{
    std::optional<Milliseconds> next = m_messages.nextDue();
    const auto consider = [&](std::optional<Milliseconds> time) {
        if (time && (!next || *time < *next))
            next = time;
    };
    // Pieces that nobody watches may be moved when the work is done.
    const bool watched = m_watcher || !m_faults.empty();
    if (watched || (m_work && m_work->waitsForHand))
        consider(nextStepOfWork());
    else if (m_work)
        consider(m_work->end);
    consider(m_faults.nextEnd());
    if (!m_coming.empty())
        consider(m_nextComing);
    return next;
}

bool DeviceModel::isBusy(Milliseconds now) const
{
    return m_work || (m_readyAt && now < *m_readyAt) || m_faults.isOn(FaultName::Busy);
}

Milliseconds DeviceModel::slowed(Milliseconds time) const
{
    const Fault* slow = m_faults.find(FaultName::Slow);
    return (slow != nullptr && slow->on ? time * slow->factor : time) / m_settings.speed;
}

/// However fast it works, the library has to see each message.
Milliseconds DeviceModel::messageGap() const
{
    return std::max(slowed(m_settings.messageGap), LEAST_MESSAGE_GAP);
}

// ---- The link ----

void DeviceModel::loggedOut()
{
    m_open = false;
    m_admin = false;
    m_payInOpen = false;
}

void DeviceModel::tillCame(bool comesBack, Milliseconds now)
{
    advance(now);
    m_messages.clear();
    m_messages.setEarliest(now);
    m_tillThere = true;
    if (!comesBack)
        m_longForm = false; // as it was agreed with another till
    if ((comesBack || m_powerIsBack) && hasPower())
        tellPowerIsBack();
}

void DeviceModel::tillLeft(Milliseconds now)
{
    advance(now);
    m_messages.clear();
    m_tillThere = false;
    loggedOut();
}

int DeviceModel::openingRefusal() const
{
    if (!hasPower() || m_faults.isOn(FaultName::LinkLost))
        return OpeningCode::NO_ANSWER;
    if (const Fault* fault = m_faults.find(FaultName::OpenRefused); fault != nullptr && fault->on)
        return fault->code;
    return m_settings.openCode;
}

std::optional<std::string> DeviceModel::nextMessage(Milliseconds now)
{
    advance(now);
    while (auto message = m_messages.next(now)) {
        if (!m_tillThere || !hasPower())
            continue;
        const bool spared = message->change != nullptr;
        if (!spared)
            beginFaults(m_faults.atMessage(), now);
        if (!spared) {
            if (const auto late = strike(FaultName::MessageLate, now)) {
                m_messages.putBack({message->due + late->lateness, message->text, "late"});
                continue;
            }
        }
        if (m_faults.isOn(FaultName::LinkLost) || (!spared && strike(FaultName::MessageLost, now))) {
            message->change = "lost";
        } else if (!spared && strike(FaultName::MessageTwice, now)) {
            m_messages.putBack({message->due, message->text, "again"});
        } else if (const auto garbles = spared ? std::nullopt : strike(FaultName::MessageGarbled, now)) {
            message->text = garbled(message->text, garbles->random);
            message->change = "garbled";
        }
        const bool lost = message->change != nullptr && std::string_view(message->change) == "lost";
        if (m_watcher)
            tell({.kind = DeviceEvent::Kind::Message,
                  .time = now,
                  .text = message->text,
                  .change = message->change == nullptr ? "" : message->change});
        if (!lost)
            return std::move(message->text);
    }
    return std::nullopt;
}

std::vector<std::string> DeviceModel::due(Milliseconds now)
{
    std::vector<std::string> messages;
    while (auto message = nextMessage(now))
        messages.push_back(std::move(*message));
    return messages;
}

void DeviceModel::inject(std::string message, Milliseconds now)
{
    advance(now);
    m_messages.setEarliest(now);
    m_messages.post(std::move(message), 0);
}

// ---- What there is to see ----

CashList DeviceModel::content() const
{
    CashList list;
    for (const Denomination& unit : m_drawer.units())
        (unit.kind == CashKind::Coin ? list.coins : list.notes).push_back({unit.value, unit.count});
    return list;
}

CashList DeviceModel::listOf(const Pieces& pieces) const
{
    CashList list;
    for (const auto& [denomination, count] : pieces)
        (m_drawer.find(denomination)->kind == CashKind::Coin ? list.coins : list.notes)
            .push_back({denomination, count});
    return list;
}

bool DeviceModel::balances() const
{
    const Books& books = m_drawer.books();
    return m_drawer.balances() && paidIn() >= 0 && books.paidOut == m_takenPaidOut + valueOf(m_paidOut) &&
           books.collected == m_takenCollected + valueOf(m_collected);
}

void DeviceModel::tell(const DeviceEvent& event) const
{
    if (m_watcher)
        m_watcher(event);
}

void DeviceModel::tellPiece(DeviceEvent::Way way, Amount denomination, Milliseconds now) const
{
    if (m_watcher)
        m_watcher({.kind = DeviceEvent::Kind::Piece,
                   .time = now,
                   .way = way,
                   .denomination = denomination,
                   .left = m_drawer.find(denomination)->count});
}

// ---- Messages ----

int DeviceModel::statusDigit() const
{
    if (hasError())
        return 2;
    if (m_work || m_faults.isOn(FaultName::Busy))
        return 1;
    return m_payInOpen || !m_open ? 0 : 3;
}

int DeviceModel::modeDigit() const
{
    if (!m_open)
        return 0;
    return m_admin ? 3 : 1;
}

/// The amount that messages carry.
Amount DeviceModel::shownAmount() const
{
    return m_admin ? m_replenished : paidIn();
}

Milliseconds DeviceModel::post(std::string message)
{
    return m_messages.post(std::move(message), messageGap());
}

Milliseconds DeviceModel::postStatus(char letter, Amount amount, const MessageTail& tail)
{
    return post(statusMessage(letter, amount, statusDigit(), modeDigit(), tail, m_longForm));
}

void DeviceModel::postReport(const MessageTail& tail)
{
    postStatus('b', shownAmount(), tail);
}

Milliseconds DeviceModel::postState()
{
    return postStatus('a', shownAmount());
}

void DeviceModel::postRest(Amount rest)
{
    if (rest == 0)
        return;
    postStatus('c', rest);
    postReport(restTail(rest, m_settings, m_longForm));
}

void DeviceModel::postParts(const std::vector<std::string>& messages)
{
    for (const std::string& message : messages)
        m_messages.post(message, &message == &messages.front() ? messageGap() : 0);
}

void DeviceModel::postSession(const char* prefix, Amount amount)
{
    if (m_settings.sessionTexts && amount > 0)
        postReport(sessionTail(prefix, amount));
}

void DeviceModel::postLevels(const std::vector<LevelReport>& reports)
{
    for (const LevelReport& report : reports)
        postReport(levelTail(report, m_settings));
}

} // namespace simulator
