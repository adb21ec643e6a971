// What the library holds of the levels in the device: while they may be low, small pay-outs are asked for
// first. Both threads move it, so each step looks at the value and replaces it in one.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

enum LowLevelWarning : std::int32_t {
    LOW_LEVEL_WARNING_FALSE = 0,
    LOW_LEVEL_WARNING_FALSE_PENDING = 1, // a pay-out is on its way, levels were good
    LOW_LEVEL_WARNING_TRUE_PENDING = 2,  // a pay-out is on its way, levels were low
    LOW_LEVEL_WARNING_TRUE = 3
};

/// A step that was made.
struct LowLevelWarningStep {
    LowLevelWarning from;
    LowLevelWarning to;

    /// As the log tells it: "Updating g_nCurrentLowLevelWarningState: ...".
    std::string text() const;
};

class LowLevelWarningState {
public:
    /// From any value, and also if it was so before: the device told of low levels, or who knows of them.
    LowLevelWarningStep assumeLow();
    /// A pay-out is about to go to the device. Nothing if another is on its way.
    std::optional<LowLevelWarningStep> beginPayOut();
    /// The device is ready and told of no low level since a pay-out began. Nothing if none is on its way.
    std::optional<LowLevelWarningStep> endPayOut();

    bool isLow() const;
    operator LowLevelWarning() const { return m_state; }

private:
    std::optional<LowLevelWarningStep> step(LowLevelWarning from, LowLevelWarning to);

    std::atomic<LowLevelWarning> m_state{LOW_LEVEL_WARNING_TRUE};
};

inline constinit LowLevelWarningState g_nCurrentLowLevelWarningState;
