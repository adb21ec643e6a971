// One simulated device that stands by itself: the model with a clock, a thread and the one link to a till.
// What people and programs do with it goes in and comes out as JSON; docs/simulator.md tells the verbs.
// Everything here may be called from any thread, but for sinks, which see below.
#pragma once

#include "simulator/control.h"
#include "simulator/opening_codes.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct Opening {
    int code; // 0 if the link is open
    std::string text;
};

class Machine {
public:
    /// Gets the device's messages, one after the other, on the machine's thread and without a lock: it may
    /// call everything here.
    using MessageSink = std::function<void(const std::string& message)>;

    /// Gets each event as a JSON text, in order, while the machine is locked: it hands it on and comes
    /// back at once, and calls nothing here.
    using EventSink = std::function<void(const std::string& json)>;

    /// "stateFile": where money and faults are kept, so that they outlive the process; empty for nowhere.
    /// Throws std::runtime_error with a text for people that names the file, if the file is damaged or
    /// another machine uses it.
    explicit Machine(Settings settings, const std::string& stateFile = {});
    ~Machine();

    // The link to the till.

    /// "comesBack": a till whose link was lost, and which doesn't know that it is logged out: it is told
    /// so by an "a" with mode 0.
    Opening open(MessageSink sink, bool comesBack = false);

    /// The device's answer, at once or as late as the device likes; "closed" while no link is open.
    std::string command(std::string_view text);

    /// The till has given up the session.
    void loggedOut();

    /// No message is delivered after it. Returns when the sink is not running any more; called from inside
    /// it, at once. The device logs the till out, goes on with its work and keeps what was paid in.
    void close();

    bool isOpen();

    /// What a command gets while no link is open.
    static std::string closedAnswer(std::string_view command);

    // Control.

    /// The machine as it is now, what GET /api/state answers.
    std::string state();

    /// Carries out one verb but "wait". "object": as JSON, or empty for one without members.
    ControlResult control(std::string_view verb, std::string_view object);

    /// Calls "done" once: when what is waited for is so, on the timeout (409), or at once if the text is
    /// wrong. Like an EventSink it is called while the machine is locked. Answers a number to cancel it by.
    int wait(std::string_view object, std::function<void(const ControlResult&)> done);
    void cancelWait(int number);

    /// The verbs, "wait" included.
    static const std::vector<std::string>& verbs() { return controlVerbs(); }

    /// From now on "sink" gets the events; the first one is the state as it is.
    int subscribe(EventSink sink);
    void unsubscribe(int number);

    /// Ends the machine's thread. What would happen without anybody's doing then waits until somebody looks.
    void stop();

    /// Runs "action" on the device itself.
    void atDevice(const std::function<void(DeviceModel& device, Milliseconds now)>& action);

private:
    class Running;

    std::shared_ptr<Running> m_running;
};

} // namespace simulator
