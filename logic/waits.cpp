// The waits. The order of the tests inside a round is part of what they promise: a match in the very round
// in which the time is up comes too late.
#include "logic/ctllogics.h"

#include "diag/log.h"
#include "logic/shared_state.h"
#include "platform/clock.h"

namespace {

constexpr int ROUND = 10; // milliseconds

} // namespace

std::int16_t CTLLogics::waitForCallback(const std::string& wanted, std::int64_t timeout) const
{
    std::int64_t elapsed = 0;
    for (;;) {
        platform::sleepMilliseconds(ROUND);
        if (g_nLastCallbackStatus == DEVICE_ERROR) {
            logError("CTLLogics::waitForCallback: Error entered");
            return TL_STATUS_ERROR;
        }
        elapsed += ROUND;
        if (elapsed > timeout) {
            g_sLastCallbackType.clear();
            return TL_STATUS_TIMEOUT;
        }
        if (g_sLastCallbackType.take(wanted))
            return elapsed < timeout ? TL_STATUS_OK : TL_STATUS_TIMEOUT;
    }
}

std::int16_t CTLLogics::waitForMode(DeviceMode mode, std::int64_t timeout, bool ignoreError) const
{
    std::int64_t elapsed = 0;
    for (;;) {
        platform::sleepMilliseconds(ROUND);
        elapsed += ROUND;
        if (g_nLastCallbackStatus == DEVICE_ERROR && !ignoreError) {
            logError("CTLLogics::waitForMode: Error entered");
            return TL_STATUS_ERROR;
        }
        if (elapsed > timeout) {
            g_nLastCallbackMode = MODE_CONSUMED;
            return TL_STATUS_TIMEOUT;
        }
        if (std::int32_t expected = mode;
            g_nLastCallbackMode.compare_exchange_strong(expected, MODE_CONSUMED))
            return elapsed < timeout ? TL_STATUS_OK : TL_STATUS_TIMEOUT;
    }
}

std::int16_t CTLLogics::waitForStatus(DeviceStatus status, std::int64_t timeout) const
{
    return waitForStatus(status, status, timeout);
}

std::int16_t CTLLogics::waitForStatus(DeviceStatus statusA, DeviceStatus statusB, std::int64_t timeout) const
{
    std::int64_t elapsed = 0;
    std::int32_t status = DEVICE_UNHEARD;
    do {
        platform::sleepMilliseconds(ROUND);
        status = g_nLastCallbackStatus;
        if (status == DEVICE_ERROR) {
            logError("CTLLogics::waitForStatus: Error entered");
            return TL_STATUS_ERROR;
        }
        elapsed += ROUND;
        if (elapsed > timeout)
            return TL_STATUS_TIMEOUT;
    } while (status != statusA && status != statusB);
    return elapsed >= timeout ? TL_STATUS_TIMEOUT : TL_STATUS_OK;
}
