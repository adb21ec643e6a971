#include "scripted_modules.h"

#include "platform/modules.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

// Never destroyed: the library may close its link as the process ends.
ScriptedOstrivane& ostrivane()
{
    static ScriptedOstrivane& only = *new ScriptedOstrivane;
    return only;
}

namespace {

// Of what was done: an application may call on two threads.
std::mutex noted;

void note(std::vector<std::string>& list, std::string what)
{
    const std::lock_guard lock(noted);
    list.push_back(std::move(what));
}

void put(const std::string& text, char* buffer)
{
    std::copy_n(text.c_str(), text.size() + 1, buffer);
}

void noteCall(const std::string& call)
{
    note(ostrivane().calls, call);
    if (ostrivane().onCall)
        ostrivane().onCall(call);
}

void initiate(int (*callback)(const char*), const char* portName, char* answer, std::int16_t* returnCode)
{
    noteCall(std::string("tl_initiate2 ") + (portName == nullptr ? "(null)" : portName));
    ostrivane().callback = callback;
    put(ostrivane().openAnswer, answer);
    *returnCode = ostrivane().openCode;
    if (ostrivane().onOpening)
        ostrivane().onOpening();
}

void dini(void*, char*)
{
    noteCall("tl_dini");
}

/// What fills the whole buffer has no room for an end.
void sendCommand(const char* command, char* answer)
{
    std::string shown = command;
    std::replace(shown.begin(), shown.end(), '\x1C', '|');
    note(ostrivane().commands, shown);
    const std::string text =
        ostrivane().onCommand ? ostrivane().onCommand(shown) : std::string{shown[0], '\x1C', '0'};
    if (text.size() < ScriptedOstrivane::BUFFER)
        put(text, answer);
    else
        text.copy(answer, ScriptedOstrivane::BUFFER);
}

void loggedOut(const char* text, char* answer)
{
    noteCall(std::string("tl_loggedout") + text);
    put("", answer);
}

int module; // its address is the handle

} // namespace

platform::Module platform::loadModule(const char* name)
{
    if (std::string(name) != "Ostrivane" || !ostrivane().canBeLoaded)
        return nullptr;
    const std::lock_guard lock(noted);
    ++ostrivane().references;
    if (ostrivane().onCall)
        ostrivane().onCall("load");
    return &module;
}

platform::ModuleFunction platform::findFunction(Module, const char* functionName)
{
    static const std::map<std::string, ModuleFunction> functions{
        {"tl_initiate2", reinterpret_cast<ModuleFunction>(initiate)},
        {"tl_dini", reinterpret_cast<ModuleFunction>(dini)},
        {"tl_002", reinterpret_cast<ModuleFunction>(sendCommand)},
        {"tl_loggedout", reinterpret_cast<ModuleFunction>(loggedOut)},
    };
    const auto found = functions.find(functionName);
    const bool there = found != functions.end() && !ostrivane().missingFunctions.contains(functionName);
    return there ? found->second : nullptr;
}

bool platform::freeModule(Module)
{
    if (!ostrivane().canBeFreed)
        return false;
    const std::lock_guard lock(noted);
    --ostrivane().references;
    if (ostrivane().onCall)
        ostrivane().onCall("free");
    return true;
}

std::string platform::ownModulePath(const char*)
{
    return ostrivane().ownPath;
}

std::string platform::ownModuleVersion(const char*)
{
    return ostrivane().ownVersion;
}
