// What the device does for each command.
#include "simulator/device_model.h"

#include "simulator/change_maker.h"

#include <algorithm>
#include <utility>

namespace simulator {

// ---- Session ----

bool DeviceModel::carryOut(const Command& command, Milliseconds now)
{
    switch (command.letter) {
    case 'a':
        return login(now);
    case 'b':
        return logout();
    case 'c':
        return dispense(command.amount);
    case 'd':
        return askPayOut(command.amount);
    case 'e':
        switch (command.number) {
        case 1:
            return giveChange();
        case 2:
            return giveBackLastNote();
        case 3:
            return reset(now);
        default:
            return giveBackAll();
        }
    case 'f':
        return payOut(command);
    case 'g':
        return openPayIn(false);
    case 'h':
        return openPayIn(true);
    case 'i':
        return tellCount(true);
    case 'j':
        return tellCount(false);
    case 'k':
        return switchAdminMode(command.number == 1);
    case 'l':
        return announceTotal();
    case 'm':
        return dispenseList(command.list);
    case 'n':
        return collectToFloat();
    case 'p':
        return endReplenish();
    case 'q':
        return purge(command.number);
    case 'r':
        return unlock();
    case 'v':
        return tellVersion();
    default:
        return tellCommands(command.text);
    }
}

bool DeviceModel::tellCommands(const std::string& stamp)
{
    m_longForm = false;
    post("x" + stamp + m_settings.masterVersion + m_settings.commands);
    return true;
}

bool DeviceModel::tellVersion()
{
    m_longForm = m_settings.versionKind == 1;
    post("v" + std::to_string(m_settings.versionKind) +
         padded(static_cast<Amount>(m_settings.apiVersion.size()), 2) + m_settings.apiVersion);
    return true;
}

bool DeviceModel::login(Milliseconds now)
{
    endErrorsByReset(now);
    if (!m_settings.loginOpens) {
        post(statusMessage('a', shownAmount(), statusDigit(), 2, {}, m_longForm));
        return true;
    }
    if (!m_open)
        m_payInOpen = m_settings.payInAfterLogin;
    m_open = true;
    m_admin = false; // whoever logs in waits for the mode of an open device
    m_replenished = 0;
    postState();
    postLevels(m_drawer.levels());
    return true;
}

bool DeviceModel::logout()
{
    loggedOut();
    postState();
    return true;
}

bool DeviceModel::reset(Milliseconds now)
{
    endErrorsByReset(now);
    postState();
    return true;
}

bool DeviceModel::tellCount(bool complete)
{
    CashList list = content();
    const Pieces payable = m_drawer.payable();
    const auto split = [&](CashEntry& entry) {
        const auto found = payable.find(entry.denomination);
        entry.recycled = found == payable.end() ? 0 : found->second;
        entry.count -= *entry.recycled;
    };
    if (complete) {
        std::for_each(list.coins.begin(), list.coins.end(), split);
        std::for_each(list.notes.begin(), list.notes.end(), split);
    }
    postParts(countMessages(list, m_settings.partSize));
    return true;
}

// ---- Paying ----

bool DeviceModel::openPayIn(bool open)
{
    if (m_admin)
        return false;
    m_payInOpen = open;
    postState();
    return true;
}

/// For a display that this device doesn't have.
bool DeviceModel::announceTotal()
{
    postState();
    return true;
}

bool DeviceModel::askPayOut(Amount amount)
{
    const Amount rest = amount - valueOf(makeUp(amount, m_drawer.payable()));
    postStatus('c', rest);
    if (rest > 0) {
        postReport(restTail(rest, m_settings, m_longForm));
        postState();
    }
    return true;
}

bool DeviceModel::dispense(Amount amount)
{
    if (m_admin)
        return false;
    Work work;
    const Pieces pieces = makeUp(amount, m_drawer.payable());
    work.pieces = largestFirst(pieces);
    work.rest = amount - valueOf(pieces);
    work.sessionPrefix = "CR/WD";
    startWork(std::move(work));
    return true;
}

/// What is not kept goes back together with what is paid out, so that the customer has paid "deposit"
/// less "amount" in the end. If nothing is kept, what could not come out is still the customer's.
bool DeviceModel::payOut(const Command& command)
{
    if (m_admin || command.deposit > paidIn())
        return false;
    const bool nothingKept = command.amount == 0 && command.deposit == 0;
    if (nothingKept && command.text == "regretAll")
        return giveBackAll();

    Work work;
    const Amount out = paidIn() - command.deposit + command.amount;
    const Pieces pieces = nothingKept ? whatGivesBackAll() : makeUp(out, m_drawer.payable());
    work.pieces = largestFirst(pieces);
    work.rest = out - valueOf(pieces);
    work.settlement = nothingKept ? Settlement::WhatCameOut : Settlement::All;
    startWork(std::move(work));
    return true;
}

/// The paid-in amount in smaller pieces than its largest one. If it can't be changed it comes back as it
/// went in.
bool DeviceModel::giveChange()
{
    Pieces smaller = m_drawer.payable();
    if (!m_customerMoney.pieces().empty())
        smaller.erase(smaller.lower_bound(*std::max_element(m_customerMoney.pieces().begin(),
                                                            m_customerMoney.pieces().end())),
                      smaller.end());
    const Pieces change = makeUp(paidIn(), smaller);
    return giveBack(valueOf(change) == paidIn() ? change : whatGivesBackAll(), paidIn());
}

bool DeviceModel::giveBackLastNote()
{
    const auto note = std::find_if(
        m_customerMoney.pieces().rbegin(), m_customerMoney.pieces().rend(),
        [&](Amount denomination) { return m_drawer.find(denomination)->kind == CashKind::Note; });
    if (note == m_customerMoney.pieces().rend() || *note > paidIn())
        return giveBack({}, 0);
    const Pieces pieces{{*note, 1}};
    return giveBack(m_drawer.canMove(pieces) ? pieces : Pieces{}, *note);
}

bool DeviceModel::giveBackAll()
{
    return giveBack(whatGivesBackAll(), paidIn());
}

bool DeviceModel::giveBack(const Pieces& pieces, Amount wanted)
{
    if (m_admin)
        return false;
    if (paidIn() == 0) {
        postState();
        return true;
    }
    Work work;
    work.pieces = largestFirst(pieces);
    work.rest = wanted - valueOf(pieces);
    work.settlement = Settlement::WhatCameOut;
    work.sessionPrefix = "CR/RF";
    startWork(std::move(work));
    return true;
}

/// The very pieces if they are still there, else any that make up the amount.
Pieces DeviceModel::whatGivesBackAll() const
{
    const Pieces inserted = counted(m_customerMoney.pieces());
    if (valueOf(inserted) == paidIn() && m_drawer.canMove(inserted))
        return inserted;
    return makeUp(paidIn(), m_drawer.movable());
}

// ---- Administration ----

bool DeviceModel::switchAdminMode(bool on)
{
    if (on && (m_payInOpen || paidIn() > 0))
        return false;
    m_admin = on;
    m_replenished = 0;
    postState();
    return true;
}

bool DeviceModel::dispenseList(const CashList& wanted)
{
    Pieces left = m_drawer.movable();
    Pieces pieces;
    const auto take = [&](const std::vector<CashEntry>& entries) {
        std::vector<CashEntry> undone;
        for (const CashEntry& entry : entries) {
            const int possible = std::min(entry.count, left[entry.denomination]);
            left[entry.denomination] -= possible;
            addPieces(pieces, entry.denomination, possible);
            if (possible < entry.count)
                undone.push_back({entry.denomination, entry.count - possible});
        }
        return undone;
    };
    Work work;
    work.undone = {take(wanted.coins), take(wanted.notes)};
    work.pieces = largestFirst(pieces);
    work.answersWithRecords = true;
    work.sessionPrefix = "CR/WD";
    startWork(std::move(work));
    return true;
}

bool DeviceModel::collectToFloat()
{
    Pieces wanted;
    for (const Denomination& unit : m_drawer.units())
        addPieces(wanted, unit.value, unit.count - unit.cashFloat);
    return collect(wanted, RecordForm::Whole);
}

bool DeviceModel::purge(int unitNumber)
{
    const auto& units = m_drawer.units();
    if (std::cmp_greater(unitNumber, units.size()))
        return false;
    Pieces wanted;
    for (const Denomination& unit : units)
        if (unitNumber == 0 || &unit == &units[static_cast<std::size_t>(unitNumber - 1)])
            addPieces(wanted, unit.value, unit.count);
    return collect(wanted, RecordForm::Running);
}

bool DeviceModel::collect(const Pieces& wanted, RecordForm undoneForm)
{
    if (!m_admin)
        return false;
    Pieces left = m_drawer.movable();
    Pieces pieces;
    Pieces undone;
    for (const auto& [denomination, count] : wanted) {
        const int possible = std::min(count, left[denomination]);
        addPieces(pieces, denomination, possible);
        addPieces(undone, denomination, count - possible);
    }
    Work work;
    work.pieces = largestFirst(pieces);
    work.collects = true;
    work.answersWithRecords = true;
    work.undone = listOf(undone);
    work.undoneForm = undoneForm;
    work.sessionPrefix = "BO/WD";
    startWork(std::move(work));
    return true;
}

/// The answer of work that leaves nothing undone.
void DeviceModel::postAllDone()
{
    postParts(recordMessages({}, {}, RecordForm::Whole, m_settings.partSize, statusDigit(), modeDigit()));
    postState();
}

bool DeviceModel::endReplenish()
{
    if (!m_admin)
        return false;
    const Amount replenished = std::exchange(m_replenished, 0);
    postAllDone();
    postSession("BO/RF", replenished);
    return true;
}

bool DeviceModel::unlock()
{
    if (!m_admin)
        return false;
    postAllDone();
    if (m_settings.sessionTexts)
        postReport({0, 0, "Tellarion unlocked"});
    return true;
}

} // namespace simulator
