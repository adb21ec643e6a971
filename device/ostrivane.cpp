// Loading, binding and releasing of the communication library, and the one path of every command.
#include "device/ostrivane.h"

#include "api/tllogics.h"
#include "device/answers.h"
#include "diag/language.h"
#include "diag/log.h"
#include "logic/shared_state.h"
#include "text/ascii.h"
#include "text/compose.h"

namespace {

constexpr const char* LIBRARY = "Ostrivane";

template <typename Function>
void bind(std::atomic<Function>& slot, platform::Module module, const char* functionName)
{
    slot = reinterpret_cast<Function>(platform::findFunction(module, functionName));
}

/// The buffer's text, ended also where the library forgot to.
std::string textOf(AnswerBuffer& buffer)
{
    buffer.back() = '\0';
    return buffer.data();
}

std::int16_t done(std::string& message)
{
    message = lookupText("Done");
    return TL_STATUS_OK;
}

std::int16_t failed(std::string& message, LanguageKey key)
{
    message = lookupText(key);
    return TL_STATUS_ERROR;
}

} // namespace

COstrivane::~COstrivane()
{
    closeLogFiles();
}

std::int16_t COstrivane::loadTheComLibrary(std::string& message)
{
    logDebug("COstrivane::loadTheComLibrary: Calling LoadLibrary(Ostrivane)");
    m_hLibrary = platform::loadModule(LIBRARY);
    logDebug("COstrivane::loadTheComLibrary: Back from LoadLibrary(Ostrivane)");
    if (m_hLibrary == nullptr) {
        logError("COstrivane::loadTheComLibrary: Failed to open Ostrivane library");
        return failed(message, "Failed to get dll handle");
    }

    bind(fp_tl_initiate, m_hLibrary, "tl_initiate2");
    bind(fp_tl_dini, m_hLibrary, "tl_dini");
    bind(fp_tl_002, m_hLibrary, "tl_002");
    bind(fp_tl_loggedout, m_hLibrary, "tl_loggedout"); // may be missing: only a failed login needs it

    const auto refuse = [&](const char* slotName, LanguageKey key) {
        logDebug(pieces("COstrivane::loadTheComLibrary: ", slotName, " == NULL"));
        platform::freeModule(m_hLibrary);
        unbind();
        return failed(message, key);
    };
    if (fp_tl_initiate == nullptr)
        return refuse("fp_tl_initiate", "tl_initiate is null");
    if (fp_tl_dini == nullptr)
        return refuse("fp_tl_dini", "tl_dini is null");
    if (fp_tl_002 == nullptr)
        return refuse("fp_tl_002", "tl_002 is null");

    logDebug("COstrivane::loadTheComLibrary: Completed. Returning TL_STATUS_OK.");
    return done(message);
}

std::int16_t COstrivane::initialize(DeviceCallback callback, const char* portName, std::string& message)
{
    logDebug("COstrivane::initialize: Calling loadTheComLibrary");
    std::string answer;
    if (const std::int16_t result = loadTheComLibrary(answer); result != TL_STATUS_OK) {
        logError(
            pieces("COstrivane::initialize: loadTheComLibrary returned value: ", result, ", ans: ", answer));
        message = answer;
        logDebug("COstrivane::initialize: Returning TL_STATUS_ERROR");
        return TL_STATUS_ERROR;
    }

    logDebug("COstrivane::initialize: Calling my_tl_initiate");
    AnswerBuffer buffer{};
    answer.copy(buffer.data(), buffer.size() - 1);
    std::int16_t code = TL_STATUS_ERROR;
    if (const InitiateFunction open = fp_tl_initiate) {
        code = 0;
        open(callback, portName, buffer.data(), &code);
    }
    if (code == 0) {
        logDebug("COstrivane::initialize: Returning TL_STATUS_OK");
        return done(message);
    }
    logError("COstrivane::initialize: my_tl_initiate returned error");
    message = textOf(buffer);
    logError(pieces("COstrivane::initialize: my_tl_initiate returned error, portName: ",
                    portName == nullptr ? "" : portName, ", ans: ", message, ", nReturn: ", code));
    return code;
}

std::int16_t COstrivane::my_tl_002(const std::string& command, std::string& answer, std::string& message)
{
    std::string shown = command;
    shown.front() = upperCase(shown.front());
    logLine(shown, LOG_DEVICE_OUT, LOG_FILE_LOGIC);

    const CommandFunction sendCommand = fp_tl_002;
    if (sendCommand == nullptr) {
        // Another thread has closed the link under this one.
        answer.clear();
        message = lookupText("Send failed");
        return TL_STATUS_SEND_FAILED;
    }
    AnswerBuffer buffer{};
    sendCommand(command.c_str(), buffer.data());
    answer = textOf(buffer);
    const AnswerMeaning meaning = meaningOf(buffer[2]);
    message = lookupText(meaning.key);
    return meaning.status;
}

std::int16_t COstrivane::my_tl_dini(std::string& message)
{
    const DiniFunction close = fp_tl_dini;
    if (close == nullptr)
        return failed(message, "tl_dini is null");
    AnswerBuffer buffer{};
    close(this, buffer.data());
    message = textOf(buffer);
    return TL_STATUS_OK;
}

std::int16_t COstrivane::exit(std::string& message)
{
    logDebug("COstrivane::exit: Calling my_tl_dini");
    if (const std::int16_t result = my_tl_dini(message); result != TL_STATUS_OK) {
        logDebug("COstrivane::exit: my_tl_dini returned error, returning the same error code");
        return result;
    }

    if (const std::int32_t depth = g_nCallbackDepth; depth < 1) {
        logDebug("COstrivane::exit: Calling freeTheComLibrary");
        if (freeTheComLibrary(message) != TL_STATUS_OK) {
            logDebug("COstrivane::exit: freeTheComLibrary returned error, returning error code "
                     "TL_STATUS_ERROR");
            return TL_STATUS_ERROR;
        }
    } else {
        logDebug(pieces("COstrivane::exit: NOT calling freeTheComLibrary since we're currently processing (",
                        depth, ") callback function(s) in that library."));
    }
    logDebug("COstrivane::exit: Done, returning TL_STATUS_OK");
    return done(message);
}

std::int16_t COstrivane::freeTheComLibrary(std::string& message)
{
    logDebug("1");
    if (m_hLibrary == nullptr)
        return failed(message, "Handle to library is null");
    logDebug("2");
    // One reference stays behind, so that a callback that returns late still finds its code.
    const platform::Module again = platform::loadModule(LIBRARY);
    logDebug("3");
    if (!platform::freeModule(again)) {
        logDebug("4");
        return failed(message, "Failed to free library");
    }
    logDebug("5");
    unbind();
    return done(message);
}

void COstrivane::unbind()
{
    m_hLibrary = nullptr;
    fp_tl_initiate = nullptr;
    fp_tl_dini = nullptr;
    fp_tl_002 = nullptr;
    fp_tl_loggedout = nullptr;
}
