#include "simulator/faults.h"

#include <algorithm>
#include <array>

namespace simulator {

namespace {

enum class Befalls { Device, Answers, Messages, Notes };

struct Kind {
    const char* text;
    int errorCode;
    Befalls befalls;
};

constexpr std::array<Kind, 19> KINDS{{
    {"note-jam", 1, Befalls::Device},
    {"coin-jam", 2, Befalls::Device},
    {"door-open", 3, Befalls::Device},
    {"cassette-out", 4, Befalls::Device},
    {"device-error", 99, Befalls::Device},
    {"note-rejected", 0, Befalls::Notes},
    {"note-not-taken", 0, Befalls::Device},
    {"device-full", 0, Befalls::Device},
    {"busy", 0, Befalls::Device},
    {"slow", 0, Befalls::Device},
    {"power-cut", 0, Befalls::Device},
    {"open-refused", 0, Befalls::Device},
    {"link-lost", 0, Befalls::Device},
    {"answer-lost", 0, Befalls::Answers},
    {"answer-late", 0, Befalls::Answers},
    {"message-lost", 0, Befalls::Messages},
    {"message-late", 0, Befalls::Messages},
    {"message-twice", 0, Befalls::Messages},
    {"message-garbled", 0, Befalls::Messages},
}};
static_assert(KINDS.size() == static_cast<std::size_t>(FaultName::MessageGarbled) + 1);

const Kind& kindOf(FaultName name)
{
    return KINDS[static_cast<std::size_t>(name)];
}

bool happens(Fault& fault)
{
    return nextRandom(fault.random) % 1'000'000 < static_cast<std::uint64_t>(fault.chance);
}

} // namespace

const std::vector<FaultName>& faultNames()
{
    static const std::vector<FaultName> names = [] {
        std::vector<FaultName> all;
        for (std::size_t i = 0; i < KINDS.size(); ++i)
            all.push_back(static_cast<FaultName>(i));
        return all;
    }();
    return names;
}

const char* textOf(FaultName name)
{
    return kindOf(name).text;
}

std::optional<FaultName> faultNamed(std::string_view text)
{
    for (const FaultName name : faultNames())
        if (text == textOf(name))
            return name;
    return std::nullopt;
}

int errorCodeOf(FaultName name)
{
    return kindOf(name).errorCode;
}

bool strikesSingly(FaultName name)
{
    return kindOf(name).befalls != Befalls::Device;
}

void Faults::put(const Fault& fault)
{
    remove(fault.name);
    m_faults.push_back(fault);
}

bool Faults::remove(FaultName name)
{
    return std::erase_if(m_faults, [&](const Fault& fault) { return fault.name == name; }) > 0;
}

Fault* Faults::find(FaultName name)
{
    const auto found = std::find_if(m_faults.begin(), m_faults.end(),
                                    [&](const Fault& fault) { return fault.name == name; });
    return found == m_faults.end() ? nullptr : &*found;
}

const Fault* Faults::find(FaultName name) const
{
    return const_cast<Faults*>(this)->find(name);
}

bool Faults::isOn(FaultName name) const
{
    const Fault* fault = find(name);
    return fault != nullptr && fault->on;
}

std::vector<FaultName> Faults::atCommand(char letter)
{
    std::vector<FaultName> beginning;
    for (Fault& fault : m_faults) {
        if (fault.on)
            continue;
        const Befalls befalls = kindOf(fault.name).befalls;
        const bool named =
            fault.start == Fault::Start::AtCommand && (fault.letter == '\0' || fault.letter == letter);
        const bool byChance = fault.start == Fault::Start::ByChance &&
                              (befalls == Befalls::Device || befalls == Befalls::Answers);
        if (named || (byChance && happens(fault)))
            beginning.push_back(fault.name);
    }
    return beginning;
}

std::vector<FaultName> Faults::atPiece()
{
    std::vector<FaultName> beginning;
    for (Fault& fault : m_faults) {
        if (fault.on)
            continue;
        const Befalls befalls = kindOf(fault.name).befalls;
        const bool counted = fault.start == Fault::Start::AfterPieces && --fault.pieces <= 0;
        const bool byChance = fault.start == Fault::Start::ByChance &&
                              (befalls == Befalls::Device || befalls == Befalls::Notes);
        if (counted || (byChance && happens(fault)))
            beginning.push_back(fault.name);
    }
    return beginning;
}

std::vector<FaultName> Faults::atMessage()
{
    std::vector<FaultName> beginning;
    for (Fault& fault : m_faults)
        if (!fault.on && fault.start == Fault::Start::ByChance &&
            kindOf(fault.name).befalls == Befalls::Messages && happens(fault))
            beginning.push_back(fault.name);
    return beginning;
}

std::optional<Milliseconds> Faults::nextEnd() const
{
    std::optional<Milliseconds> next;
    for (const Fault& fault : m_faults)
        if (fault.on && fault.lasts && !fault.awaitsReset && (!next || fault.endsAt < *next))
            next = fault.endsAt;
    return next;
}

std::optional<FaultName> Faults::endingBy(Milliseconds now) const
{
    const auto next = nextEnd();
    if (!next || *next > now)
        return std::nullopt;
    const auto ending = std::find_if(m_faults.begin(), m_faults.end(), [&](const Fault& fault) {
        return fault.on && fault.lasts && !fault.awaitsReset && fault.endsAt == *next;
    });
    return ending->name;
}

std::uint64_t nextRandom(std::uint64_t& state)
{
    state += 0x9E3779B97F4A7C15;
    std::uint64_t number = state;
    number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9;
    number = (number ^ (number >> 27)) * 0x94D049BB133111EB;
    return number ^ (number >> 31);
}

} // namespace simulator
