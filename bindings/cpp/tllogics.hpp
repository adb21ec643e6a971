/// tllogics for C++17: this header, on top of tllogics.h, and the library to link with. tllogics.h tells of
/// each function what it does; here it is a member of Session with the same name and the same parameters,
/// without those that it hands out: these are in the result, with the status, the message, and what is known
/// of the money.
///
/// Threads: as in tllogics.h. One thread at a time calls, and none from inside an event, exitTL and close
/// excepted. A call that breaks this is refused by an exception (Refused) before the library sees it, and so
/// is a second Session, since the library is one a process. Nothing else here throws but std::bad_alloc: of a
/// call that pays before the call, never after it.
///
/// Texts are bytes in the code page of the language file, in both directions, and end at the first NUL.
///
/// All translation units of a program share one Session guard. Shared objects do so as far as the system
/// merges their inline functions: not on Windows, and not on Linux with hidden visibility. Keep to one of
/// them.
#ifndef TLLOGICS_HPP
#define TLLOGICS_HPP

#include "tllogics.h"
#include "tllogics_arrays.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tllogics {

/// Whether a call moved money.
enum class Money { no, yes, unknown };

/// A call that was not made, because it may not be.
class Refused : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

/// What every call answers. A compiler warns of one that is not read.
struct [[nodiscard]] Result {
    const char* call = ""; ///< the function's name
    std::int16_t status = TL_STATUS_ERROR;
    std::string text; ///< the message; empty for the four get...InfoTL
    Money money = Money::no;
};

struct [[nodiscard]] OpenResult : Result {
    std::uint32_t open = 0;
};

struct [[nodiscard]] InfoResult : Result {
    std::uint32_t level = 0;
    std::string commands;
    std::string master;
    std::string info;
};

struct [[nodiscard]] RestResult : Result {
    std::int32_t amountRest = 0;
};

struct [[nodiscard]] CountResult : Result {
    std::vector<CashCountRecord> coins;
    std::vector<CashCountRecord> notes;
};

/// The arrays as they stand after the call: what dispenseSpecifiedTL was given, if it handed out nothing.
struct [[nodiscard]] RestArraysResult : CountResult {
    std::uint32_t amountRest = 0;
};

struct [[nodiscard]] ErrorInfoResult : Result {
    std::string errorText;
    std::string extInfo;
};

struct [[nodiscard]] ExtInfoResult : Result {
    std::string extInfo;
};

struct [[nodiscard]] LevelWarningInfoResult : Result {
    std::int32_t warningType = 0;
    std::string chTypeString;
    std::string chDenominationString;
    std::string chWarningMessage;
    std::string extInfo;
};

/// What the calls answered that closed a Session; nothing where no call was needed.
struct [[nodiscard]] Closing {
    std::optional<Result> logout;
    std::optional<Result> exit;
};

/// What hears of the events. They come on the thread of the device's library, one at a time; one that is left
/// empty is not wanted. What they refer to must live until the Session is closed.
struct Handlers {
    std::function<void(std::int32_t amountOrRest, std::uint16_t nStatus, std::uint16_t nMode)> onStatus;
    std::function<void(std::int32_t errorCode, const std::string& errorText, const std::string& extInfo)>
        onError;
    std::function<void(std::int32_t denomination, std::uint16_t numberOf, const std::string& extInfo)>
        onCashLevel;
    std::function<void(std::uint16_t warningType, std::int32_t denomination, std::uint16_t numberOf,
                       const std::string& typeString, const std::string& denominationString,
                       const std::string& warningMessage, const std::string& extInfo)>
        onLevelWarning;
    std::function<void(const std::string& message)> onInformation;
    std::function<void(std::uint16_t infoType, std::int32_t amount, const std::string& extInfo)>
        onCashSession;

    /// What one of the above threw, which goes no further. Without this it is told on stderr.
    std::function<void(const char* event, std::exception_ptr exception)> onException;

    /// What came of closing, where the destructor did it. Without this only the log tells.
    std::function<void(const Closing& closing)> onClosed;
};

/// What a status of a call says of the money, as docs/statuses.md has it. What isn't known there of a call
/// that pays is unknown, and so is an error without a text: the memory ran out, perhaps after the payment.
inline Money moneyOf(std::string_view call, int status, std::string_view text) noexcept;

namespace detail {

/// What the one Session of a process shares with the events. Never destroyed: events may come until exitTL.
struct Process {
    std::mutex mutex; // for the three below
    bool hasSession = false;
    std::shared_ptr<const Handlers> handlers;
    int eventsUnderWay = 0;
    std::condition_variable anEventIsOver;
    std::atomic<bool> isCalling{false};
};

inline Process& process()
{
    static Process* const only = new Process;
    return *only;
}

/// How many events this thread is inside of.
inline int& eventDepth() noexcept
{
    thread_local int depth = 0;
    return depth;
}

inline void tellOfException(const Handlers& handlers, const char* event) noexcept
{
    try {
        if (handlers.onException)
            return handlers.onException(event, std::current_exception());
    } catch (...) {
        // That of the handler is told instead.
    }
    try {
        throw;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "tllogics: %s threw: %s\n", event, exception.what());
    } catch (...) {
        std::fprintf(stderr, "tllogics: %s threw\n", event);
    }
}

/// Hands an event on; nothing that is thrown gets back into the library, which would lose the message.
template <auto handler, typename... Values>
void raise(const char* event, Values... values) noexcept
{
    std::shared_ptr<const Handlers> handlers;
    {
        const std::lock_guard<std::mutex> lock(process().mutex);
        handlers = process().handlers;
        ++process().eventsUnderWay;
    }
    ++eventDepth();
    try {
        if (handlers && (*handlers).*handler)
            ((*handlers).*handler)(values...);
    } catch (...) {
        tellOfException(*handlers, event);
    }
    handlers.reset(); // may be the last to hold them, if the event ended the Session
    --eventDepth();
    const std::lock_guard<std::mutex> lock(process().mutex);
    --process().eventsUnderWay;
    process().anEventIsOver.notify_all();
}

/// exitTL waits for an event that runs, but not for the one that it is called in.
inline void awaitEvents()
{
    if (eventDepth() > 0)
        return;
    std::unique_lock<std::mutex> lock(process().mutex);
    process().anEventIsOver.wait(lock, [] { return process().eventsUnderWay == 0; });
}

inline void statusEvent(std::int32_t amountOrRest, std::uint16_t nStatus, std::uint16_t nMode)
{
    raise<&Handlers::onStatus>("onStatus", amountOrRest, nStatus, nMode);
}

inline void errorEvent(std::int32_t errorCode, const char* errorText, const char* extInfo)
{
    raise<&Handlers::onError>("onError", errorCode, errorText, extInfo);
}

inline void cashLevelEvent(std::int32_t denomination, std::uint16_t numberOf, const char* extInfo)
{
    raise<&Handlers::onCashLevel>("onCashLevel", denomination, numberOf, extInfo);
}

inline void levelWarningEvent(std::uint16_t warningType, std::int32_t denomination, std::uint16_t numberOf,
                              const char* typeString, const char* denominationString,
                              const char* warningMessage, const char* extInfo)
{
    raise<&Handlers::onLevelWarning>("onLevelWarning", warningType, denomination, numberOf, typeString,
                                     denominationString, warningMessage, extInfo);
}

inline void informationEvent(const char* message)
{
    raise<&Handlers::onInformation>("onInformation", message);
}

inline void cashSessionEvent(std::uint16_t infoType, std::int32_t amount, const char* extInfo)
{
    raise<&Handlers::onCashSession>("onCashSession", infoType, amount, extInfo);
}

/// A buffer for a text that the library hands out.
struct Text {
    char bytes[1024] = "";

    operator char*() noexcept { return bytes; }
};

/// One call, from the test whether it may be made to its result. All memory that the result of a payment
/// needs is there before.
template <typename Answer>
class Call {
public:
    Call(const char* name, bool isOpen, bool mayOvertake = false)
        : m_overtakes(mayOvertake && eventDepth() > 0)
    {
        if (!isOpen)
            throw Refused(std::string(name) + ": the Session is closed");
        if (eventDepth() > 0 && !m_overtakes)
            throw Refused(std::string(name) + ": not from inside an event");
        answer.call = name;
        answer.text.reserve(sizeof message.bytes);
        if (!m_overtakes && process().isCalling.exchange(true))
            throw Refused(std::string(name) + ": another thread is inside a call");
    }
    ~Call()
    {
        if (!m_overtakes)
            process().isCalling = false;
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// The answer, once the library has returned "status".
    Answer done(std::int16_t status)
    {
        answer.status = status;
        answer.text = message.bytes;
        answer.money = moneyOf(answer.call, status, answer.text);
        return std::move(answer);
    }

    Answer answer;
    Text message;

private:
    bool m_overtakes;
};

/// An array that the library puts in the place of another, or of none.
class Array {
public:
    explicit Array(std::vector<CashCountRecord>& records)
        : m_given(records.data()), m_records(m_given), m_count(static_cast<std::int32_t>(records.size()))
    {}
    ~Array()
    {
        if (m_records != m_given)
            tlFreeArray(m_records);
    }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;

    CashCountRecord** records() { return &m_records; }
    std::int32_t* count() { return &m_count; }

    void copyTo(std::vector<CashCountRecord>& records) const
    {
        if (m_records != m_given)
            records.assign(m_records, m_records + std::max<std::int32_t>(m_count, 0));
    }

private:
    CashCountRecord* const m_given;
    CashCountRecord* m_records;
    std::int32_t m_count;
};

template <int... statuses>
constexpr unsigned setOf = ((1U << statuses) | ...);

struct PayingCall {
    std::string_view name;
    unsigned moved;
    unsigned didNot;
};

/// The calls that pay, with the statuses after which money moved and those after which none did.
inline constexpr PayingCall PAYING_CALLS[] = {
    {"depositTL", setOf<0>, setOf<1, 2, 4, 5, 12>},
    {"dispenseTL", setOf<0>, setOf<1, 2, 4, 5, 8, 11, 12>},
    {"payoutTL", setOf<0>, setOf<1, 2, 4, 5, 8, 10, 11, 12>},
    {"payout2TL", setOf<0>, setOf<1, 2, 4, 5, 8, 10, 11, 12>},
    {"amountDueTL", setOf<0>, setOf<1, 2, 4, 5, 8, 10, 11, 12>},
    {"changeTL", setOf<0>, setOf<1, 2, 4, 5, 12>},
    {"regretTL", setOf<0>, setOf<1, 2, 4, 5, 12>},
    {"collectToCashFloatTL", setOf<13>, setOf<1, 2, 4, 5, 12>},
    {"purgeTL", setOf<13>, setOf<1, 2, 4, 5, 12>},
    {"dispenseSpecifiedTL", setOf<13>, setOf<1, 2, 4, 5, 12>},
};

} // namespace detail

inline Money moneyOf(std::string_view call, int status, std::string_view text) noexcept
{
    for (const detail::PayingCall& paying : detail::PAYING_CALLS) {
        if (paying.name != call)
            continue;
        const unsigned bit = status >= 0 && status < 32 ? 1U << status : 0;
        if (paying.moved & bit)
            return Money::yes;
        const bool ranOutOfMemory = status == TL_STATUS_ERROR && text.empty();
        return (paying.didNot & bit) && !ranOutOfMemory ? Money::no : Money::unknown;
    }
    return Money::no;
}

/// The library, for one owner at a time. Register, initTL, loginTL, the day's work; close, or the destructor,
/// logs out and exits. Don't destroy it while another thread is inside a call of it.
class Session {
public:
    explicit Session(Handlers handlers = {})
    {
        auto shared = std::make_shared<const Handlers>(std::move(handlers));
        const std::lock_guard<std::mutex> lock(detail::process().mutex);
        if (detail::process().hasSession)
            throw Refused("Session: there is one in this process already");
        detail::process().hasSession = true;
        detail::process().handlers = std::move(shared);
    }

    /// Closes, which may take as long as logoutTL does.
    ~Session()
    {
        try {
            const std::shared_ptr<const Handlers> handlers = handlersNow();
            const Closing closing = close();
            if (handlers && handlers->onClosed)
                handlers->onClosed(closing);
        } catch (...) {
            detail::Text message;
            if (m_isInitiated)
                ::exitTL(message);
        }
        release();
        detail::awaitEvents();
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// logoutTL if a login may have opened the device, exitTL if initTL went well. Inside an event, where
    /// nothing else may be called, exitTL alone. After it every call is refused, and another Session may be
    /// made; unless exitTL failed, then close may be called again.
    Closing close()
    {
        Closing closing;
        if (m_isInitiated && m_mayBeOpen && detail::eventDepth() == 0)
            closing.logout = logoutTL();
        if (m_isInitiated)
            closing.exit = exitTL();
        if (!m_isInitiated) {
            release();
            detail::awaitEvents();
        }
        return closing;
    }

    // ---- Registration, before initTL: which of the handlers get their events ----

    Result registerEventsTL()
    {
        auto call = begin<Result>("registerEventsTL");
        return call.done(::registerEventsTL(detail::statusEvent, detail::errorEvent, detail::cashLevelEvent,
                                            call.message));
    }

    Result registerEvents2TL()
    {
        auto call = begin<Result>("registerEvents2TL");
        return call.done(::registerEvents2TL(detail::statusEvent, detail::errorEvent, detail::cashLevelEvent,
                                             detail::cashSessionEvent, call.message));
    }

    Result registerEvents3TL()
    {
        auto call = begin<Result>("registerEvents3TL");
        return call.done(::registerEvents3TL(detail::statusEvent, detail::errorEvent,
                                             detail::levelWarningEvent, detail::cashSessionEvent,
                                             call.message));
    }

    Result registerEvents4TL()
    {
        auto call = begin<Result>("registerEvents4TL");
        return call.done(::registerEvents4TL(detail::statusEvent, detail::errorEvent,
                                             detail::levelWarningEvent, detail::informationEvent,
                                             detail::cashSessionEvent, call.message));
    }

    Result registerEvents23TL()
    {
        auto call = begin<Result>("registerEvents23TL");
        return call.done(::registerEvents23TL(detail::statusEvent, detail::errorEvent, detail::cashLevelEvent,
                                              detail::levelWarningEvent, detail::cashSessionEvent,
                                              call.message));
    }

    Result registerHwndTL(TLWindowHandle hwndMessageTo)
    {
        auto call = begin<Result>("registerHwndTL");
        return call.done(::registerHwndTL(hwndMessageTo, call.message));
    }

    // ---- Lifecycle ----

    Result initTL(const std::string& portSettings, const std::string& initSettings)
    {
        auto call = begin<Result>("initTL");
        const std::int16_t status = ::initTL(portSettings.c_str(), initSettings.c_str(), call.message);
        if (status == TL_STATUS_OK)
            m_isInitiated = true;
        return call.done(status);
    }

    /// Allowed inside an event, too.
    Result exitTL()
    {
        detail::Call<Result> call("exitTL", m_isLive, true);
        const std::int16_t status = ::exitTL(call.message);
        if (status == TL_STATUS_OK)
            m_isInitiated = m_mayBeOpen = false;
        return call.done(status);
    }

    // ---- Session ----

    Result loginTL(std::int16_t loginNumber, std::int16_t loginDigits)
    {
        auto call = begin<Result>("loginTL");
        return call.done(loggedIn(::loginTL(loginNumber, loginDigits, call.message)));
    }

    Result loginStrTL(const std::string& loginNumberText, const std::string& loginText)
    {
        auto call = begin<Result>("loginStrTL");
        return call.done(loggedIn(::loginStrTL(loginNumberText.c_str(), loginText.c_str(), call.message)));
    }

    Result logoutTL()
    {
        auto call = begin<Result>("logoutTL");
        const std::int16_t status = ::logoutTL(call.message);
        if (status == TL_STATUS_OK)
            m_mayBeOpen = false;
        return call.done(status);
    }

    OpenResult isOpenTL()
    {
        auto call = begin<OpenResult>("isOpenTL");
        return call.done(::isOpenTL(&call.answer.open, call.message));
    }

    InfoResult infoTL()
    {
        auto call = begin<InfoResult>("infoTL");
        detail::Text commands;
        detail::Text master;
        detail::Text info;
        const std::int16_t status = ::infoTL(&call.answer.level, commands, master, info, call.message);
        call.answer.commands = commands;
        call.answer.master = master;
        call.answer.info = info;
        return call.done(status);
    }

    // ---- Payment ----

    Result enablePayinTL()
    {
        auto call = begin<Result>("enablePayinTL");
        return call.done(::enablePayinTL(call.message));
    }

    Result disablePayinTL()
    {
        auto call = begin<Result>("disablePayinTL");
        return call.done(::disablePayinTL(call.message));
    }

    Result depositTL(const std::string& transactionId)
    {
        auto call = begin<Result>("depositTL");
        return call.done(::depositTL(transactionId.c_str(), call.message));
    }

    RestResult dispenseTL(std::int32_t amountDispense, const std::string& transactionId)
    {
        auto call = begin<RestResult>("dispenseTL");
        return call.done(
            ::dispenseTL(amountDispense, transactionId.c_str(), &call.answer.amountRest, call.message));
    }

    Result askPayoutTL(std::int32_t amount)
    {
        auto call = begin<Result>("askPayoutTL");
        return call.done(::askPayoutTL(amount, call.message));
    }

    RestResult askPayout2TL(std::int32_t amount)
    {
        auto call = begin<RestResult>("askPayout2TL");
        return call.done(::askPayout2TL(amount, &call.answer.amountRest, call.message));
    }

    Result informTotalAmountTL(std::int32_t amountTotal)
    {
        auto call = begin<Result>("informTotalAmountTL");
        return call.done(::informTotalAmountTL(amountTotal, call.message));
    }

    Result payoutTL(std::int32_t amountDispense, std::int32_t amountDeposit, const std::string& transactionId)
    {
        auto call = begin<Result>("payoutTL");
        return call.done(::payoutTL(amountDispense, amountDeposit, transactionId.c_str(), call.message));
    }

    RestResult payout2TL(std::int32_t amountDispense, std::int32_t amountDeposit,
                         const std::string& transactionId)
    {
        auto call = begin<RestResult>("payout2TL");
        return call.done(::payout2TL(amountDispense, amountDeposit, transactionId.c_str(),
                                     &call.answer.amountRest, call.message));
    }

    RestResult amountDueTL(std::int32_t amountDue, const std::string& transactionId)
    {
        auto call = begin<RestResult>("amountDueTL");
        return call.done(
            ::amountDueTL(amountDue, transactionId.c_str(), &call.answer.amountRest, call.message));
    }

    Result changeTL()
    {
        auto call = begin<Result>("changeTL");
        return call.done(::changeTL(call.message));
    }

    Result regretTL(std::int16_t regretType)
    {
        auto call = begin<Result>("regretTL");
        return call.done(::regretTL(regretType, call.message));
    }

    Result resetTL()
    {
        auto call = begin<Result>("resetTL");
        return call.done(::resetTL(call.message));
    }

    // ---- Administration ----

    Result adminModeTL(std::int16_t adminModeType)
    {
        auto call = begin<Result>("adminModeTL");
        return call.done(::adminModeTL(adminModeType, call.message));
    }

    RestArraysResult collectToCashFloatTL(std::int16_t type, const std::string& transactionId)
    {
        return withArrays<RestArraysResult>(
            "collectToCashFloatTL", {}, {}, [&](auto& coins, auto& notes, auto& call) {
                return ::collectToCashFloatTL(type, coins.records(), coins.count(), notes.records(),
                                              notes.count(), &call.answer.amountRest, transactionId.c_str(),
                                              call.message);
            });
    }

    Result endReplenishTL(const std::string& transactionId)
    {
        auto call = begin<Result>("endReplenishTL");
        return call.done(::endReplenishTL(transactionId.c_str(), call.message));
    }

    Result unlockTL(std::uint32_t number)
    {
        auto call = begin<Result>("unlockTL");
        return call.done(::unlockTL(number, call.message));
    }

    RestArraysResult purgeTL(std::uint32_t number, const std::string& transactionId)
    {
        return withArrays<RestArraysResult>("purgeTL", {}, {}, [&](auto& coins, auto& notes, auto& call) {
            return ::purgeTL(number, coins.records(), coins.count(), notes.records(), notes.count(),
                             &call.answer.amountRest, transactionId.c_str(), call.message);
        });
    }

    RestArraysResult dispenseSpecifiedTL(std::int16_t type, std::vector<CashCountRecord> coins,
                                         std::vector<CashCountRecord> notes, const std::string& transactionId)
    {
        return withArrays<RestArraysResult>(
            "dispenseSpecifiedTL", std::move(coins), std::move(notes),
            [&](auto& coinArray, auto& noteArray, auto& call) {
                return ::dispenseSpecifiedTL(type, coinArray.records(), coinArray.count(),
                                             noteArray.records(), noteArray.count(), &call.answer.amountRest,
                                             transactionId.c_str(), call.message);
            });
    }

    // ---- Cash count ----

    CountResult cashCountTL()
    {
        return withArrays<CountResult>("cashCountTL", {}, {}, [](auto& coins, auto& notes, auto& call) {
            return ::cashCountTL(coins.records(), coins.count(), notes.records(), notes.count(),
                                 call.message);
        });
    }

    CountResult completeCashCountTL()
    {
        return withArrays<CountResult>(
            "completeCashCountTL", {}, {}, [](auto& coins, auto& notes, auto& call) {
                return ::completeCashCountTL(coins.records(), coins.count(), notes.records(), notes.count(),
                                             call.message);
            });
    }

    // ---- Texts of events that came as window messages ----

    ErrorInfoResult getErrorInfoTL()
    {
        auto call = begin<ErrorInfoResult>("getErrorInfoTL");
        detail::Text errorText;
        detail::Text extInfo;
        const std::int16_t status = ::getErrorInfoTL(errorText, extInfo);
        call.answer.errorText = errorText;
        call.answer.extInfo = extInfo;
        return call.done(status);
    }

    ExtInfoResult getCashLevelInfoTL() { return extInfoOf("getCashLevelInfoTL", ::getCashLevelInfoTL); }

    ExtInfoResult getCashSessionInfoTL() { return extInfoOf("getCashSessionInfoTL", ::getCashSessionInfoTL); }

    LevelWarningInfoResult getLevelWarningInfoTL()
    {
        auto call = begin<LevelWarningInfoResult>("getLevelWarningInfoTL");
        std::int32_t warningType = 1; // the library refuses 0
        detail::Text typeString;
        detail::Text denominationString;
        detail::Text warningMessage;
        detail::Text extInfo;
        const std::int16_t status =
            ::getLevelWarningInfoTL(&warningType, typeString, denominationString, warningMessage, extInfo);
        call.answer.warningType = warningType;
        call.answer.chTypeString = typeString;
        call.answer.chDenominationString = denominationString;
        call.answer.chWarningMessage = warningMessage;
        call.answer.extInfo = extInfo;
        return call.done(status);
    }

    // ---- Settings ----

    Result changeSettingsTL(const std::string& initSettings, std::int16_t durationType)
    {
        auto call = begin<Result>("changeSettingsTL");
        return call.done(::changeSettingsTL(initSettings.c_str(), durationType, call.message));
    }

private:
    template <typename Answer>
    detail::Call<Answer> begin(const char* name)
    {
        return detail::Call<Answer>(name, m_isLive);
    }

    /// A device that answered late, or whose answer was lost, may be open all the same.
    std::int16_t loggedIn(std::int16_t status)
    {
        if (status == TL_STATUS_OK || status == TL_STATUS_TIMEOUT || status == TL_STATUS_SEND_FAILED ||
            status == TL_STATUS_FAILED_TO_COMPLY)
            m_mayBeOpen = true;
        return status;
    }

    template <typename Answer, typename Make>
    Answer withArrays(const char* name, std::vector<CashCountRecord> coins,
                      std::vector<CashCountRecord> notes, Make&& make)
    {
        auto call = begin<Answer>(name);
        // More kinds of money than a device's answer names, so that nothing fails once it has paid.
        constexpr std::size_t KINDS = 256;
        for (auto [given, left] :
             {std::pair(&coins, &call.answer.coins), std::pair(&notes, &call.answer.notes)}) {
            left->reserve((std::max)(KINDS, given->size())); // windows.h may have a macro
            left->assign(given->begin(), given->end());
        }
        detail::Array coinArray(coins);
        detail::Array noteArray(notes);
        const std::int16_t status = make(coinArray, noteArray, call);
        coinArray.copyTo(call.answer.coins);
        noteArray.copyTo(call.answer.notes);
        return call.done(status);
    }

    ExtInfoResult extInfoOf(const char* name, std::int16_t (*get)(char*))
    {
        auto call = begin<ExtInfoResult>(name);
        detail::Text extInfo;
        const std::int16_t status = get(extInfo);
        call.answer.extInfo = extInfo;
        return call.done(status);
    }

    std::shared_ptr<const Handlers> handlersNow() const
    {
        if (!m_isLive)
            return nullptr;
        const std::lock_guard<std::mutex> lock(detail::process().mutex);
        return detail::process().handlers;
    }

    /// Lets go of the library, for another Session.
    void release() noexcept
    {
        if (!m_isLive.exchange(false))
            return;
        std::shared_ptr<const Handlers> handlers; // destroyed after the lock
        const std::lock_guard<std::mutex> lock(detail::process().mutex);
        handlers.swap(detail::process().handlers);
        detail::process().hasSession = false;
    }

    // Atomic for an exitTL inside an event, while another thread is inside a call.
    std::atomic<bool> m_isLive{true};
    std::atomic<bool> m_isInitiated{false};
    std::atomic<bool> m_mayBeOpen{false};
};

} // namespace tllogics

#endif
