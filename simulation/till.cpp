#include "simulation/till.h"

#include "config/settings.h"
#include "logic/ctllogics.h"
#include "logic/shared_state.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

namespace simulation {

namespace {

Till* theTill = nullptr;

void onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode)
{
    theTill->paidInTold = amount;
    theTill->statusTold = status;
    theTill->modeTold = mode;
}
void onError(std::int32_t, const char*, const char*) {}
void onCashLevel(std::int32_t, std::uint16_t, const char*) {}
void onLevelWarning(std::uint16_t, std::int32_t, std::uint16_t, const char*, const char*, const char*,
                    const char*)
{}
void onInformation(const char*) {}
void onSession(std::uint16_t, std::int32_t, const char*) {}

bool isPayCommand(const std::string& command)
{
    switch (command.front()) {
    case 'c':
    case 'f':
    case 'm':
    case 'n':
    case 'q':
        return true;
    case 'e':
        return command.size() > 2 && command[2] != '3';
    default:
        return false;
    }
}

bool countsForLimit(std::string_view name)
{
    return name == "dispenseTL" || name == "payoutTL" || name == "payout2TL" || name == "amountDueTL";
}

/// The longest that each call's own waits add up to, in milliseconds.
Milliseconds longestWait(std::string_view name)
{
    const Milliseconds ok = g_logic.settings().getIntSetting(StatusOkTimeout) * Milliseconds{1000};
    constexpr Milliseconds GATE = 15000;
    constexpr Milliseconds ANSWER = 5000;
    // A wait that times out takes one round more; ten are more than any call has waits.
    constexpr Milliseconds ROUNDS = 100;
    const auto settingIs1 = [](SettingNumber number) {
        return g_logic.settings().getIntSetting(number) == 1;
    };
    const Milliseconds payEnd = settingIs1(PayOutOkCheck) ? ok : 0;
    static const std::map<std::string_view, Milliseconds> plain{{"enablePayinTL", GATE},
                                                                {"depositTL", GATE},
                                                                {"resetTL", GATE},
                                                                {"disablePayinTL", GATE + ANSWER},
                                                                {"informTotalAmountTL", GATE + ANSWER},
                                                                {"askPayoutTL", GATE + 3 * ANSWER},
                                                                {"askPayout2TL", GATE + 3 * ANSWER},
                                                                {"adminModeTL", GATE},
                                                                {"endReplenishTL", GATE + 2 * ANSWER},
                                                                {"unlockTL", GATE + ANSWER},
                                                                {"collectToCashFloatTL", GATE + ANSWER},
                                                                {"purgeTL", GATE + ANSWER},
                                                                {"dispenseSpecifiedTL", GATE + ANSWER},
                                                                {"cashCountTL", GATE + 2 * ANSWER},
                                                                {"completeCashCountTL", GATE + 2 * ANSWER}};
    if (const auto found = plain.find(name); found != plain.end())
        return found->second + ROUNDS;
    if (countsForLimit(name))
        return GATE + GATE + 3 * ANSWER + ANSWER + payEnd + ROUNDS; // its own gate and that of its ask
    if (name == "changeTL")
        return GATE + ANSWER + (settingIs1(ChangeOkCheck) ? ok : 0) + ROUNDS;
    if (name == "regretTL")
        return 10000 + ANSWER + (settingIs1(RegretOkCheck) ? ok : 0) + ROUNDS;
    if (name == "logoutTL")
        return ok + ANSWER + ROUNDS;
    if (name == "loginTL" || name == "loginStrTL")
        return 3 * GATE + 4 * ANSWER + (settingIs1(AutoDisable) ? GATE + ANSWER : 0) + ROUNDS;
    return 0;
}

/// Where a call that went well leads to; -1 for nowhere else.
bool mayLeadTo(std::string_view name, int status, int from, int to)
{
    if (name == "initTL")
        return status == 0 && from == 0 && to == 1;
    if (name == "exitTL")
        return status == 0 && to == 0;
    if (name == "loginTL" || name == "loginStrTL")
        return status == TL_STATUS_FAILED_TO_COMPLY ? to == 1 : to == 2 || to == 3;
    if (status != 0)
        return false;
    if (name == "logoutTL")
        return to == 1;
    if (name == "enablePayinTL")
        return to == 2;
    if (name == "disablePayinTL" || name == "dispenseTL" || name == "dispenseSpecifiedTL" ||
        name == "purgeTL")
        return to == 3;
    return name == "depositTL" && to == 4;
}

} // namespace

Till::Till(Surroundings& surroundings) : m_surroundings(surroundings)
{
    theTill = this;
    m_surroundings.onMessage = [this](const std::string& message, bool before) {
        onMessage(message, before);
    };
    virtualSystem().onLine = [this](const VirtualSystem::LogFile& file, std::string_view line) {
        logs.line(file, line);
    };
}

Till::~Till()
{
    virtualSystem().onLine = nullptr;
    m_surroundings.onMessage = nullptr;
    theTill = nullptr;
}

/// A message moves the state only from "closed", or out of an error after a login or a reset, and only if it
/// says that the device is open.
void Till::onMessage(const std::string& message, bool before)
{
    if (before) {
        m_stateAtMessage = g_TLState;
        m_deviceStatusAtMessage = g_nLastCallbackStatus;
        return;
    }
    const int state = g_TLState;
    if (state != m_stateAtMessage) {
        const char last = g_nLastCommand;
        const bool mayMove = m_stateAtMessage == STATE_LOGGED_OUT ||
                             (m_deviceStatusAtMessage == DEVICE_ERROR && (last == 'A' || last == '3'));
        const bool open = message.size() >= 11 && message[0] == 'a' && message[10] == '1';
        const int wanted = !open               ? -1
                           : message[9] == '0' ? STATE_PAYIN_ENABLED
                           : message[9] == '3' ? STATE_PAYIN_DISABLED
                                               : -1;
        if (!mayMove || state != wanted)
            report().violate("state: the message " + message + " led from " +
                             std::to_string(m_stateAtMessage) + " to " + std::to_string(state));
    }
    m_stateByMessages = state;
}

void Till::beginCall(const char* name)
{
    m_surroundings.sent.clear();
    m_surroundings.slept = 0;
    m_surroundings.blocked = 0;
    m_surroundings.faultBegan = false;
    m_stateBefore = g_TLState;
    m_stateByMessages = m_stateBefore;
    logs.beginCall();
    // As they are before it: a payment may end with other settings.
    m_limit = g_logic.settings().getIntSetting(PayOutAmountPerTimeLimitAmount);
    m_seconds = g_logic.settings().getIntSetting(PayOutAmountPerTimeLimitSeconds);
    if (m_inCall)
        report().violate(std::string("a call within a call: ") + name);
    m_inCall = true;
    report().count("calls");
}

Outcome Till::endCall(const char* name, int status, const std::array<char, 1040>& message)
{
    m_inCall = false;
    Outcome outcome;
    outcome.status = status;
    const auto end = std::find(message.begin(), message.end(), '\0');
    if (end == message.end() || message[1024] != '#')
        report().violate(std::string(name) + ": the message is not ended within its buffer");
    outcome.message = std::string(message.begin(), end);
    outcome.disturbed = m_surroundings.faultBegan;
    if (m_surroundings.tape != nullptr)
        m_surroundings.tape->returned(status, outcome.message);
    const bool known = (status >= 0 && status <= 13 && status != 9) || std::strcmp(name, "initTL") == 0;
    if (!known || (status == TL_STATUS_WARNING && std::strcmp(name, "initTL") != 0))
        report().violate(std::string(name) + ": no such status: " + std::to_string(status));
    checkCommands(name, outcome);
    checkState(name, status);
    checkTime(name);
    if (const std::string wrong = logs.endCall(name, status); !wrong.empty())
        report().violate("log: " + wrong);
    return outcome;
}

void Till::checkCommands(const char* name, Outcome& outcome)
{
    for (const SentCommand& command : m_surroundings.sent) {
        if (!isPayCommand(command.text))
            continue;
        if (!outcome.paySent.empty())
            report().violate(std::string(name) + ": two pay commands: " + outcome.paySent + " and " +
                             command.text);
        outcome.paySent = command.text;
        checkLimit(name, command);
    }
    const bool refused =
        outcome.status == TL_STATUS_INPUT_PARAM_ERROR || outcome.status == TL_STATUS_NOT_POSSIBLE ||
        outcome.status == TL_STATUS_AMOUNT_TOO_BIG || outcome.status == TL_STATUS_PAYOUT_LIMIT ||
        outcome.status == TL_STATUS_NOT_SUPPORTED;
    if (refused && !outcome.paySent.empty())
        report().violate(std::string(name) + ": refused with " + std::to_string(outcome.status) +
                         ", and sent " + outcome.paySent);
}

void Till::checkState(const char* name, int status) const
{
    const int state = g_TLState;
    if (state != m_stateByMessages && !mayLeadTo(name, status, m_stateByMessages, state))
        report().violate(std::string("state: ") + name + " returned " + std::to_string(status) +
                         " and led from " + std::to_string(m_stateByMessages) + " to " +
                         std::to_string(state));
}

void Till::checkTime(const char* name) const
{
    if (m_surroundings.slept > longestWait(name))
        report().violate(std::string(name) + " waited " + std::to_string(m_surroundings.slept) + " ms");
}

/// With the limit on, what was paid within its time, this payment included, is no more than it allows. After
/// a change of its time nobody outside knows what it has forgotten, until all that was paid before is old.
void Till::checkLimit(const std::string& name, const SentCommand& command)
{
    const int limit = m_limit;
    const int seconds = m_seconds;
    if (limit < 1 || !countsForLimit(name))
        return;
    if (seconds != m_limitSeconds) {
        m_limitUnknownUntil = command.at + std::max(seconds, m_limitSeconds);
        m_limitSeconds = seconds;
    }
    std::int32_t amount = std::atoi(command.text.substr(2, 8).c_str());
    if (command.text.front() == 'f')
        amount -= std::atoi(command.text.substr(11, 8).c_str());
    std::erase_if(m_paid, [&](const Paid& entry) { return command.at - entry.at > seconds; });
    m_paid.push_back({command.at, amount});
    std::int64_t sum = 0;
    for (const Paid& entry : m_paid)
        sum += entry.amount;
    if (sum > limit && command.at > m_limitUnknownUntil)
        report().violate("limit: " + std::to_string(sum) + " within " + std::to_string(seconds) +
                         " s, allowed are " + std::to_string(limit));
}

Outcome Till::start(const std::string& settings, int registration)
{
    hearsEvents = registration < 5;
    switch (registration) {
    case 0:
        call("registerEventsTL", registerEventsTL, onStatus, onError, onCashLevel);
        break;
    case 1:
        call("registerEvents2TL", registerEvents2TL, onStatus, onError, onCashLevel, onSession);
        break;
    case 2:
        call("registerEvents3TL", registerEvents3TL, onStatus, onError, onLevelWarning, onSession);
        break;
    case 3:
        call("registerEvents4TL", registerEvents4TL, onStatus, onError, onLevelWarning, onInformation,
             onSession);
        break;
    case 4:
        call("registerEvents23TL", registerEvents23TL, onStatus, onError, onCashLevel, onLevelWarning,
             onSession);
        break;
    default:
        call("registerHwndTL", registerHwndTL, reinterpret_cast<TLWindowHandle>(std::intptr_t{77}));
        break;
    }
    const Outcome outcome = call("initTL", initTL, "Type:RS232;Name:COM1;", settings.c_str());
    m_initiated = outcome.ok() || outcome.status == TL_STATUS_WARNING;
    return outcome;
}

Outcome Till::stop()
{
    const Outcome outcome = call("exitTL", exitTL);
    if (outcome.ok())
        m_initiated = false;
    return outcome;
}

} // namespace simulation
