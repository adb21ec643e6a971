// What faults do to the device when they begin and end.
#include "simulator/device_model.h"

#include <algorithm>

namespace simulator {

void DeviceModel::putFault(Fault fault, Milliseconds now)
{
    advance(now);
    // One that is on already ends as if nothing had been, so that its place is free.
    if (m_faults.isOn(fault.name))
        repair(fault.name, now);
    m_faults.put(fault);
    if (fault.start == Fault::Start::Now)
        beginFault(fault.name, now);
    else
        tell({.kind = DeviceEvent::Kind::Fault, .time = now, .text = textOf(fault.name), .change = "waits"});
}

bool DeviceModel::repair(FaultName name, Milliseconds now)
{
    advance(now);
    if (m_faults.find(name) == nullptr)
        return false;
    endFault(name, EndOfFault::Repaired, now);
    return true;
}

bool DeviceModel::setPower(bool on, Milliseconds now)
{
    advance(now);
    if (on == hasPower())
        return false;
    if (on)
        endFault(FaultName::PowerCut, EndOfFault::Itself, now);
    else
        putFault({FaultName::PowerCut}, now);
    return true;
}

void DeviceModel::fail(int code, Milliseconds now)
{
    Fault fault{FaultName::DeviceError};
    fault.code = std::clamp(code, 1, 99);
    fault.untilReset = true;
    advance(now);
    // A device that is in that error already only changes its code.
    if (Fault* already = m_faults.find(FaultName::DeviceError); already != nullptr && already->on)
        already->code = fault.code;
    else
        putFault(fault, now);
}

const Fault* DeviceModel::error() const
{
    const auto& faults = m_faults.all();
    const auto found = std::find_if(faults.begin(), faults.end(), [](const Fault& fault) {
        return fault.on && errorCodeOf(fault.name) != 0;
    });
    return found == faults.end() ? nullptr : &*found;
}

void DeviceModel::beginFaults(const std::vector<FaultName>& names, Milliseconds now)
{
    for (const FaultName name : names)
        beginFault(name, now);
}

void DeviceModel::beginFault(FaultName name, Milliseconds now)
{
    Fault* fault = m_faults.find(name);
    if (fault == nullptr || fault->on)
        return;
    const bool isError = errorCodeOf(name) != 0;
    const bool wasInError = hasError();
    m_messages.setEarliest(now);
    if (isError && m_work)
        stopWork();

    fault->on = true;
    fault->strikes = 0;
    fault->endsAt = now + fault->lasts.value_or(0);
    // Nothing of it is left to be mended.
    fault->awaitsReset = name == FaultName::DeviceError && fault->untilReset;
    tell({.kind = DeviceEvent::Kind::Fault, .time = now, .text = textOf(name), .change = "begins"});

    // An error text is one only to those who see the status turn to error.
    if (isError && !wasInError)
        postReport(errorTail(fault->code));
    else if (name == FaultName::Busy && !m_work && !hasError())
        postState();
    else if (name == FaultName::DeviceFull)
        postLevels(m_drawer.allFull());
    else if (name == FaultName::PowerCut)
        cutPower();
}

void DeviceModel::endFault(FaultName name, EndOfFault how, Milliseconds now)
{
    Fault* fault = m_faults.find(name);
    const bool wasOn = fault->on;
    if (wasOn && fault->untilReset && !fault->awaitsReset && how != EndOfFault::Reset) {
        fault->awaitsReset = true;
        if (how == EndOfFault::Repaired)
            fault->start = Fault::Start::Now; // the reset is its end, and chance doesn't bring it back
        tell({.kind = DeviceEvent::Kind::Fault, .time = now, .text = textOf(name), .change = "awaits reset"});
        return;
    }
    fault->on = false;
    fault->awaitsReset = false;
    // What comes by chance comes again, until somebody mends it for good.
    if (fault->start != Fault::Start::ByChance || how == EndOfFault::Repaired)
        m_faults.remove(name);
    tell({.kind = DeviceEvent::Kind::Fault, .time = now, .text = textOf(name), .change = "ends"});
    if (!wasOn || how == EndOfFault::Reset)
        return;

    m_messages.setEarliest(now);
    if (name == FaultName::PowerCut) {
        m_messages.clear();
        tellPowerIsBack();
    } else if (name == FaultName::NoteNotTaken && waitsForHand()) {
        finishWork(now);
    } else if (errorCodeOf(name) != 0 && !hasError()) {
        postState();
    } else if (name == FaultName::Busy && !m_work && !hasError()) {
        m_readyAt = postState();
    }
}

/// Those of which nothing but the error status is left. A door stays open and a jam sits, whatever the
/// device does.
void DeviceModel::endErrorsByReset(Milliseconds now)
{
    for (const FaultName name : faultNames())
        if (const Fault* fault = m_faults.find(name); fault != nullptr && fault->on && fault->awaitsReset)
            endFault(name, EndOfFault::Reset, now);
}

/// Nobody hears of it, and nobody knows what became of the work but by counting.
void DeviceModel::cutPower()
{
    if (m_work)
        settle(m_customerMoney, m_work->settlement, m_work->piecesOut());
    m_work.reset();
    m_readyAt.reset();
    m_messages.clear();
    loggedOut();
}

/// In the short form, which every till reads.
void DeviceModel::tellPowerIsBack()
{
    m_powerIsBack = !m_tillThere;
    if (m_tillThere)
        post(statusMessage('a', paidIn(), statusDigit(), 0, {}, false));
}

std::optional<Fault> DeviceModel::strike(FaultName name, Milliseconds now)
{
    Fault* fault = m_faults.find(name);
    if (fault == nullptr || !fault->on)
        return std::nullopt;
    ++fault->strikes;
    Fault strike = *fault;
    strike.random = nextRandom(fault->random);
    if (fault->times > 0 && fault->strikes >= fault->times)
        endFault(name, EndOfFault::Itself, now);
    return strike;
}

} // namespace simulator
