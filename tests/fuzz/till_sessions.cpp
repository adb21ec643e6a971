// Whole sessions: exports in any order with any values, answers of every code and without an end, messages
// at any time, calls inside events. An input is a list of steps, each a byte for its kind and what it takes.
#include "fuzz/library.h"

#include "api/tllogics.h"
#include "logic/shared_state.h"
#include "scripted_modules.h"
#include "simulation/virtual_system.h"

#include <algorithm>
#include <array>
#include <deque>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using fuzz::Bytes;
using simulation::virtualSystem;

/// Takes parameters from the input and holds what they point to. A byte of 255 is a null pointer.
class Arguments {
public:
    explicit Arguments(Bytes& input) : m_input(input) {}
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    /// The library's arrays are ours, and every text that was handed out has an end.
    ~Arguments()
    {
        for (Array& array : m_arrays) {
            if (array.records == array.given.data() || array.records == nullptr)
                continue;
            if (array.counted && array.count > 0)
                m_lastTotal = array.records[array.count - 1].nTotal;
            std::free(array.records);
        }
        for (const auto& text : m_texts)
            fuzz::require(std::find(text.begin(), text.end(), '\0') != text.end());
    }

    void take(std::int16_t& value) { value = static_cast<std::int16_t>(m_input.number()); }
    void take(std::int32_t& value) { value = m_input.number(); }
    void take(std::uint32_t& value) { value = static_cast<std::uint32_t>(m_input.number()); }
    void take(TLWindowHandle& value)
    {
        value = m_input.byte() == 255 ? nullptr : reinterpret_cast<TLWindowHandle>(std::intptr_t{99999});
    }
    void take(TLStatusEvent& value) { value = orNull(fuzz::onStatus); }
    void take(TLErrorEvent& value) { value = orNull(fuzz::onError); }
    void take(TLCashLevelEvent& value) { value = orNull(fuzz::onCashLevel); }
    void take(TLLevelWarningEvent& value) { value = orNull(fuzz::onLevelWarning); }
    void take(TLInformationEvent& value) { value = orNull(fuzz::onInformation); }
    void take(TLCashSessionEvent& value) { value = orNull(fuzz::onSession); }

    void take(const char*& value)
    {
        const unsigned char known = m_input.byte();
        if (known < KNOWN.size())
            value = KNOWN[known];
        else
            value = known == 255 ? nullptr : m_given.emplace_back(m_input.line()).c_str();
    }

    void take(char*& value) { value = m_input.byte() == 255 ? nullptr : m_texts.emplace_back().data(); }

    void take(std::int32_t*& value) { value = numberOrNull<std::int32_t>(); }
    void take(std::uint32_t*& value) { value = numberOrNull<std::uint32_t>(); }

    void take(CashCountRecord**& value)
    {
        const unsigned char count = m_input.byte();
        Array& array = m_arrays.emplace_back();
        array.given.resize(count % 16);
        for (CashCountRecord& record : array.given)
            record = {m_input.number(), m_input.number(), 0, 0};
        array.records = array.given.empty() ? nullptr : array.given.data();
        array.count = static_cast<std::int32_t>(array.given.size());
        value = count == 255 ? nullptr : &array.records;
        m_array = &array;
    }

private:
    struct Array {
        CashCountRecord* records = nullptr;
        std::int32_t count = 0;
        bool counted = false; // the library can tell how many it handed out
        std::vector<CashCountRecord> given;
    };

    // What gets a session far.
    static constexpr std::array<const char*, 5> KNOWN{
        "", "Type:RS232;Name:COM7;", "Type:RS232;Name:10.0.0.7:80;", "T1", "LegacySystem:1;AutoDisable:1;"};

    template <typename Callback>
    Callback* orNull(Callback& callback)
    {
        return m_input.byte() == 255 ? nullptr : &callback;
    }

    /// Behind an array it is the array's count.
    template <typename Number>
    Number* numberOrNull()
    {
        if (Array* const array = std::exchange(m_array, nullptr)) {
            array->counted = m_input.byte() != 255;
            return array->counted ? reinterpret_cast<Number*>(&array->count) : nullptr;
        }
        return m_input.byte() == 255 ? nullptr
                                     : reinterpret_cast<Number*>(&m_numbers.emplace_back(m_input.number()));
    }

    Bytes& m_input;
    std::deque<std::string> m_given;
    std::deque<std::array<char, 1024>> m_texts;
    std::deque<std::int32_t> m_numbers;
    std::deque<Array> m_arrays;
    Array* m_array = nullptr;
    volatile std::int32_t m_lastTotal = 0; // so that the last record is read
};

using Export = void (*)(Bytes& input);

template <auto Function>
struct Exported;

template <typename... Parameters, std::int16_t (*Function)(Parameters...)>
struct Exported<Function> {
    static void call(Bytes& input)
    {
        Arguments arguments(input);
        std::tuple<Parameters...> parameters;
        std::apply([&](Parameters&... parameter) { (arguments.take(parameter), ...); }, parameters);
        std::apply(Function, parameters);
    }
};

const std::array<Export, 38> EXPORTS{
    Exported<registerEventsTL>::call,
    Exported<registerEvents2TL>::call,
    Exported<registerEvents3TL>::call,
    Exported<registerEvents4TL>::call,
    Exported<registerEvents23TL>::call,
    Exported<registerHwndTL>::call,
    Exported<initTL>::call,
    Exported<exitTL>::call,
    Exported<isOpenTL>::call,
    Exported<infoTL>::call,
    Exported<loginTL>::call,
    Exported<logoutTL>::call,
    Exported<enablePayinTL>::call,
    Exported<disablePayinTL>::call,
    Exported<depositTL>::call,
    Exported<dispenseTL>::call,
    Exported<askPayoutTL>::call,
    Exported<askPayout2TL>::call,
    Exported<informTotalAmountTL>::call,
    Exported<payoutTL>::call,
    Exported<payout2TL>::call,
    Exported<amountDueTL>::call,
    Exported<changeTL>::call,
    Exported<regretTL>::call,
    Exported<resetTL>::call,
    Exported<adminModeTL>::call,
    Exported<collectToCashFloatTL>::call,
    Exported<endReplenishTL>::call,
    Exported<unlockTL>::call,
    Exported<purgeTL>::call,
    Exported<dispenseSpecifiedTL>::call,
    Exported<cashCountTL>::call,
    Exported<completeCashCountTL>::call,
    Exported<getErrorInfoTL>::call,
    Exported<getCashLevelInfoTL>::call,
    Exported<getCashSessionInfoTL>::call,
    Exported<getLevelWarningInfoTL>::call,
    Exported<changeSettingsTL>::call,
};

/// A long login text ends the process, as the header says.
void loginWithText(Bytes& input)
{
    std::array<char, 1024> message{};
    const std::string number = input.line();
    const std::string text = input.line().substr(0, 64);
    loginStrTL(number.c_str(), text.c_str(), message.data());
}

/// A session that is open as far as the byte says.
void begin(unsigned char how)
{
    std::array<char, 1024> message{};
    if ((how & 1) == 0)
        registerEvents23TL(fuzz::onStatus, fuzz::onError, fuzz::onCashLevel, fuzz::onLevelWarning,
                           fuzz::onSession, message.data());
    else
        registerHwndTL(reinterpret_cast<TLWindowHandle>(std::intptr_t{99999}), message.data());
    if ((how & 2) != 0)
        return;
    initTL("Type:RS232;Name:COM7;", (how & 4) != 0 ? "StatusOkTimeout:1;AskPayOutAmountLimit:0;" : "",
           message.data());
    if ((how & 8) != 0)
        return;
    fuzz::deliverAfter(10, (how & 16) != 0 ? "x---reserved-17---0312ABCDEFGHIJKLMNPQRVX"
                                           : "x---reserved-17---0312ABCDEFGHIJKLMNPQRX");
    if ((how & 16) != 0)
        fuzz::deliverAfter(20, "v106API4.2");
    fuzz::deliverAfter(30, (how & 32) != 0 ? "a0000500001" : "a0000500031");
    loginTL(1, 1, message.data());
}

/// The ways in which an answer can be wrong.
std::string answer(Bytes& input)
{
    const unsigned char kind = input.byte();
    switch (kind & 3) {
    case 0:
        return {'?', '\x1C', static_cast<char>(input.byte())};
    case 1:
        return std::string(80, static_cast<char>('0' + kind % 10));
    case 2:
        return std::string(ScriptedOstrivane::BUFFER, static_cast<char>('0' + kind % 10));
    default:
        return input.line().substr(0, ScriptedOstrivane::BUFFER);
    }
}

void strangeLibrary(Bytes& input)
{
    const unsigned char how = input.byte();
    ScriptedOstrivane& com = ostrivane();
    com.canBeLoaded = (how & 1) == 0;
    com.canBeFreed = (how & 2) == 0;
    com.missingFunctions.clear();
    constexpr std::array<const char*, 5> FUNCTIONS{"", "tl_initiate2", "tl_dini", "tl_002", "tl_loggedout"};
    com.missingFunctions.insert(FUNCTIONS[(how >> 2) % FUNCTIONS.size()]);
    com.openCode = static_cast<std::int16_t>(input.number());
    com.openAnswer = input.line().substr(0, ScriptedOstrivane::BUFFER - 1);
}

enum Step : unsigned char { LOGIN_WITH_TEXT = 38, ANSWER, MESSAGE, LATER, TIME, CLOCK, IN_EVENT, STRANGE };

void step(Bytes& input)
{
    const unsigned char kind = input.byte();
    if (kind < EXPORTS.size())
        return EXPORTS[kind](input);
    switch (kind) {
    case LOGIN_WITH_TEXT:
        return loginWithText(input);
    case ANSWER:
        fuzz::nextAnswer = answer(input);
        return;
    case MESSAGE:
        return fuzz::deliver(input.line());
    case LATER: {
        const std::int64_t time = input.byte() * 10;
        return fuzz::deliverAfter(time, input.line());
    }
    case TIME:
        virtualSystem().setNow(virtualSystem().now() + input.byte() * 600'000);
        return;
    case CLOCK:
        return virtualSystem().turnWallClock(input.number());
    case IN_EVENT: // once: waits inside events inside waits have no end
        fuzz::duringEvent = [call = EXPORTS[input.byte() % EXPORTS.size()], arguments = input.line()] {
            Bytes bytes(reinterpret_cast<const std::uint8_t*>(arguments.data()), arguments.size());
            call(bytes);
        };
        return;
    case STRANGE:
        return strangeLibrary(input);
    default:
        return;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Bytes input(data, size);
    fuzz::loadLibrary(fuzz::Log::Silent);
    begin(input.byte());
    while (!input.atEnd())
        step(input);
    return 0;
}
