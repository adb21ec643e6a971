#include "simulator/control.h"

#include "simulator/fault_text.h"
#include "simulator/object_reader.h"
#include "simulator/talk_words.h"

#include <array>
#include <utility>

namespace simulator {

namespace {

struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// One denomination and so many pieces of it.
using Handful = std::pair<Amount, int>;

/// Texts from the link and from clients may be anything but UTF-8.
std::string dumped(const json& object)
{
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

json parseObject(std::string_view text)
{
    if (text.empty())
        return json::object();
    json object = parseJson(text);
    if (!object.is_object())
        throw std::runtime_error("must be an object");
    return object;
}

/// A number of smallest units, or a text of main units.
Amount readAmount(ObjectReader& reader, const char* key, const json& value, int decimals)
{
    std::optional<Amount> amount;
    if (value.is_number_integer() && value >= 0 && value <= LARGEST_AMOUNT)
        amount = value.get<Amount>();
    if (value.is_string())
        amount = parseMoney(value.get<std::string>(), decimals);
    if (!amount || *amount > LARGEST_AMOUNT)
        reader.fail(key,
                    "must be an amount: a number of smallest units like " +
                        std::string(decimals == 0 ? "50 or a text like \"50\"" : "5000 or a text like \"") +
                        (decimals == 0 ? "" : moneyText(5000, decimals) + "\""));
    return *amount;
}

int readCount(ObjectReader& reader)
{
    int count = 1;
    reader.read("count", count, 1, MOST_PIECES);
    return count;
}

/// The pieces that a customer would take for an amount: the largest first.
std::vector<Handful> piecesOf(Amount amount, const Drawer& drawer)
{
    Pieces denominations;
    for (const Denomination& unit : drawer.units())
        denominations[unit.value] = 1;
    std::vector<Handful> handfuls;
    for (auto piece = denominations.rbegin(); piece != denominations.rend(); ++piece) {
        const int count = static_cast<int>(std::min<Amount>(amount / piece->first, MOST_PIECES));
        if (count > 0)
            handfuls.emplace_back(piece->first, count);
        amount -= count * piece->first;
    }
    if (amount > 0)
        throw Refusal("no pieces make up that amount");
    return handfuls;
}

/// "value" and perhaps "count", or a list of "pieces", or an "amount".
std::vector<Handful> readHandfuls(ObjectReader& reader, const DeviceModel& device)
{
    const int decimals = device.settings().decimals;
    std::vector<Handful> handfuls;
    if (const json* pieces = reader.find("pieces")) {
        if (!pieces->is_array() || pieces->size() > 1000)
            reader.fail("pieces", "must be a list of at most 1000 pieces");
        for (const json& piece : *pieces)
            handfuls.emplace_back(readAmount(reader, "pieces", piece, decimals), 1);
    }
    if (const json* amount = reader.find("amount"))
        handfuls = piecesOf(readAmount(reader, "amount", *amount, decimals), device.drawer());
    const json* value = reader.find("value");
    const int count = readCount(reader);
    if (value != nullptr)
        handfuls.emplace_back(readAmount(reader, "value", *value, decimals), count);
    if (int(reader.has("pieces")) + int(reader.has("amount")) + int(value != nullptr) > 1)
        reader.fail("value", "goes without \"pieces\" and \"amount\"; take one of the three");
    if (value == nullptr && reader.has("count"))
        reader.fail("count", "goes with \"value\" only");
    return handfuls;
}

json listOf(const Pieces& pieces, const Drawer& drawer)
{
    json list = json::array();
    for (const auto& [denomination, count] : pieces) {
        const Denomination* unit = drawer.find(denomination);
        const bool note = unit != nullptr && unit->kind == CashKind::Note;
        list.push_back({{"value", denomination}, {"kind", note ? "note" : "coin"}, {"count", count}});
    }
    return list;
}

json heap(const Pieces& pieces, const Drawer& drawer)
{
    return {{"amount", valueOf(pieces)}, {"pieces", listOf(pieces, drawer)}};
}

ControlResult result(const json& body)
{
    return {body.contains("why") ? 409 : 200, dumped(body)};
}

/// Puts all in, one after the other, until something is refused.
template <typename PutIn>
ControlResult putIn(const std::vector<Handful>& handfuls, const PutIn& putIn)
{
    json body{{"took", 0}};
    Amount took = 0;
    for (const auto& [denomination, count] : handfuls) {
        const DeviceModel::Insertion insertion = putIn(denomination, count);
        took += insertion.took;
        body["took"] = took;
        if (insertion.coming > 0)
            body["coming"] = body.value("coming", Amount{0}) + insertion.coming;
        if (!insertion.why.empty()) {
            body["why"] = insertion.why;
            break;
        }
    }
    return result(body);
}

ControlResult insert(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    const auto handfuls = readHandfuls(reader, device);
    reader.refuseUnknown();
    if (handfuls.empty())
        reader.fail("value", "is missing; take \"value\", \"pieces\" or \"amount\"");
    return putIn(handfuls,
                 [&](Amount denomination, int count) { return device.insert(denomination, count, now); });
}

/// Without anything named, all that is missing of what lay there at the start.
ControlResult refill(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    auto handfuls = readHandfuls(reader, device);
    reader.refuseUnknown();
    if (handfuls.empty())
        for (const Denomination& start : device.settings().drawer)
            if (const Denomination* unit = device.drawer().find(start.value);
                unit != nullptr && unit->count < start.count)
                handfuls.emplace_back(start.value, start.count - unit->count);
    return putIn(handfuls,
                 [&](Amount denomination, int count) { return device.refill(denomination, count, now); });
}

ControlResult take(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    std::string from = "tray";
    reader.read("from", from, 9);
    reader.refuseUnknown();
    if (from != "tray" && from != "collected")
        reader.fail("from", "must be \"tray\" or \"collected\"");
    const Pieces pieces = from == "tray" ? device.takePaidOut(now) : device.takeCollected();
    json body{{"took", valueOf(pieces)}, {"pieces", listOf(pieces, device.drawer())}};
    if (pieces.empty())
        body["why"] = "nothing lies there";
    return result(body);
}

json faultList(const DeviceModel& device, Milliseconds now)
{
    json list = json::array();
    for (const Fault& fault : device.faults().all())
        list.push_back(describeFault(fault, now));
    return list;
}

ControlResult fault(DeviceModel& device, const json& arguments, Milliseconds now)
{
    device.putFault(parseFault(arguments), now);
    return result({{"faults", faultList(device, now)}});
}

ControlResult repair(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    std::string text;
    reader.read("name", text, 100);
    reader.refuseUnknown();
    const auto name = faultNamed(text);
    if (!text.empty() && !name)
        reader.fail("name", "is no fault: " + text);
    bool repaired = false;
    for (const FaultName each : faultNames())
        if (!name || each == *name)
            repaired = device.repair(each, now) || repaired;
    if (name && !repaired)
        throw Refusal("there is no " + text);
    return result({{"faults", faultList(device, now)}});
}

ControlResult power(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    std::string power;
    reader.read("power", power, 3);
    reader.refuseUnknown();
    if (power != "on" && power != "off")
        reader.fail("power", "must be \"on\" or \"off\"");
    if (!device.setPower(power == "on", now))
        throw Refusal("the power is " + power + " already");
    return result({{"power", power}});
}

ControlResult set(DeviceModel& device, json arguments, Milliseconds now)
{
    if (arguments.contains("faults"))
        throw std::runtime_error("settings: \"faults\" are for the start; now it takes the verb \"fault\"");
    if (arguments.contains("preset"))
        throw std::runtime_error("settings: \"preset\" is for the start and for \"reset\"");
    std::vector<Denomination> units;
    if (const auto drawer = arguments.find("drawer"); drawer != arguments.end()) {
        units = changedUnits(device.drawer().units(), *drawer);
        arguments.erase(drawer);
    }
    const Settings settings = changedSettings(device.settings(), arguments);
    device.advance(now); // until now by the old ones
    device.setSettings(settings);
    for (const Denomination& unit : units)
        device.setUnit(unit);
    return result({{"notes", settings.notes}});
}

ControlResult stick(DeviceModel& device, ObjectReader& reader, Milliseconds)
{
    const json* value = reader.find("value");
    if (value == nullptr)
        reader.fail("value", "is missing");
    const Amount denomination = readAmount(reader, "value", *value, device.settings().decimals);
    int count = 1;
    reader.read("count", count, 0, MOST_PIECES);
    reader.refuseUnknown();
    if (!device.setStuck(denomination, count))
        throw Refusal("there is no such denomination");
    return result({{"value", denomination}, {"stuck", count}});
}

ControlResult reset(DeviceModel& device, ObjectReader& reader, Milliseconds now)
{
    Settings settings = device.settings();
    if (const json* changes = reader.find("settings"))
        settings = changedSettings(settings, *changes);
    reader.refuseUnknown();
    device.startAfresh(settings, now);
    return result(json::object());
}

const char* statusWord(const DeviceModel& device, Milliseconds now)
{
    if (!device.hasPower())
        return "off";
    if (device.hasError())
        return "error";
    if (device.isBusy(now))
        return "busy";
    return device.isOpen() ? "ready" : "closed";
}

const char* modeWord(const DeviceModel& device)
{
    if (!device.isOpen())
        return "closed";
    return device.isAdministrated() ? "administration" : "open";
}

json unitJson(const Denomination& unit)
{
    return {{"value", unit.value},
            {"kind", unit.kind == CashKind::Note ? "note" : "coin"},
            {"count", unit.count},
            {"low", unit.low},
            {"high", unit.high},
            {"float", unit.cashFloat},
            {"capacity", unit.capacity == 0 ? MOST_PIECES : unit.capacity},
            {"recycled", unit.recycled},
            {"stuck", unit.stuck}};
}

json drawerJson(const Drawer& drawer)
{
    json units = json::array();
    for (const Denomination& unit : drawer.units())
        units.push_back(unitJson(unit));
    return {{"amount", drawer.value()}, {"units", std::move(units)}};
}

const char* wordOf(DeviceEvent::Way way)
{
    constexpr std::array<const char*, 4> WORDS{"in", "out", "refilled", "collected"};
    return WORDS[static_cast<std::size_t>(way)];
}

ControlResult carryOut(DeviceModel& device, std::string_view verb, const json& arguments, Milliseconds now)
{
    using Verb = ControlResult (*)(DeviceModel&, ObjectReader&, Milliseconds);
    constexpr std::array<std::pair<std::string_view, Verb>, 7> VERBS{{{"insert", &insert},
                                                                      {"take", &take},
                                                                      {"repair", &repair},
                                                                      {"power", &power},
                                                                      {"refill", &refill},
                                                                      {"stick", &stick},
                                                                      {"reset", &reset}}};
    if (verb == "fault")
        return fault(device, arguments, now);
    if (verb == "set")
        return set(device, arguments, now);
    for (const auto& [name, function] : VERBS) {
        if (name == verb) {
            ObjectReader reader(arguments, std::string(verb));
            return function(device, reader, now);
        }
    }
    return {404, dumped({{"why", "no such verb"}})};
}

} // namespace

const std::vector<std::string>& controlVerbs()
{
    static const std::vector<std::string> verbs{"insert", "take",   "fault", "repair", "power",
                                                "set",    "refill", "stick", "wait",   "reset"};
    return verbs;
}

ControlResult control(DeviceModel& device, std::string_view verb, std::string_view text, Milliseconds now)
{
    try {
        return carryOut(device, verb, parseObject(text), now);
    } catch (const Refusal& refusal) {
        return refusedResult(refusal.what());
    } catch (const std::exception& error) {
        return wrongResult(error.what());
    }
}

std::string describeState(const DeviceModel& device, Milliseconds now)
{
    const Settings& settings = device.settings();
    const Books& books = device.drawer().books();
    return dumped({{"mode", modeWord(device)},
                   {"status", statusWord(device, now)},
                   {"power", device.hasPower() ? "on" : "off"},
                   {"payIn", device.isPayInOpen()},
                   {"till", device.isTillThere()},
                   {"paidIn", device.paidIn()},
                   {"tray", heap(device.tray(), device.drawer())},
                   {"waitsForHand", device.waitsForHand()},
                   {"collected", heap(device.collected(), device.drawer())},
                   {"drawer", drawerJson(device.drawer())},
                   {"books",
                    {{"start", books.start},
                     {"paidIn", books.paidIn},
                     {"paidOut", books.paidOut},
                     {"refilled", books.replenished},
                     {"collected", books.collected},
                     {"balance", device.balances()}}},
                   {"faults", faultList(device, now)},
                   {"currency", settings.currency},
                   {"decimals", settings.decimals},
                   {"notes", settings.notes}});
}

std::string describeEvent(const DeviceEvent& event, const DeviceModel& device)
{
    const int decimals = device.settings().decimals;
    json object{{"time", event.time}};
    switch (event.kind) {
    case DeviceEvent::Kind::Piece:
        object.update({{"kind", "piece"},
                       {"way", wordOf(event.way)},
                       {"value", event.denomination},
                       {"left", event.left}});
        break;
    case DeviceEvent::Kind::Message:
        object.update({{"kind", "message"},
                       {"raw", event.text},
                       {"words", wordsOfMessage(event.text, device.isLongForm(), decimals)},
                       {"change", event.change}});
        break;
    case DeviceEvent::Kind::Command:
        object.update({{"kind", "command"},
                       {"raw", event.text},
                       {"words", wordsOfCommand(event.text, decimals)},
                       {"answer", event.answer},
                       {"answerWords", wordsOfAnswer(event.answer)}});
        break;
    case DeviceEvent::Kind::Fault:
        object.update({{"kind", "fault"}, {"name", event.text}, {"change", event.change}});
        break;
    }
    return dumped(object);
}

std::string describeStateEvent(const std::string& state, Milliseconds now)
{
    return R"({"kind":"state","state":)" + state + R"(,"time":)" + std::to_string(now) + "}";
}

WaitedFor parseWait(std::string_view text, int decimals)
{
    using What = WaitedFor::What;
    constexpr std::array<std::pair<std::string_view, What>, 7> WORDS{{{"ready", What::Ready},
                                                                      {"busy", What::Busy},
                                                                      {"error", What::Error},
                                                                      {"closed", What::Closed},
                                                                      {"till", What::Till},
                                                                      {"tray", What::Tray},
                                                                      {"paid-in", What::PaidIn}}};
    const json object = parseObject(text);
    ObjectReader reader(object, "wait");
    WaitedFor waitedFor;
    waitedFor.timeout = 30'000;
    std::string word;
    reader.read("for", word, 20);
    const auto* const known =
        std::find_if(WORDS.begin(), WORDS.end(), [&](const auto& each) { return each.first == word; });
    if (known == WORDS.end())
        reader.fail("for", "must be ready, busy, error, closed, till, tray or paid-in");
    waitedFor.what = known->second;
    const json* amount = reader.find("amount");
    if ((amount != nullptr) != (waitedFor.what == What::PaidIn))
        reader.fail("amount", "goes with paid-in, and must be there");
    if (amount != nullptr)
        waitedFor.amount = readAmount(reader, "amount", *amount, decimals);
    reader.readTime("timeout", waitedFor.timeout);
    reader.refuseUnknown();
    return waitedFor;
}

bool isSo(const WaitedFor& waitedFor, const DeviceModel& device, Milliseconds now)
{
    const std::string_view status = statusWord(device, now);
    switch (waitedFor.what) {
    case WaitedFor::What::Ready:
        return status == "ready";
    case WaitedFor::What::Busy:
        return status == "busy";
    case WaitedFor::What::Error:
        return status == "error";
    case WaitedFor::What::Closed:
        return status == "closed";
    case WaitedFor::What::Till:
        return device.isTillThere();
    case WaitedFor::What::Tray:
        return !device.tray().empty();
    default:
        return waitedFor.amount == 0 ? device.paidIn() == 0 : device.paidIn() >= waitedFor.amount;
    }
}

ControlResult stateResult(const DeviceModel& device, Milliseconds now)
{
    return {200, describeState(device, now)};
}

ControlResult wrongResult(const std::string& why)
{
    return {400, dumped({{"why", why}})};
}

ControlResult refusedResult(const std::string& why)
{
    return {409, dumped({{"why", why}})};
}

} // namespace simulator
