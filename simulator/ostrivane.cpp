#include "simulator/ostrivane.h"

#include "simulator/embedded_link.h"
#include "simulator/remote_link.h"
#include "simulator/tellarion_simulator.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

using simulator::Amount;
using simulator::DeviceModel;
using simulator::EmbeddedLink;
using simulator::Milliseconds;
using simulator::Pieces;
using simulator::RemoteLink;
using simulator::Settings;

constexpr std::size_t INITIATE_ANSWER_SIZE = 64;
constexpr std::size_t COMMAND_ANSWER_SIZE = 80;

/// Lives to the end of the process: others may still close the link when statics here are gone.
EmbeddedLink& theLink()
{
    static EmbeddedLink& link = *new EmbeddedLink;
    return link;
}

RemoteLink& theRemoteLink()
{
    static RemoteLink& link = *new RemoteLink;
    return link;
}

/// Whether the last opening was that of a machine on a port of its own.
std::atomic<bool> isRemote = false;

void closeLinks()
{
    theLink().close();
    theRemoteLink().close();
}

struct CloseAtUnload {
    ~CloseAtUnload() { closeLinks(); }
} closeAtUnload;

/// What tlsim_configure set, and how that or the last opening went.
class Configuration {
public:
    /// False if the text is refused.
    bool set(const char* json)
    {
        const std::lock_guard lock(m_mutex);
        try {
            m_settings = json != nullptr ? std::optional(simulator::parseSettings(json)) : std::nullopt;
            m_error.clear();
        } catch (const std::exception& error) {
            m_error = error.what();
        }
        return m_error.empty();
    }

    /// Throws if there is a file and it can't be used.
    Settings get()
    {
        const std::lock_guard lock(m_mutex);
        if (m_settings)
            return *m_settings;
        const char* path = std::getenv("TLSIM_CONFIG");
        return path != nullptr ? readFile(path) : Settings{};
    }

    void setError(const std::string& error)
    {
        const std::lock_guard lock(m_mutex);
        m_error = error;
    }

    std::string error()
    {
        const std::lock_guard lock(m_mutex);
        return m_error;
    }

private:
    static Settings readFile(const char* path)
    {
        std::ifstream file(path, std::ios::binary);
        if (!file)
            throw std::runtime_error(std::string("settings: can't open ") + path);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        return simulator::parseSettings(text, std::filesystem::path(path).filename().string());
    }

    std::mutex m_mutex;
    std::optional<Settings> m_settings;
    std::string m_error;
};

Configuration& theConfiguration()
{
    static Configuration& configuration = *new Configuration;
    return configuration;
}

simulator::Opening openDevice(simulator::Machine::MessageSink sink)
{
    Settings settings;
    try {
        settings = theConfiguration().get();
    } catch (const std::exception& error) {
        return {simulator::OpeningCode::BAD_SETTINGS, error.what()};
    }
    return theLink().open(std::move(sink), std::move(settings));
}

/// The name of the port says which device it is.
simulator::Opening openLink(int (*callback)(const char*), const char* portName)
{
    if (callback == nullptr)
        return {simulator::OpeningCode::NO_CALLBACK, "No callback"};
    if (theLink().isOpen() || theRemoteLink().isOpen())
        return {simulator::OpeningCode::OPEN_ALREADY, "Link is open already"};
    const simulator::Machine::MessageSink sink = [callback](const std::string& message) {
        callback(message.c_str());
    };
    const auto port = RemoteLink::portOf(portName != nullptr ? portName : "");
    const simulator::Opening opening = port ? theRemoteLink().open(sink, *port) : openDevice(sink);
    if (opening.code == 0)
        isRemote = port.has_value();
    return opening;
}

void copyText(const std::string& text, char* buffer, std::size_t size)
{
    if (buffer == nullptr || size == 0)
        return;
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

void copyText(const std::string& text, char* buffer, int size)
{
    copyText(text, buffer, static_cast<std::size_t>(std::max(0, size)));
}

std::string textOf(const Pieces& pieces, const DeviceModel& device)
{
    simulator::CashList list;
    for (const auto& [denomination, count] : pieces) {
        const auto* unit = device.drawer().find(denomination);
        const bool coin = unit != nullptr && unit->kind == simulator::CashKind::Coin;
        (coin ? list.coins : list.notes).push_back({denomination, count});
    }
    return list.text();
}

/// Runs "action" on the device. False if there is none.
bool atDevice(const std::function<void(DeviceModel& device, Milliseconds now)>& action)
{
    const auto machine = theLink().machine();
    if (machine)
        machine->atDevice(action);
    return machine != nullptr;
}

/// Hands out what was taken from the device.
int32_t handOut(const std::function<Pieces(DeviceModel& device, Milliseconds now)>& take, char* text,
                int size)
{
    Amount amount = 0;
    std::string list;
    atDevice([&](DeviceModel& device, Milliseconds now) {
        const Pieces pieces = take(device, now);
        amount = simulator::valueOf(pieces);
        list = textOf(pieces, device);
    });
    copyText(list, text, size);
    return static_cast<int32_t>(amount);
}

/// What "question" answers about the device; 0 if there is none.
template <typename Question>
int32_t ask(const Question& question)
{
    Amount answer = 0;
    atDevice(
        [&](DeviceModel& device, Milliseconds now) { answer = static_cast<Amount>(question(device, now)); });
    return static_cast<int32_t>(answer);
}

} // namespace

extern "C" {

void tl_initiate2(int (*callback)(const char*), const char* portName, char* answer, std::int16_t* returnCode)
{
    const simulator::Opening opening = openLink(callback, portName);
    theConfiguration().setError(opening.code == 0 ? "" : opening.text);
    copyText(opening.text, answer, INITIATE_ANSWER_SIZE);
    *returnCode = static_cast<std::int16_t>(opening.code);
}

void tl_dini(void* /*object*/, char* /*message*/)
{
    closeLinks();
}

void tl_002(const char* command, char* answer)
{
    const char* const text = command != nullptr ? command : "";
    copyText(isRemote ? theRemoteLink().command(text) : theLink().command(text), answer, COMMAND_ANSWER_SIZE);
}

void tl_loggedout(const char* /*text*/, char* answer)
{
    if (isRemote)
        theRemoteLink().loggedOut();
    else
        atDevice([](DeviceModel& device, Milliseconds) { device.loggedOut(); });
    copyText(std::string("b") + simulator::FIELD_SEPARATOR + "0Ok", answer, COMMAND_ANSWER_SIZE);
}

int tlsim_configure(const char* json)
{
    return theConfiguration().set(json) ? 0 : 1;
}

int tlsim_last_error(char* text, int size)
{
    const std::string error = theConfiguration().error();
    copyText(error, text, size);
    return static_cast<int>(error.size());
}

int32_t tlsim_insert(int32_t denomination, int32_t count)
{
    return ask(
        [&](DeviceModel& device, Milliseconds now) { return device.insert(denomination, count, now).took; });
}

int32_t tlsim_drawer(char* text, int size)
{
    std::string list;
    const int32_t amount = ask([&](const DeviceModel& device, Milliseconds) {
        list = device.content().text();
        return device.drawer().value();
    });
    copyText(list, text, size);
    return amount;
}

int32_t tlsim_paid_in(void)
{
    return ask([](const DeviceModel& device, Milliseconds) { return device.paidIn(); });
}

int32_t tlsim_taken(char* text, int size)
{
    return handOut([](DeviceModel& device, Milliseconds now) { return device.takePaidOut(now); }, text, size);
}

int32_t tlsim_collected(char* text, int size)
{
    return handOut([](DeviceModel& device, Milliseconds) { return device.takeCollected(); }, text, size);
}

int tlsim_balances(void)
{
    return ask([](const DeviceModel& device, Milliseconds) { return device.balances(); });
}

int tlsim_busy(void)
{
    return ask([](const DeviceModel& device, Milliseconds now) { return device.isBusy(now); });
}

int tlsim_fail(int code)
{
    if (code < 1 || code > 99)
        return 1;
    const bool done = atDevice([&](DeviceModel& device, Milliseconds now) { device.fail(code, now); });
    return done ? 0 : 1;
}

int tlsim_stick(int32_t denomination, int32_t count)
{
    bool done = false;
    atDevice([&](DeviceModel& device, Milliseconds) { done = device.setStuck(denomination, count); });
    return done ? 0 : 1;
}

int tlsim_control(const char* verb, const char* json, char* text, int size)
{
    const std::string_view name = verb != nullptr ? verb : "";
    const char* const arguments = json != nullptr ? json : "";
    const auto machine = theLink().machine();
    simulator::ControlResult result{503, R"({"why":"there is no device"})"};
    if (isRemote)
        result = name == "state" ? theRemoteLink().state() : theRemoteLink().control(name, arguments);
    else if (machine)
        result = name == "state" ? simulator::ControlResult{200, machine->state()}
                                 : machine->control(name, arguments);
    copyText(result.body, text, size);
    return result.status;
}

int tlsim_inject(const char* message)
{
    if (message == nullptr)
        return 1;
    const bool done = atDevice([&](DeviceModel& device, Milliseconds now) { device.inject(message, now); });
    return done ? 0 : 1;
}
}
