#include "simulation/surroundings.h"

#include "platform/modules.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <ostream>

namespace simulation {

Surroundings* g_surroundings = nullptr;

Surroundings::Surroundings(simulator::Settings settings)
{
    replaceDevice(std::move(settings));
    virtualSystem().onSleep = [this](Milliseconds time) {
        slept += time;
        pass(time);
    };
    g_surroundings = this;
}

Surroundings::~Surroundings()
{
    g_surroundings = nullptr;
    virtualSystem().onSleep = [](Milliseconds) {};
}

void Surroundings::replaceDevice(simulator::Settings settings)
{
    m_device.emplace(std::move(settings));
    watch();
    m_device->tillLeft(now());
    m_device->start(now());
    m_ledger = {};
    for (const simulator::Denomination& unit : m_device->drawer().units())
        m_ledger.start[unit.value] = unit.count;
}

void Surroundings::watch()
{
    m_device->setWatcher([this](const simulator::DeviceEvent& event) { hear(event); });
}

void Surroundings::hear(const simulator::DeviceEvent& event)
{
    using Event = simulator::DeviceEvent;
    if (event.kind == Event::Kind::Fault || (event.kind == Event::Kind::Message && *event.change != '\0'))
        faultBegan = true;
    if (event.kind != Event::Kind::Piece)
        return;
    const bool comesIn = event.way == Event::Way::In || event.way == Event::Way::Refilled;
    m_ledger.moved[event.denomination] += comesIn ? 1 : -1;
    if (money != nullptr && (event.way == Event::Way::In || event.way == Event::Way::Out))
        *money << virtualSystem().localTime() << (event.way == Event::Way::In ? "\tin\t" : "\tout\t")
               << event.denomination << '\n';
    switch (event.way) {
    case Event::Way::In:
        m_ledger.in += event.denomination;
        break;
    case Event::Way::Out:
        m_ledger.out += event.denomination;
        break;
    case Event::Way::Refilled:
        m_ledger.refilled += event.denomination;
        break;
    case Event::Way::Collected:
        m_ledger.collected += event.denomination;
        break;
    }
}

void Surroundings::pass(Milliseconds time)
{
    const Milliseconds end = now() + time;
    for (;;) {
        std::optional<Milliseconds> next = m_device->nextDue();
        if (!m_actions.empty() && (!next || m_actions.top().at <= *next))
            next = m_actions.top().at;
        if (!next || *next > end)
            break;
        virtualSystem().setNow(std::max(now(), *next));
        if (!m_actions.empty() && m_actions.top().at <= now()) {
            const auto run = m_actions.top().run;
            m_actions.pop();
            run();
            continue;
        }
        while (const auto message = m_device->nextMessage(now()))
            say(*message);
        m_device->advance(now());
    }
    virtualSystem().setNow(end);
}

bool Surroundings::rest(Milliseconds most)
{
    const Milliseconds end = now() + most;
    while (m_device->isBusy(now()) || m_device->hasMessages()) {
        if (now() >= end)
            return false;
        pass(10);
    }
    return true;
}

void Surroundings::after(Milliseconds in, std::function<void()> action)
{
    m_actions.push({now() + in, ++m_actionsSoFar, std::move(action)});
}

void Surroundings::say(const std::string& message)
{
    if (m_callback == nullptr)
        return;
    if (tape != nullptr)
        tape->said(message);
    if (onMessage)
        onMessage(message, true);
    m_callback(message.c_str());
    if (onMessage)
        onMessage(message, false);
}

int Surroundings::open(Callback callback)
{
    m_callback = nullptr;
    const int refusal = m_device->openingRefusal();
    if (tape != nullptr)
        tape->opened(refusal);
    if (refusal != 0)
        return refusal;
    m_callback = callback;
    m_device->tillCame(false, now());
    return 0;
}

void Surroundings::close()
{
    m_callback = nullptr;
    m_device->tillLeft(now());
}

std::string Surroundings::command(std::string_view text)
{
    const Milliseconds start = now();
    const simulator::DeviceModel::Answer answer = m_device->command(text, start);
    sent.push_back({std::string(text), virtualSystem().wallClock()});
    if (tape != nullptr)
        tape->sent(sent.back().text);
    pass(answer.lateness);
    if (m_device->settings().busyInCall) {
        for (int i = 0; i < 1000 && m_device->isBusy(now()) && m_device->hasMessages(); ++i)
            pass(10);
    }
    blocked += now() - start;
    if (tape != nullptr)
        tape->answered(answer.text);
    return answer.text;
}

void Surroundings::loggedOut()
{
    m_device->loggedOut();
}

} // namespace simulation

// ---- The communication library ----

namespace {

using simulation::g_surroundings;

void copy(const std::string& text, char* buffer, std::size_t room)
{
    const std::size_t length = text.copy(buffer, room - 1);
    buffer[length] = '\0';
}

void initiate(int (*callback)(const char*), const char*, char* answer, std::int16_t* returnCode)
{
    const int code = g_surroundings->open(callback);
    copy(code == 0 ? "" : "The device refused", answer, 64);
    *returnCode = static_cast<std::int16_t>(code);
}

void dini(void*, char*)
{
    if (g_surroundings != nullptr) // the library may be unloaded after its surroundings
        g_surroundings->close();
}

void sendCommand(const char* command, char* answer)
{
    copy(g_surroundings->command(command), answer, 80);
}

void loggedOut(const char*, char* answer)
{
    g_surroundings->loggedOut();
    copy("b\x1C"
         "0Ok",
         answer, 80);
}

int library; // its address is the handle

} // namespace

namespace platform {

Module loadModule(const char* name)
{
    return std::strcmp(name, "Ostrivane") == 0 ? &library : nullptr;
}

ModuleFunction findFunction(Module, const char* functionName)
{
    static const std::map<std::string_view, ModuleFunction> functions{
        {"tl_initiate2", reinterpret_cast<ModuleFunction>(initiate)},
        {"tl_dini", reinterpret_cast<ModuleFunction>(dini)},
        {"tl_002", reinterpret_cast<ModuleFunction>(sendCommand)},
        {"tl_loggedout", reinterpret_cast<ModuleFunction>(loggedOut)},
    };
    const auto found = functions.find(functionName);
    return found == functions.end() ? nullptr : found->second;
}

bool freeModule(Module)
{
    return true;
}

std::string ownModulePath(const char*)
{
    return "/opt/tllogics/libtllogics.so";
}

std::string ownModuleVersion(const char*)
{
    return "1.0.0.0";
}

} // namespace platform
