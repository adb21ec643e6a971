#include "exports.h"

#include "api/tllogics.h"
#include "text/compose.h"
#include "transcript.h"

#include <array>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>

std::function<void()> duringEvent;

namespace {

/// What out-parameters hold before a call.
constexpr std::int32_t UNTOUCHED = 7777;
constexpr const char* UNTOUCHED_TEXT = "(untouched)";

template <typename... Fields>
void event(const char* name, const Fields&... fields)
{
    std::string text = name;
    ((text += compose(" ", fields)), ...);
    transcript().happened("event", text);
    if (duringEvent)
        std::exchange(duringEvent, nullptr)();
}

void onStatus(std::int32_t amount, std::uint16_t status, std::uint16_t mode)
{
    event("status", amount, status, mode);
}
void onError(std::int32_t code, const char* text, const char* info)
{
    event("error", code, text, "/", info);
}
void onCashLevel(std::int32_t denomination, std::uint16_t number, const char* info)
{
    event("level", denomination, number, info);
}
void onLevelWarning(std::uint16_t type, std::int32_t denomination, std::uint16_t number, const char* word,
                    const char* name, const char* warning, const char* info)
{
    event("warning", type, denomination, number, word, "/", name, "/", warning, "/", info);
}
void onInformation(const char* text)
{
    event("information", text);
}
void onSession(std::uint16_t type, std::int32_t amount, const char* info)
{
    event("session", type, amount, info);
}

/// Makes parameters of words, holds what they point to, and tells what was handed out.
class Arguments {
public:
    explicit Arguments(const std::vector<Word>& words) : m_words(words) {}

    void take(std::int16_t& value) { value = static_cast<std::int16_t>(number(next().text)); }
    void take(std::int32_t& value) { value = static_cast<std::int32_t>(number(next().text)); }
    void take(std::uint32_t& value) { value = static_cast<std::uint32_t>(number(next().text)); }
    void take(TLWindowHandle& value)
    {
        value = isNull(next()) ? nullptr : reinterpret_cast<TLWindowHandle>(std::intptr_t{99999});
    }
    void take(TLStatusEvent& value) { value = isNull(next()) ? nullptr : onStatus; }
    void take(TLErrorEvent& value) { value = isNull(next()) ? nullptr : onError; }
    void take(TLCashLevelEvent& value) { value = isNull(next()) ? nullptr : onCashLevel; }
    void take(TLLevelWarningEvent& value) { value = isNull(next()) ? nullptr : onLevelWarning; }
    void take(TLInformationEvent& value) { value = isNull(next()) ? nullptr : onInformation; }
    void take(TLCashSessionEvent& value) { value = isNull(next()) ? nullptr : onSession; }

    void take(const char*& value)
    {
        const Word& word = next();
        value = isNull(word) ? nullptr : word.text.c_str();
    }

    void take(char*& value)
    {
        const bool named = m_next < m_words.size();
        const std::string name = named ? next().text : "";
        if (name == "null") {
            value = nullptr;
            return;
        }
        auto& buffer = m_texts.emplace_back();
        std::string(UNTOUCHED_TEXT).copy(buffer.data(), buffer.size());
        value = buffer.data();
        told([name, &buffer] { return compose(name, name.empty() ? "" : "=", '"', buffer.data(), '"'); });
    }

    void take(std::int32_t*& value) { value = takeNumber<std::int32_t>(); }
    void take(std::uint32_t*& value) { value = takeNumber<std::uint32_t>(); }

    void take(CashCountRecord**& value)
    {
        const std::string word = next().text;
        m_array = &m_arrays.emplace_back();
        Array& array = *m_array;
        array.isNull = word == "null";
        if (word.find(':') != std::string::npos) {
            std::istringstream entries(word);
            for (std::string entry; std::getline(entries, entry, ',');)
                array.given.push_back({static_cast<std::int32_t>(number(entry)),
                                       static_cast<std::int32_t>(number(entry.substr(entry.find(':') + 1))),
                                       0, 0});
            array.records = array.given.data();
            array.count = static_cast<std::int32_t>(array.given.size());
        }
        value = array.isNull ? nullptr : &array.records;
        const std::string name = m_arrays.size() == 1 ? "coins" : "notes";
        told([name, &array] { return compose(name, "=", array.text()); });
    }

    std::string results() const
    {
        std::string text;
        for (const auto& result : m_results)
            text += " " + result();
        return text;
    }

    void expectEnd() const
    {
        if (m_next < m_words.size())
            throw std::runtime_error("too many words: " + m_words[m_next].text);
    }

private:
    struct Array {
        CashCountRecord* records = nullptr;
        std::int32_t count = UNTOUCHED;
        std::vector<CashCountRecord> given;
        bool isNull = false;

        /// Releases the array too, if it came from the library.
        std::string text()
        {
            if (isNull || records == nullptr || records == given.data())
                return "untouched";
            std::string all = "[";
            for (std::int32_t i = 0; i < count; ++i) {
                const CashCountRecord& record = records[i];
                all += compose(i > 0 ? ", " : "", record.nDenomination, ":", record.nCount);
                if (record.nRecycle != 0 || record.nTotal != 0)
                    all += compose(":", record.nRecycle, "=", record.nTotal);
            }
            std::free(std::exchange(records, nullptr));
            return all + "]";
        }
    };

    const Word& next()
    {
        if (m_next == m_words.size())
            throw std::runtime_error("a word is missing");
        return m_words[m_next++];
    }

    static bool isNull(const Word& word) { return !word.quoted && word.text == "null"; }
    static long long number(const std::string& text) { return std::stoll(text); }

    void told(std::function<std::string()> result) { m_results.push_back(std::move(result)); }

    /// "rest", or "type=1" with a value before the call. Behind an array it is the array's count.
    template <typename Number>
    Number* takeNumber()
    {
        if (m_array != nullptr)
            return reinterpret_cast<Number*>(&std::exchange(m_array, nullptr)->count);
        const std::string word = next().text;
        if (word == "null")
            return nullptr;
        const std::size_t equals = word.find('=');
        std::int32_t& value = m_numbers.emplace_back(UNTOUCHED);
        if (equals != std::string::npos)
            value = static_cast<std::int32_t>(number(word.substr(equals + 1)));
        told([name = word.substr(0, equals), &value] {
            const std::string shown = std::is_signed_v<Number>
                                          ? std::to_string(value)
                                          : std::to_string(static_cast<std::uint32_t>(value));
            return compose(name, "=", value == UNTOUCHED ? "untouched" : shown);
        });
        return reinterpret_cast<Number*>(&value);
    }

    const std::vector<Word>& m_words;
    std::size_t m_next = 1; // behind the export's name
    std::deque<std::array<char, 4096>> m_texts;
    std::deque<std::int32_t> m_numbers;
    std::deque<Array> m_arrays;
    Array* m_array = nullptr; // whose count comes next
    std::vector<std::function<std::string()>> m_results;
};

using Export = std::function<std::string(const std::vector<Word>& words)>;

template <typename... Parameters>
Export exported(std::int16_t (*function)(Parameters...))
{
    return [function](const std::vector<Word>& words) {
        Arguments arguments(words);
        std::tuple<Parameters...> parameters;
        std::apply([&](Parameters&... parameter) { (arguments.take(parameter), ...); }, parameters);
        arguments.expectEnd();
        const std::int16_t status = std::apply(function, parameters);
        return compose(status, arguments.results());
    };
}

#define EXPORT(name)                                                                                         \
    {                                                                                                        \
#name, exported(name)                                                                                \
    }

const std::map<std::string, Export>& exports()
{
    static const std::map<std::string, Export> all{
        EXPORT(registerEventsTL),
        EXPORT(registerEvents2TL),
        EXPORT(registerEvents3TL),
        EXPORT(registerEvents4TL),
        EXPORT(registerEvents23TL),
        EXPORT(registerHwndTL),
        EXPORT(initTL),
        EXPORT(exitTL),
        EXPORT(isOpenTL),
        EXPORT(infoTL),
        EXPORT(loginTL),
        EXPORT(loginStrTL),
        EXPORT(logoutTL),
        EXPORT(enablePayinTL),
        EXPORT(disablePayinTL),
        EXPORT(depositTL),
        EXPORT(dispenseTL),
        EXPORT(askPayoutTL),
        EXPORT(askPayout2TL),
        EXPORT(informTotalAmountTL),
        EXPORT(payoutTL),
        EXPORT(payout2TL),
        EXPORT(amountDueTL),
        EXPORT(changeTL),
        EXPORT(regretTL),
        EXPORT(resetTL),
        EXPORT(adminModeTL),
        EXPORT(collectToCashFloatTL),
        EXPORT(endReplenishTL),
        EXPORT(unlockTL),
        EXPORT(purgeTL),
        EXPORT(dispenseSpecifiedTL),
        EXPORT(cashCountTL),
        EXPORT(completeCashCountTL),
        EXPORT(getErrorInfoTL),
        EXPORT(getCashLevelInfoTL),
        EXPORT(getCashSessionInfoTL),
        EXPORT(getLevelWarningInfoTL),
        EXPORT(changeSettingsTL),
    };
    return all;
}

} // namespace

std::string callExport(const std::vector<Word>& words)
{
    const auto found = exports().find(words.front().text);
    if (found == exports().end())
        throw std::runtime_error("no such export: " + words.front().text);
    return found->second(words);
}
