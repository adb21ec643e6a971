// What people and programs ask of the device, as JSON, carried out on the model alone: no clock and no
// thread. The README tells the verbs.
#pragma once

#include "simulator/device_model.h"

namespace simulator {

/// Answer of the control interface: the HTTP status it stands for, and a JSON object.
struct ControlResult {
    int status; // 200 done; 400 wrong; 404 no such verb; 409 refused, "why" tells the reason
    std::string body;
};

/// All verbs, "wait" included.
const std::vector<std::string>& controlVerbs();

/// Carries out one verb but "wait". "json": an object, or empty for one without members.
ControlResult control(DeviceModel& device, std::string_view verb, std::string_view json, Milliseconds now);

/// The device as it is, what GET /api/state answers.
std::string describeState(const DeviceModel& device, Milliseconds now);

/// One event as a JSON text.
std::string describeEvent(const DeviceEvent& event, const DeviceModel& device);

/// The event that tells of a new state.
std::string describeStateEvent(const std::string& state, Milliseconds now);

/// What "wait" waits for.
struct WaitedFor {
    enum class What { Ready, Busy, Error, Closed, Till, Tray, PaidIn };

    What what = What::Ready;
    Amount amount = 0; // PaidIn: at least this; exactly if it is 0
    Milliseconds timeout = 0;
};

/// Throws std::runtime_error with a text for people to read.
WaitedFor parseWait(std::string_view json, int decimals);

bool isSo(const WaitedFor& waitedFor, const DeviceModel& device, Milliseconds now);

ControlResult stateResult(const DeviceModel& device, Milliseconds now);
ControlResult wrongResult(const std::string& why);
ControlResult refusedResult(const std::string& why);

} // namespace simulator
