// How the device pays out, gives back and collects: piece by piece.
#include "simulator/device_model.h"

#include <algorithm>
#include <utility>

namespace simulator {

Milliseconds DeviceModel::Work::nextPieceAt() const
{
    const auto count = static_cast<Milliseconds>(pieces.size());
    const auto number = static_cast<Milliseconds>(out) + 1;
    return start + ((end - start) * number + count - 1) / count;
}

Pieces DeviceModel::Work::piecesOut() const
{
    return counted({pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(out)});
}

Pieces DeviceModel::Work::piecesLeft() const
{
    return counted({pieces.begin() + static_cast<std::ptrdiff_t>(out), pieces.end()});
}

void DeviceModel::startWork(Work work)
{
    m_work = std::move(work);
    m_work->start = postState();
    m_work->end =
        m_work->start + slowed(m_settings.pieceTime > 0
                                   ? m_settings.pieceTime * static_cast<Milliseconds>(m_work->pieces.size())
                                   : m_settings.payOutTime);
}

std::optional<Milliseconds> DeviceModel::nextStepOfWork() const
{
    if (!m_work || m_work->waitsForHand)
        return std::nullopt;
    return m_work->out < m_work->pieces.size() ? m_work->nextPieceAt() : m_work->end;
}

void DeviceModel::stepWork()
{
    const Milliseconds now = *nextStepOfWork();
    if (m_work->out < m_work->pieces.size()) {
        moveOut(m_work->pieces[m_work->out++], m_work->collects, now);
        beginFaults(m_faults.atPiece(), now);
        return;
    }
    const bool noteInTheMouth =
        !m_work->collects && std::any_of(m_work->pieces.begin(), m_work->pieces.end(), [&](Amount piece) {
            return m_drawer.find(piece)->kind == CashKind::Note;
        });
    if (noteInTheMouth && m_faults.isOn(FaultName::NoteNotTaken))
        m_work->waitsForHand = true;
    else
        finishWork(now);
}

void DeviceModel::finishWork(Milliseconds now)
{
    m_messages.setEarliest(now);
    stopWork();
    m_readyAt = postState();
}

/// What came out until now is out. Level reports go out while the device is still busy: whoever sees it
/// ready has heard of them all.
void DeviceModel::stopWork()
{
    const Pieces out = m_work->piecesOut();
    settle(m_customerMoney, m_work->settlement, out);
    tellWork(out, m_work->piecesLeft());
    postLevels(m_drawer.newLevels());
    m_work.reset();
}

void DeviceModel::tellWork(const Pieces& out, const Pieces& left)
{
    if (m_work->answersWithRecords) {
        m_work->undone.add(listOf(left));
        postParts(recordMessages(listOf(out), m_work->undone, m_work->undoneForm, m_settings.partSize,
                                 statusDigit(), modeDigit()));
    } else {
        postRest(m_work->rest + valueOf(left));
    }
    if (m_work->sessionPrefix != nullptr)
        postSession(m_work->sessionPrefix, valueOf(out));
}

void DeviceModel::moveOut(Amount denomination, bool collects, Milliseconds now)
{
    if (collects) {
        m_drawer.collect(denomination);
        addPieces(m_collected, denomination, 1);
    } else {
        m_drawer.payOut(denomination);
        addPieces(m_paidOut, denomination, 1);
    }
    tellPiece(collects ? DeviceEvent::Way::Collected : DeviceEvent::Way::Out, denomination, now);
}

void DeviceModel::settle(CustomerMoney& money, Settlement settlement, const Pieces& out)
{
    if (settlement == Settlement::All)
        money.settle();
    else if (settlement == Settlement::WhatCameOut)
        money.giveBack(out);
}

} // namespace simulator
