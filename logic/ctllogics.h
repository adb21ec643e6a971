// The logic: one method for each operation that the application can ask for.
#pragma once

#include "api/tllogics.h"
#include "config/settings.h"
#include "logic/paid_out_list.h"
#include "logic/shared_state.h"
#include "text/shared_text.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

/// One object, built as the library is loaded. Every method but the constructor and the destructor
/// returns a status code and fills "message"; all run on the application's thread, since a wait on the
/// communication library's thread would stop the very messages that it waits for.
class CTLLogics {
public:
    CTLLogics();
    CTLLogics(const CTLLogics&) = delete;
    CTLLogics& operator=(const CTLLogics&) = delete;
    /// Closes the link if the application never called exitTL.
    ~CTLLogics();

    // Lifecycle
    std::int16_t init(const std::string& portSettings, const std::string& initSettings, std::string& message);
    std::int16_t exit(std::string& message);

    // Registration
    std::int16_t registerEvents(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                std::string& message);
    std::int16_t registerEvents2(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                 TLCashSessionEvent cashSession, std::string& message);
    std::int16_t registerEvents3(TLStatusEvent status, TLErrorEvent error, TLLevelWarningEvent levelWarning,
                                 TLCashSessionEvent cashSession, std::string& message);
    std::int16_t registerEvents4(TLStatusEvent status, TLErrorEvent error, TLLevelWarningEvent levelWarning,
                                 TLInformationEvent information, TLCashSessionEvent cashSession,
                                 std::string& message);
    std::int16_t registerEvents23(TLStatusEvent status, TLErrorEvent error, TLCashLevelEvent cashLevel,
                                  TLLevelWarningEvent levelWarning, TLCashSessionEvent cashSession,
                                  std::string& message);
    std::int16_t registerHwnd(TLWindowHandle hwndMessageTo, std::string& message);
    /// What the five above share: stores the two callbacks and leaves "message" as it is.
    std::int16_t registerBasicEvents(TLStatusEvent status, TLErrorEvent error, std::string& message);

    // Session
    std::int16_t login(std::int16_t loginNumber, const std::string& loginText, std::string& message);
    std::int16_t login(const std::string& loginNumberText, const std::string& loginText,
                       std::string& message);
    std::int16_t logout(std::string& message);
    std::int16_t isOpen(std::uint32_t& open, std::string& message);
    std::int16_t info(std::uint32_t& level, std::string& commands, std::string& master, std::string& version,
                      std::string& message);
    /// The two questions that a login asks before it opens the device.
    std::int16_t queryCommandSet(std::string& message);
    std::int16_t versionTL(std::string& message);

    // Pay-in
    std::int16_t enablePayin(std::string& message);
    std::int16_t disablePayin(std::string& message);
    std::int16_t deposit(const std::string& transactionId, std::string& message);

    // Pay-out
    std::int16_t dispense(std::int32_t amountDispense, const std::string& transactionId,
                          std::int32_t& amountRest, std::string& message);
    std::int16_t askPayout(std::int32_t amount, std::int32_t& amountRest, std::string& message);
    std::int16_t askPayout(std::int32_t amount, std::string& message);
    std::int16_t payout(std::int32_t amountDispense, std::int32_t amountDeposit,
                        const std::string& transactionId, std::int32_t& amountRest, std::string& message);
    std::int16_t payout(std::int32_t amountDispense, std::int32_t amountDeposit,
                        const std::string& transactionId, std::string& message);
    std::int16_t amountDue(std::int32_t amountDue, const std::string& transactionId, std::int32_t& amountRest,
                           std::string& message);
    std::int16_t informTotalAmount(std::int32_t amountTotal, std::string& message);

    // Taking back
    std::int16_t change(std::string& message);
    std::int16_t regret(std::int16_t regretType, std::string& message);
    std::int16_t reset(std::string& message);

    // Cash count
    std::int16_t cashCount(std::vector<CashCountRecord>& coins, std::vector<CashCountRecord>& notes,
                           std::string& message);
    std::int16_t completeCashCount(std::vector<CashCountRecord>& coins, std::vector<CashCountRecord>& notes,
                                   std::string& message);

    // Administration. coinsAndNotes: "<coins>;<notes>", each "<denomination>:<count>,..."; handed back is
    // what the device could not do.
    std::int16_t adminMode(std::int16_t adminModeType, std::string& message);
    std::int16_t collectToCashFloat(std::int16_t type, std::string& coinsAndNotes,
                                    const std::string& transactionId, std::string& message);
    std::int16_t endReplenish(const std::string& transactionId, std::string& message);
    std::int16_t unlock(std::uint32_t number, std::string& message);
    std::int16_t purge(std::uint32_t number, std::string& coinsAndNotes, const std::string& transactionId,
                       std::string& message);
    std::int16_t dispenseSpecified(std::int16_t type, std::string& coinsAndNotes, std::int32_t amount,
                                   const std::string& transactionId, std::string& message);

    // Texts of events that went to a window
    std::int16_t getErrorInfo(std::string& errorText, std::string& extInfo);
    std::int16_t getCashLevelInfo(std::string& extInfo);
    std::int16_t getCashSessionInfo(std::string& extInfo);
    std::int16_t getLevelWarningInfo(std::int32_t& warningType, std::string& typeString,
                                     std::string& denominationString, std::string& warningMessage,
                                     std::string& extInfo);

    // Settings
    std::int16_t changeSettings(const std::string& initSettings, std::int16_t durationType,
                                std::string& message);
    void restoreSettings();
    bool isInitiated() const { return m_bInitiated; }
    const CTLSettings& settings() const { return m_settings; }

    /// What the device is able to do, as the last login found.
    bool hasExtendedCommandSet() const { return m_nCommandLevel == EXTENDED_COMMAND_SET; }

    // Rounds of 10 ms until the shared state shows what is waited for. Times are in milliseconds, told by
    // counting rounds and not by a clock. 0, 2 for an error status, 6 for no answer in time.
    std::int16_t waitForCallback(const std::string& wanted, std::int64_t timeout) const;
    std::int16_t waitForMode(DeviceMode mode, std::int64_t timeout, bool ignoreError) const;
    std::int16_t waitForStatus(DeviceStatus status, std::int64_t timeout) const;
    std::int16_t waitForStatus(DeviceStatus statusA, DeviceStatus statusB, std::int64_t timeout) const;

private:
    std::int16_t initialize(const std::string& portSettings, std::string& message);
    void getIniFileSettings();

    // Shared, since nothing keeps two threads of an application from calling at once.
    std::atomic<bool> m_bInitiated = false; // between a successful init and a successful exit
    CTLSettings m_settings;
    PaidOutList m_paidOutList;
    SharedText m_sTimeStamp;                       // of the last capability query
    std::atomic<std::int32_t> m_nCommandLevel = 0; // EXTENDED_COMMAND_SET if the device has it
    std::atomic<std::int32_t> m_nLevel = 0;        // the level that infoTL tells
    SharedText m_sMaster;
    SharedText m_sCommands;
    SharedText m_sInfo;
};

extern CTLLogics g_logic; // see process_objects.cpp
