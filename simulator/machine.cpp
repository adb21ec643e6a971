#include "simulator/machine.h"

#include "simulator/saved_device.h"
#include "simulator/state_file.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace simulator {

namespace {

using Clock = std::chrono::steady_clock;

Milliseconds millisecondsOf(auto duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

/// The device as the file tells it, or a new one if there is none.
DeviceModel deviceOf(Settings settings, const StateFile* file, Milliseconds now)
{
    const auto text = file != nullptr ? file->read() : std::nullopt;
    if (!text) {
        DeviceModel device(std::move(settings));
        device.start(now);
        return device;
    }
    try {
        DeviceModel device(std::move(settings), parseSaved(*text), now);
        if (!device.balances())
            throw std::runtime_error("its money does not add up");
        return device;
    } catch (const std::exception& error) {
        throw std::runtime_error("state file " + file->path() + " is damaged: " + error.what());
    }
}

} // namespace

/// What lives until the thread has ended. The thread holds a share of it and is never joined: whoever
/// ends the machine may be in the middle of unloading, where waiting for a thread's end is for ever.
class Machine::Running : public std::enable_shared_from_this<Running> {
public:
    Running(Settings settings, const std::string& stateFile)
        : m_file(stateFile.empty() ? nullptr : std::make_unique<StateFile>(stateFile)),
          m_device(deviceOf(std::move(settings), m_file.get(), now()))
    {
        m_device.tillLeft(now());
        m_device.setWatcher([this](const DeviceEvent& event) { hear(event); });
        if (m_file)
            m_file->write(savedText(m_device.saved(now())));
    }

    void startThread()
    {
        const std::lock_guard lock(m_mutex);
        std::thread worker([self = shared_from_this()] { self->run(); });
        m_worker = worker.get_id();
        worker.detach();
    }

    /// The file is free for another machine when this returns.
    void end()
    {
        stop();
        waitForSink();
        const std::lock_guard lock(m_mutex);
        m_subscribers.clear();
        m_waits.clear();
        m_sink = nullptr;
        m_file.reset();
    }

    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_changed.notify_all();
    }

    Opening open(MessageSink sink, bool comesBack)
    {
        const std::lock_guard lock(m_mutex);
        if (m_sink)
            return {OpeningCode::TILL_THERE, "Another till is on the device"};
        m_device.advance(now());
        if (const int code = m_device.openingRefusal(); code != 0)
            return {code, "No contact with the device"};
        m_sink = std::move(sink);
        m_device.tillCame(comesBack, now());
        afterChange();
        return {0, "Ok"};
    }

    void close()
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_sink) {
                m_sink = nullptr;
                m_device.tillLeft(now());
                afterChange();
            }
        }
        waitForSink();
    }

    bool isOpen()
    {
        const std::lock_guard lock(m_mutex);
        return m_sink != nullptr;
    }

    void waitForSink()
    {
        std::unique_lock lock(m_mutex);
        if (std::this_thread::get_id() != m_worker)
            m_changed.wait(lock, [this] { return !m_inSink; });
    }

    std::string command(std::string_view text)
    {
        std::unique_lock lock(m_mutex);
        if (!m_sink)
            return closedAnswer(text);
        const auto start = Clock::now();
        const DeviceModel::Answer answer = m_device.command(text, now());
        afterChange();
        const auto gone = [this] { return !m_sink || m_stopped; };
        if (answer.lateness > 0)
            m_changed.wait_until(lock, start + std::chrono::milliseconds(answer.lateness), gone);
        if (m_device.settings().busyInCall && m_device.isBusy(now()) &&
            std::this_thread::get_id() != m_worker)
            m_changed.wait(lock, [&] { return gone() || (!m_device.hasMessages() && !m_inSink); });
        return answer.text;
    }

    void atDevice(const std::function<void(DeviceModel&, Milliseconds)>& action)
    {
        const std::lock_guard lock(m_mutex);
        m_device.advance(now());
        action(m_device, now());
        afterChange();
    }

    int wait(std::string_view object, std::function<void(const ControlResult&)> done)
    {
        const std::lock_guard lock(m_mutex);
        try {
            const WaitedFor waitedFor = parseWait(object, m_device.settings().decimals);
            m_waits[++m_lastNumber] = {waitedFor, now() + waitedFor.timeout, std::move(done)};
        } catch (const std::exception& error) {
            done(wrongResult(error.what()));
            return 0;
        }
        const int number = m_lastNumber;
        m_device.advance(now());
        afterChange();
        return number;
    }

    void cancelWait(int number)
    {
        const std::lock_guard lock(m_mutex);
        m_waits.erase(number);
    }

    int subscribe(EventSink sink)
    {
        const std::lock_guard lock(m_mutex);
        m_device.advance(now());
        afterChange();
        m_toldState = describeState(m_device, now());
        sink(describeStateEvent(m_toldState, now()));
        m_subscribers[++m_lastNumber] = std::move(sink);
        return m_lastNumber;
    }

    void unsubscribe(int number)
    {
        const std::lock_guard lock(m_mutex);
        m_subscribers.erase(number);
    }

private:
    struct Wait {
        WaitedFor waitedFor;
        Milliseconds deadline;
        std::function<void(const ControlResult&)> done;
    };

    /// The time of day at the start, which goes on evenly whatever becomes of the system's clock.
    Milliseconds now() const { return m_startOfDay + millisecondsOf(Clock::now() - m_start); }

    Clock::time_point timePoint(Milliseconds time) const
    {
        return m_start + std::chrono::milliseconds(time - m_startOfDay);
    }

    void run()
    {
        std::unique_lock lock(m_mutex);
        while (!m_stopped) {
            const auto message = m_device.nextMessage(now());
            afterChange();
            if (message && m_sink)
                deliver(*message, lock);
            else if (!message)
                sleep(lock);
        }
    }

    void sleep(std::unique_lock<std::mutex>& lock)
    {
        std::optional<Milliseconds> next = m_device.nextDue();
        for (const auto& [number, wait] : m_waits)
            next = std::min(next.value_or(wait.deadline), wait.deadline);
        if (next)
            m_changed.wait_until(lock, timePoint(*next));
        else
            m_changed.wait(lock);
    }

    void deliver(const std::string& message, std::unique_lock<std::mutex>& lock)
    {
        const MessageSink sink = m_sink;
        m_inSink = true;
        lock.unlock();
        sink(message);
        lock.lock();
        m_inSink = false;
        m_changed.notify_all();
    }

    void hear(const DeviceEvent& event)
    {
        if (!m_subscribers.empty())
            m_untold.push_back(describeEvent(event, m_device));
    }

    /// What has moved is in the file before anybody hears of it.
    void afterChange()
    {
        save();
        for (const std::string& event : std::exchange(m_untold, {}))
            tell(event);
        if (!m_subscribers.empty()) {
            std::string state = describeState(m_device, now());
            if (state != m_toldState) {
                m_toldState = std::move(state);
                tell(describeStateEvent(m_toldState, now()));
            }
        }
        endWaits();
        m_changed.notify_all();
    }

    void tell(const std::string& event) const
    {
        for (const auto& [number, sink] : m_subscribers)
            sink(event);
    }

    void endWaits()
    {
        for (auto wait = m_waits.begin(); wait != m_waits.end();) {
            const bool isOver = isSo(wait->second.waitedFor, m_device, now());
            if (!isOver && now() < wait->second.deadline) {
                ++wait;
                continue;
            }
            wait->second.done(isOver ? stateResult(m_device, now()) : refusedResult("the time is over"));
            wait = m_waits.erase(wait);
        }
    }

    /// A file that can't be written must not end the machine: the money is right as long as it runs.
    void save()
    {
        if (!m_file)
            return;
        std::string text = savedText(m_device.saved(now()));
        if (text == m_savedText)
            return;
        try {
            m_file->write(text);
            m_savedText = std::move(text);
        } catch (const std::exception& error) {
            m_savedText.clear();
            m_device.note(error.what());
        }
    }

    const Clock::time_point m_start = Clock::now();
    const Milliseconds m_startOfDay = millisecondsOf(std::chrono::system_clock::now().time_since_epoch());

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unique_ptr<StateFile> m_file;
    DeviceModel m_device;
    std::string m_savedText;
    std::vector<std::string> m_untold; // events of the change that goes on
    std::string m_toldState;
    MessageSink m_sink;
    std::map<int, EventSink> m_subscribers;
    std::map<int, Wait> m_waits;
    int m_lastNumber = 0;
    std::thread::id m_worker;
    bool m_stopped = false;
    bool m_inSink = false;
};

Machine::Machine(Settings settings, const std::string& stateFile)
    : m_running(std::make_shared<Running>(std::move(settings), stateFile))
{
    m_running->startThread();
}

Machine::~Machine()
{
    m_running->end();
}

Opening Machine::open(MessageSink sink, bool comesBack)
{
    return m_running->open(std::move(sink), comesBack);
}

std::string Machine::command(std::string_view text)
{
    return m_running->command(text);
}

std::string Machine::closedAnswer(std::string_view command)
{
    return {std::string{command.empty() ? '?' : command.front(), FIELD_SEPARATOR} + "3Closed"};
}

void Machine::loggedOut()
{
    atDevice([](DeviceModel& device, Milliseconds) { device.loggedOut(); });
}

void Machine::close()
{
    m_running->close();
}

bool Machine::isOpen()
{
    return m_running->isOpen();
}

std::string Machine::state()
{
    std::string text;
    atDevice([&](const DeviceModel& device, Milliseconds now) { text = describeState(device, now); });
    return text;
}

ControlResult Machine::control(std::string_view verb, std::string_view object)
{
    ControlResult result;
    atDevice([&](DeviceModel& device, Milliseconds now) {
        result = simulator::control(device, verb, object, now);
    });
    return result;
}

int Machine::wait(std::string_view object, std::function<void(const ControlResult&)> done)
{
    return m_running->wait(object, std::move(done));
}

void Machine::cancelWait(int number)
{
    m_running->cancelWait(number);
}

int Machine::subscribe(EventSink sink)
{
    return m_running->subscribe(std::move(sink));
}

void Machine::unsubscribe(int number)
{
    m_running->unsubscribe(number);
}

void Machine::stop()
{
    m_running->stop();
}

void Machine::atDevice(const std::function<void(DeviceModel&, Milliseconds)>& action)
{
    m_running->atDevice(action);
}

} // namespace simulator
