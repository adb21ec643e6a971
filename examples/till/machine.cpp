#include "examples/till/machine.h"

#include "examples/till/printer.h"
#include "simulator/tellarion_simulator.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <stdexcept>
#include <vector>

namespace {

using nlohmann::json;

constexpr int DONE = 200;
constexpr int REFUSED = 409;

json ask(const char* verb, const json& arguments)
{
    std::vector<char> text(256 * 1024);
    const int status =
        tlsim_control(verb, arguments.dump().c_str(), text.data(), static_cast<int>(text.size()));
    const json answer = json::parse(text.data(), nullptr, false);
    if ((status != DONE && status != REFUSED) || !answer.is_object())
        throw std::runtime_error(fmt::format("the machine can't be looked at: {}", text.data()));
    return answer;
}

Cash cashOf(const json& pieces)
{
    Cash cash;
    for (const json& piece : pieces)
        cash[piece.at("value")] = piece.at("count");
    return cash;
}

Cash takeFrom(const char* place)
{
    const json answer = ask("take", {{"from", place}});
    return cashOf(answer.value("pieces", json::array()));
}

} // namespace

std::int64_t amountOf(const Cash& cash)
{
    std::int64_t amount = 0;
    for (const auto& [denomination, count] : cash)
        amount += denomination * count;
    return amount;
}

std::string describe(const Cash& cash)
{
    std::string text;
    for (auto piece = cash.rbegin(); piece != cash.rend(); ++piece)
        text += fmt::format("{}{} x {}", text.empty() ? "" : ", ", piece->second, money(piece->first));
    return text.empty() ? "nothing" : text;
}

MachineState lookAtMachine()
{
    const json state = ask("state", json::object());
    const json& books = state.at("books");
    return {state.at("decimals"),
            state.at("currency"),
            cashOf(state.at("drawer").at("units")),
            cashOf(state.at("tray").at("pieces")),
            state.at("paidIn"),
            books.at("paidIn").get<std::int64_t>() + books.at("refilled").get<std::int64_t>(),
            books.at("paidOut"),
            books.at("collected")};
}

std::int64_t insertIntoMachine(std::int64_t denomination, int count)
{
    return ask("insert", {{"value", denomination}, {"count", count}}).at("took");
}

Cash takeFromTray()
{
    return takeFrom("tray");
}

Cash takeCollected()
{
    return takeFrom("collected");
}
