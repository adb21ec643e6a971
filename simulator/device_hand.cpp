// What people do at the device: the customer's hand, and the one with the key.
#include "simulator/device_model.h"

#include <algorithm>
#include <utility>

namespace simulator {

DeviceModel::Insertion DeviceModel::insert(Amount denomination, int count, Milliseconds now)
{
    advance(now);
    if (std::string why = whyTakesNothing(now); !why.empty())
        return {0, std::move(why)};
    const Denomination* unit = m_drawer.find(denomination);
    if (unit == nullptr)
        return {0, "there is no such denomination"};
    if (m_settings.insertTime > 0)
        return insertSlowly(*unit, count, now);
    const Insertion insertion = putIn(*unit, count, now);
    if (insertion.took > 0)
        postLevels(m_drawer.newLevels());
    return insertion;
}

/// The first piece at once, unless others are on their way; the rest one by one.
DeviceModel::Insertion DeviceModel::insertSlowly(const Denomination& unit, int count, Milliseconds now)
{
    Insertion insertion;
    if (m_coming.empty() && count > 0) {
        insertion = putIn(unit, 1, now);
        if (insertion.took == 0)
            return insertion;
        postLevels(m_drawer.newLevels());
        m_nextComing = now + slowed(m_settings.insertTime);
        --count;
    }
    insertion.coming = unit.value * count;
    m_coming.insert(m_coming.end(), static_cast<std::size_t>(count), unit.value);
    return insertion;
}

/// People keep what the device no longer takes.
void DeviceModel::takeComing()
{
    const Milliseconds now = m_nextComing;
    const Amount piece = m_coming.front();
    m_coming.pop_front();
    if (!whyTakesNothing(now).empty() || putIn(*m_drawer.find(piece), 1, now).took == 0)
        m_coming.clear();
    else
        postLevels(m_drawer.newLevels());
    m_nextComing = now + slowed(m_settings.insertTime);
}

/// A fault that a piece begins shows in the message after the one that tells of the piece.
DeviceModel::Insertion DeviceModel::putIn(const Denomination& unit, int count, Milliseconds now)
{
    Insertion insertion;
    bool told = true;
    m_messages.setEarliest(now);
    for (int piece = 0; piece < count; ++piece) {
        insertion.why = whyTakesNothing(now);
        if (insertion.why.empty() &&
            (m_drawer.room(unit.value) == 0 || shownAmount() + unit.value > LARGEST_AMOUNT))
            insertion.why = "there is no room for it";
        if (!insertion.why.empty())
            break;
        if (rejects(unit, now)) {
            insertion.why = "the note is rejected";
            break;
        }
        takePiece(unit.value, now);
        insertion.took += unit.value;
        told = false;
        if (const auto beginning = m_faults.atPiece(); !beginning.empty()) {
            postState();
            told = true;
            beginFaults(beginning, now);
        }
    }
    if (!told)
        postState();
    return insertion;
}

std::string DeviceModel::whyTakesNothing(Milliseconds now) const
{
    if (!hasPower())
        return "the power is off";
    if (hasError())
        return std::string("the device is in error: ") + textOf(error()->name);
    if (!m_open)
        return "no till is logged in";
    if (isBusy(now))
        return "the device is busy";
    if (!m_admin && !m_payInOpen)
        return "pay-in is closed";
    if (m_faults.isOn(FaultName::DeviceFull))
        return "the device is full";
    return "";
}

bool DeviceModel::rejects(const Denomination& unit, Milliseconds now)
{
    if (unit.kind != CashKind::Note || !strike(FaultName::NoteRejected, now))
        return false;
    postReport(rejectedTail(m_longForm));
    return true;
}

void DeviceModel::takePiece(Amount denomination, Milliseconds now)
{
    if (m_admin) {
        m_drawer.replenish(denomination, 1);
        m_replenished += denomination;
    } else {
        m_drawer.payIn(denomination, 1);
        m_customerMoney.payIn(denomination, 1);
    }
    tellPiece(m_admin ? DeviceEvent::Way::Refilled : DeviceEvent::Way::In, denomination, now);
}

DeviceModel::Insertion DeviceModel::refill(Amount denomination, int count, Milliseconds now)
{
    advance(now);
    if (isBusy(now))
        return {0, "the device is busy"};
    if (m_drawer.find(denomination) == nullptr)
        return {0, "there is no such denomination"};
    Insertion insertion;
    const int accepted = std::min(count, m_drawer.room(denomination));
    for (int piece = 0; piece < accepted; ++piece) {
        m_drawer.replenish(denomination, 1);
        insertion.took += denomination;
        tellPiece(DeviceEvent::Way::Refilled, denomination, now);
    }
    if (accepted < count)
        insertion.why = "there is no room for it";
    return insertion;
}

bool DeviceModel::setStuck(Amount denomination, int count)
{
    if (m_drawer.find(denomination) == nullptr || count < 0)
        return false;
    m_drawer.setStuck(denomination, count);
    return true;
}

void DeviceModel::setSettings(Settings settings)
{
    settings.drawer = m_settings.drawer;
    settings.faults = m_settings.faults;
    m_settings = std::move(settings);
}

void DeviceModel::note(const std::string& text)
{
    auto& notes = m_settings.notes;
    if (std::find(notes.begin(), notes.end(), text) == notes.end())
        notes.push_back(text);
}

void DeviceModel::setUnit(const Denomination& unit)
{
    m_drawer.setUnit(unit);
}

Pieces DeviceModel::takePaidOut(Milliseconds now)
{
    advance(now);
    m_takenPaidOut += valueOf(m_paidOut);
    Pieces pieces = std::exchange(m_paidOut, {});
    if (waitsForHand())
        finishWork(now);
    return pieces;
}

Pieces DeviceModel::takeCollected()
{
    m_takenCollected += valueOf(m_collected);
    return std::exchange(m_collected, {});
}

} // namespace simulator
