#include "logic/low_level_warning.h"

#include "text/compose.h"

#include <array>

std::string LowLevelWarningStep::text() const
{
    static constexpr std::array<const char*, 4> NAMES{
        "LOW_LEVEL_WARNING_FALSE", "LOW_LEVEL_WARNING_FALSE_PENDING", "LOW_LEVEL_WARNING_TRUE_PENDING",
        "LOW_LEVEL_WARNING_TRUE"};
    return compose("Updating g_nCurrentLowLevelWarningState: ", from, " - > ", to, " (",
                   NAMES[static_cast<std::size_t>(to)], ")");
}

LowLevelWarningStep LowLevelWarningState::assumeLow()
{
    return {m_state.exchange(LOW_LEVEL_WARNING_TRUE), LOW_LEVEL_WARNING_TRUE};
}

std::optional<LowLevelWarningStep> LowLevelWarningState::beginPayOut()
{
    if (const auto made = step(LOW_LEVEL_WARNING_FALSE, LOW_LEVEL_WARNING_FALSE_PENDING))
        return made;
    return step(LOW_LEVEL_WARNING_TRUE, LOW_LEVEL_WARNING_TRUE_PENDING);
}

std::optional<LowLevelWarningStep> LowLevelWarningState::endPayOut()
{
    if (const auto made = step(LOW_LEVEL_WARNING_FALSE_PENDING, LOW_LEVEL_WARNING_FALSE))
        return made;
    return step(LOW_LEVEL_WARNING_TRUE_PENDING, LOW_LEVEL_WARNING_FALSE);
}

bool LowLevelWarningState::isLow() const
{
    const LowLevelWarning state = m_state;
    return state == LOW_LEVEL_WARNING_TRUE_PENDING || state == LOW_LEVEL_WARNING_TRUE;
}

// Exchanged and not stored: a warning that comes in meanwhile must not be lost.
std::optional<LowLevelWarningStep> LowLevelWarningState::step(LowLevelWarning from, LowLevelWarning to)
{
    LowLevelWarning expected = from;
    // Looked at first: every message comes by, and an exchange costs more than all its other steps.
    if (m_state != from || !m_state.compare_exchange_strong(expected, to))
        return std::nullopt;
    return LowLevelWarningStep{from, to};
}
