// The one class that touches the communication library, and through it the device.
#pragma once

#include "platform/modules.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

// The communication library's functions. What they return, if anything, is not looked at.
extern "C" {
typedef int (*DeviceCallback)(const char* message);
typedef void (*InitiateFunction)(DeviceCallback callback, const char* portName, char* answer,
                                 std::int16_t* returnCode);
typedef void (*DiniFunction)(void* object, char* message);
typedef void (*CommandFunction)(const char* command, char* answer);
typedef void (*LoggedOutFunction)(const char* text, char* answer);
}

/// Room for what the communication library writes; it needs 80 bytes and is given many more.
using AnswerBuffer = std::array<char, 1024>;

/// Binding to the communication library, and one method for each command of the device. All return a
/// status code and fill "message". Application thread; the methods block as long as the library takes.
class COstrivane {
public:
    COstrivane() = default;
    COstrivane(const COstrivane&) = delete;
    COstrivane& operator=(const COstrivane&) = delete;
    /// The last object to go when this library is unloaded: it closes the log.
    ~COstrivane();

    /// Loads and binds the library and opens the link. "portName" may be null. A failure code of the
    /// library's own comes back as it is.
    std::int16_t initialize(DeviceCallback callback, const char* portName, std::string& message);

    /// Closes the link, and releases the library unless one of its callbacks is in progress.
    std::int16_t exit(std::string& message);

    // Session
    std::int16_t queryCommandSet(const char* stamp, std::string& message);
    std::int16_t versionTL(std::string& message);
    std::int16_t login(std::int32_t number, std::int32_t digits, std::string& message);
    /// Ends the process if the text has 65 characters or more.
    std::int16_t login(const std::string& loginText, std::string& message);
    std::int16_t logout(std::string& message);
    /// Tells the library, not the device, that a login was given up.
    std::int16_t loggedOut(std::string& message);

    // Payment
    std::int16_t enablePayin(std::string& message);
    std::int16_t disablePayin(std::string& message);
    std::int16_t dispense(std::int32_t amountDispense, const std::string& transactionId,
                          std::string& message);
    std::int16_t askPayout(std::int32_t amount, std::string& message);
    std::int16_t informTotalAmount(std::int32_t amountTotal, std::string& message);
    std::int16_t doPayOut(std::int32_t amountDispense, std::int32_t amountDeposit,
                          const std::string& transactionId, std::string& message);
    std::int16_t change(std::string& message);
    std::int16_t regretLastNote(std::string& message);
    std::int16_t regretAll(std::string& message);
    std::int16_t reset(std::string& message);

    // Cash count and administration
    std::int16_t cashCount(std::string& message);
    std::int16_t completeCashCount(std::string& message);
    std::int16_t adminMode(std::int16_t adminModeType, std::string& message);
    std::int16_t collectToCashFloat(std::int16_t type, const std::string& coinsAndNotes,
                                    const std::string& transactionId, std::string& message);
    std::int16_t endReplenish(const std::string& transactionId, std::string& message);
    std::int16_t unlock(std::uint32_t number, std::string& message);
    std::int16_t purge(std::uint32_t number, std::string& message);
    std::int16_t dispenseSpecified(std::int16_t type, const std::string& coinsAndNotes,
                                   const std::string& transactionId, std::string& message);

private:
    std::int16_t loadTheComLibrary(std::string& message);
    std::int16_t freeTheComLibrary(std::string& message);
    std::int16_t my_tl_dini(std::string& message);
    std::int16_t my_tl_002(const std::string& command, std::string& answer, std::string& message);
    std::int16_t send(const std::string& command, std::string& message);
    enum class LogExchange { OnFailure, Always };
    std::int16_t sendAndLog(LogExchange when, const char* method, const std::string& command,
                            std::string& message);
    void unbind();

    std::atomic<platform::Module> m_hLibrary = nullptr; // null while nothing is loaded
};

// Process-wide; process_objects.cpp builds the object.
extern COstrivane g_ostrivane;
// Read once before each use: another thread may be in the exit.
inline constinit std::atomic<InitiateFunction> fp_tl_initiate{nullptr}; // null until bound
inline constinit std::atomic<DiniFunction> fp_tl_dini{nullptr};
inline constinit std::atomic<CommandFunction> fp_tl_002{nullptr};
inline constinit std::atomic<LoggedOutFunction> fp_tl_loggedout{nullptr}; // null also if the library has none
