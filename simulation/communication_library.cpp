#include "simulation/communication_library.h"

#include "platform/modules.h"
#include "simulation/virtual_system.h"

#include <cstring>
#include <map>

namespace {

simulation::CommunicationLibrary* theLibrary = nullptr;

void copy(const std::string& text, char* buffer, std::size_t room)
{
    const std::size_t length = text.copy(buffer, room - 1);
    buffer[length] = '\0';
}

void initiate(int (*callback)(const char*), const char*, char* answer, std::int16_t* returnCode)
{
    const int code = theLibrary->open(callback);
    copy(code == 0 ? "" : theLibrary->whyNotOpen(), answer, 64);
    *returnCode = static_cast<std::int16_t>(code);
}

void dini(void*, char*)
{
    if (theLibrary != nullptr) // the library may be unloaded after its surroundings
        theLibrary->close();
}

void sendCommand(const char* command, char* answer)
{
    copy(theLibrary->command(command), answer, 80);
}

void loggedOut(const char*, char* answer)
{
    theLibrary->loggedOut();
    copy("b\x1C"
         "0Ok",
         answer, 80);
}

int library; // its address is the handle

} // namespace

void simulation::setCommunicationLibrary(CommunicationLibrary* library)
{
    theLibrary = library;
}

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
    return simulation::virtualSystem().modulePath;
}

std::string ownModuleVersion(const char*)
{
    return simulation::virtualSystem().moduleVersion;
}

} // namespace platform
