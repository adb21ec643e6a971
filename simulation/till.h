// An application: it calls the library, hears its events, and looks at what each call did.
#pragma once

#include "api/tllogics.h"
#include "simulation/log_check.h"
#include "simulation/random.h"
#include "simulation/report.h"
#include "simulation/surroundings.h"

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

namespace simulation {

/// What a call did, as its caller and all around it saw it.
struct Outcome {
    int status = -1;
    std::string message;
    std::string paySent; // the pay command that went out, if any
    bool disturbed = false;

    bool ok() const { return status == TL_STATUS_OK; }
};

class Till {
public:
    explicit Till(Surroundings& surroundings);
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;
    ~Till();

    template <typename Function, typename... Arguments>
    Outcome call(const char* name, Function function, Arguments... arguments)
    {
        beginCall(name);
        if (m_surroundings.tape != nullptr)
            m_surroundings.tape->call(name, nlohmann::json::array({argumentOf(arguments)...}));
        std::array<char, 1040> message;
        message.fill('#');
        const int status = function(arguments..., message.data());
        return endCall(name, status, message);
    }

    /// What the application was told last.
    std::int32_t paidInTold = 0;
    int statusTold = -1;
    int modeTold = -1;

    bool hearsEvents = true; // and not a window
    bool isInitiated() const { return m_initiated; }

    Outcome start(const std::string& settings, int registration);
    Outcome stop();

    LogCheck logs;

private:
    void beginCall(const char* name);
    Outcome endCall(const char* name, int status, const std::array<char, 1040>& message);
    void checkCommands(const char* name, Outcome& outcome);
    void checkState(const char* name, int status) const;
    void checkTime(const char* name) const;
    void checkLimit(const std::string& name, const SentCommand& command);
    void onMessage(const std::string& message, bool before);

    // Arguments as the tape has them.
    static nlohmann::json argumentOf(std::int32_t number) { return number; }
    static nlohmann::json argumentOf(std::uint32_t number) { return number; }
    static nlohmann::json argumentOf(std::int16_t number) { return number; }
    static nlohmann::json argumentOf(std::nullptr_t) { return nullptr; }
    static nlohmann::json argumentOf(const char* text)
    {
        return text == nullptr ? nlohmann::json() : nlohmann::json(text);
    }
    static nlohmann::json argumentOf(char*) { return "out"; }
    static nlohmann::json argumentOf(TLWindowHandle) { return "window"; }
    static nlohmann::json argumentOf(std::int32_t* number)
    {
        return number == nullptr ? nlohmann::json() : nlohmann::json{{"in", *number}};
    }
    static nlohmann::json argumentOf(std::uint32_t* number)
    {
        return number == nullptr ? nlohmann::json() : nlohmann::json{{"in", *number}};
    }
    /// Never more than one record is given.
    static nlohmann::json argumentOf(CashCountRecord** records)
    {
        if (*records == nullptr)
            return nlohmann::json{{"records", nlohmann::json::array()}};
        return nlohmann::json{{"records", {{(*records)->nDenomination, (*records)->nCount}}}};
    }
    template <typename Result, typename... Parameters>
    static nlohmann::json argumentOf(Result (*)(Parameters...))
    {
        return "callback";
    }

    /// Pay-outs that the limit counts: when by the wall clock, and how much.
    struct Paid {
        std::int64_t at;
        std::int32_t amount;
    };

    Surroundings& m_surroundings;
    std::vector<Paid> m_paid;
    int m_limit = 0;
    int m_seconds = 0;
    int m_limitSeconds = 0; // of the payment before
    std::int64_t m_limitUnknownUntil = 0;
    bool m_initiated = false;
    int m_stateBefore = 0;
    int m_stateByMessages = 0;
    int m_stateAtMessage = 0;
    int m_deviceStatusAtMessage = 0;
    bool m_inCall = false;
};

} // namespace simulation
