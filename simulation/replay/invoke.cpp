#include "simulation/replay/invoke.h"

#include "api/tllogics.h"

#include <array>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <tuple>

namespace simulation {

namespace {

using nlohmann::json;

/// What arguments point to while the call runs, and what is given back behind it.
struct Storage {
    std::deque<std::string> texts;
    std::deque<std::array<char, 1024>> buffers;
    std::deque<std::int32_t> numbers;
    std::deque<std::uint32_t> unsignedNumbers;
    struct List {
        CashCountRecord given{};
        CashCountRecord* records = nullptr;
    };
    std::deque<List> lists;

    ~Storage()
    {
        for (const List& list : lists)
            if (list.records != &list.given)
                std::free(list.records);
    }
};

template <typename Parameter>
struct Argument;

template <std::integral Number>
struct Argument<Number> {
    static Number of(const json& value, Storage&) { return value.get<Number>(); }
};

template <>
struct Argument<const char*> {
    static const char* of(const json& value, Storage& storage)
    {
        return value.is_null() ? nullptr : storage.texts.emplace_back(value.get<std::string>()).c_str();
    }
};

template <>
struct Argument<char*> {
    static char* of(const json& value, Storage& storage)
    {
        return value.is_null() ? nullptr : storage.buffers.emplace_back().data();
    }
};

template <>
struct Argument<std::int32_t*> {
    static std::int32_t* of(const json& value, Storage& storage)
    {
        return value.is_null() ? nullptr : &storage.numbers.emplace_back(value.at("in").get<std::int32_t>());
    }
};

template <>
struct Argument<std::uint32_t*> {
    static std::uint32_t* of(const json& value, Storage& storage)
    {
        return value.is_null() ? nullptr
                               : &storage.unsignedNumbers.emplace_back(value.at("in").get<std::uint32_t>());
    }
};

template <>
struct Argument<CashCountRecord**> {
    static CashCountRecord** of(const json& value, Storage& storage)
    {
        Storage::List& list = storage.lists.emplace_back();
        for (const json& record : value.at("records")) {
            list.given = {record.at(0).get<std::int32_t>(), record.at(1).get<std::int32_t>(), 0, 0};
            list.records = &list.given;
        }
        return &list.records;
    }
};

template <>
struct Argument<TLWindowHandle> {
    static TLWindowHandle of(const json& value, Storage&)
    {
        return value.is_null() ? nullptr : reinterpret_cast<TLWindowHandle>(std::intptr_t{77});
    }
};

/// Callbacks hear, and do nothing.
template <typename... Parameters>
struct Argument<void (*)(Parameters...)> {
    using Callback = void (*)(Parameters...);
    static Callback of(const json& value, Storage&)
    {
        return value.is_null() ? nullptr : +[](Parameters...) {};
    }
};

template <typename... Parameters, std::size_t... Index>
int callWith(std::int16_t (*function)(Parameters...), const json& arguments, Storage& storage, char* message,
             std::index_sequence<Index...>)
{
    using All = std::tuple<Parameters...>;
    return function(Argument<std::tuple_element_t<Index, All>>::of(arguments.at(Index), storage)..., message);
}

using Invoker = std::function<int(const json& arguments, Storage& storage, char* message)>;

template <typename... Parameters>
Invoker invoker(std::int16_t (*function)(Parameters...))
{
    return [function](const json& arguments, Storage& storage, char* message) {
        constexpr std::size_t COUNT = sizeof...(Parameters) - 1; // but for the message
        if (arguments.size() != COUNT)
            throw std::runtime_error("another number of arguments");
        return callWith(function, arguments, storage, message, std::make_index_sequence<COUNT>());
    };
}

const std::map<std::string, Invoker>& invokers()
{
#define EXPORT(name)                                                                                         \
    {                                                                                                        \
#name, invoker(name)                                                                                 \
    }
    static const std::map<std::string, Invoker> all{EXPORT(registerEventsTL),
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
                                                    EXPORT(changeSettingsTL)};
#undef EXPORT
    return all;
}

} // namespace

Invoked invoke(const std::string& name, const json& arguments)
{
    const auto found = invokers().find(name);
    if (found == invokers().end())
        throw std::runtime_error("no such function: " + name);
    Storage storage;
    std::array<char, 1024> message{};
    const int status = found->second(arguments, storage, message.data());
    return {status, message.data()};
}

} // namespace simulation
