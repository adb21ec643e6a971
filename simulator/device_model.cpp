#include "simulator/device_model.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr char TAKEN = '0';
constexpr char BUSY = '1';
constexpr char REFUSED = '2';
constexpr char CLOSED = '3';

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

} // namespace

DeviceModel::DeviceModel(Settings settings) : m_settings(std::move(settings)), m_drawer(m_settings.drawer) {}

// ---- Commands ----

std::string DeviceModel::command(std::string_view text, Milliseconds now)
{
    advance(now);
    m_messages.setEarliest(now + m_settings.answerDelay);
    const std::string copy(text);
    const char status = answerTo(copy, now);
    return {std::string{letterOf(copy), FIELD_SEPARATOR, status} + answerWord(status)};
}

char DeviceModel::answerTo(const std::string& text, Milliseconds now)
{
    const char refusal = refusalOf(text, now);
    if (refusal != TAKEN || m_settings.silent.find(letterOf(text)) != std::string::npos)
        return refusal;
    const auto command = parseCommand(text);
    return command && carryOut(*command) ? TAKEN : REFUSED;
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

// ---- Work ----

void DeviceModel::startWork(Work work)
{
    m_work = std::move(work);
    m_work->start = postState();
    m_work->end = m_work->start + m_settings.payOutTime;
}

/// Level reports go out while the device is still busy: whoever sees it ready has heard of them all.
void DeviceModel::endWork(std::size_t piecesOut)
{
    const auto firstLeft = m_work->pieces.begin() + static_cast<std::ptrdiff_t>(piecesOut);
    const Pieces out = counted({m_work->pieces.begin(), firstLeft});
    const Pieces left = counted({firstLeft, m_work->pieces.end()});
    for (auto piece = m_work->pieces.begin(); piece != firstLeft; ++piece)
        moveOut(*piece, m_work->collects);
    settle(m_work->settlement, out);

    if (m_work->answersWithRecords) {
        m_work->undone.add(listOf(left));
        postParts(recordMessages(listOf(out), m_work->undone, m_work->undoneForm, m_settings.partSize,
                                 statusDigit(), modeDigit()));
    } else {
        postRest(m_work->rest + valueOf(left));
    }
    if (m_work->sessionPrefix != nullptr)
        postSession(m_work->sessionPrefix, valueOf(out));
    postLevels(m_drawer.newLevels());
    m_work.reset();
}

void DeviceModel::moveOut(Amount denomination, bool collects)
{
    if (collects) {
        m_drawer.collect(denomination);
        addPieces(m_collected, denomination, 1);
    } else {
        m_drawer.payOut(denomination);
        addPieces(m_paidOut, denomination, 1);
    }
}

void DeviceModel::settle(Settlement settlement, const Pieces& out)
{
    if (settlement == Settlement::All)
        m_customerMoney.settle();
    else if (settlement == Settlement::WhatCameOut)
        m_customerMoney.giveBack(out);
}

void DeviceModel::advance(Milliseconds now)
{
    if (!m_work || m_work->end > now)
        return;
    m_messages.setEarliest(m_work->end);
    endWork(m_work->pieces.size());
    m_readyAt = postState();
}

bool DeviceModel::isBusy(Milliseconds now) const
{
    return m_work || (m_readyAt && now < *m_readyAt);
}

// ---- People at the device ----

Amount DeviceModel::insert(Amount denomination, int count, Milliseconds now)
{
    advance(now);
    const bool takes = m_open && !hasError() && !isBusy(now) && (m_admin || m_payInOpen);
    const Amount sum = shownAmount();
    const Amount most = denomination > 0 ? (LARGEST_AMOUNT - sum) / denomination : 0;
    const int accepted = static_cast<int>(std::min<Amount>({count, m_drawer.room(denomination), most}));
    if (!takes || accepted <= 0)
        return 0;

    const Amount value = denomination * accepted;
    if (m_admin) {
        m_drawer.replenish(denomination, accepted);
        m_replenished += value;
    } else {
        m_drawer.payIn(denomination, accepted);
        m_customerMoney.payIn(denomination, accepted);
    }
    m_messages.setEarliest(now);
    postState();
    postLevels(m_drawer.newLevels());
    return value;
}

void DeviceModel::fail(int code, Milliseconds now)
{
    advance(now);
    m_messages.setEarliest(now);
    if (m_work) {
        const auto pieces = static_cast<Milliseconds>(m_work->pieces.size());
        const Milliseconds worked = std::max<Milliseconds>(0, now - m_work->start);
        endWork(static_cast<std::size_t>(pieces * worked /
                                         std::max<Milliseconds>(1, m_work->end - m_work->start)));
    }
    // An error text is one only to those who see the status turn to error.
    const bool tells = !hasError();
    m_error = std::clamp(code, 1, 99);
    if (tells)
        postReport(errorTail(m_error));
}

void DeviceModel::inject(std::string message, Milliseconds now)
{
    advance(now);
    m_messages.setEarliest(now);
    m_messages.post(std::move(message), 0);
}

bool DeviceModel::setStuck(Amount denomination, int count)
{
    if (m_drawer.find(denomination) == nullptr || count < 0)
        return false;
    m_drawer.setStuck(denomination, count);
    return true;
}

Pieces DeviceModel::takePaidOut()
{
    m_takenPaidOut += valueOf(m_paidOut);
    return std::exchange(m_paidOut, {});
}

Pieces DeviceModel::takeCollected()
{
    m_takenCollected += valueOf(m_collected);
    return std::exchange(m_collected, {});
}

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

// ---- Messages ----

std::optional<std::string> DeviceModel::nextMessage(Milliseconds now)
{
    advance(now);
    return m_messages.next(now);
}

std::vector<std::string> DeviceModel::due(Milliseconds now)
{
    std::vector<std::string> messages;
    while (auto message = nextMessage(now))
        messages.push_back(std::move(*message));
    return messages;
}

std::optional<Milliseconds> DeviceModel::nextDue() const
{
    const auto message = m_messages.nextDue();
    if (!m_work)
        return message;
    return message ? std::min(*message, m_work->end) : m_work->end;
}

int DeviceModel::statusDigit() const
{
    if (hasError())
        return 2;
    if (m_work)
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
    return m_messages.post(std::move(message), m_settings.messageGap);
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
        m_messages.post(message, &message == &messages.front() ? m_settings.messageGap : 0);
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
