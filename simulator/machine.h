// One simulated device that stands by itself: the model with a clock, a thread and the one link to a till.
// What people and programs do with it goes in and comes out as JSON; the README tells the verbs. Everything
// here may be called from any thread, but for sinks, which see below.
#pragma once

#include "simulator/settings.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

/// Why an opening fails. Users hand the code on as a status of their own, so none is one of theirs.
struct OpeningCode {
    static constexpr int BAD_SETTINGS = 20;
    static constexpr int OPEN_ALREADY = 21; // this process holds the link
    static constexpr int NO_THREAD = 22;
    static constexpr int NO_CALLBACK = 23;
    static constexpr int TILL_THERE = 24; // another till is on the device
    static constexpr int NO_ANSWER = 25;  // there is no device
    static constexpr int REFUSED = 26;    // the device doesn't want to
};

struct Opening {
    int code; // 0 if the link is open
    std::string text;
};

/// Answer of the control interface: the HTTP status it stands for, and a JSON object.
struct ControlResult {
    int status; // 200 done; 400 wrong; 404 no such verb; 409 refused, "why" tells the reason
    std::string body;
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
    explicit Machine(Settings settings, std::string stateFile = {});
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

    // Control.

    /// The machine as it is now, what GET /api/state answers.
    std::string state();

    /// Carries out one verb but "wait". "json": an object, or empty for one without members.
    ControlResult control(std::string_view verb, std::string_view json);

    /// Calls "done" once: when what is waited for is so, on the timeout (409), or at once if the text is
    /// wrong. Like an EventSink it is called while the machine is locked. Answers a number to cancel it by.
    int wait(std::string_view json, std::function<void(const ControlResult&)> done);
    void cancelWait(int number);

    /// The verbs, "wait" included.
    static const std::vector<std::string>& verbs();

    /// From now on "sink" gets the events; the first one is the state as it is.
    int subscribe(EventSink sink);
    void unsubscribe(int number);

    /// Runs "action" on the device itself.
    void atDevice(const std::function<void(class DeviceModel& device, Milliseconds now)>& action);

private:
    class Running;

    std::shared_ptr<Running> m_running;
};

} // namespace simulator
