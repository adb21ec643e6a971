#include "simulator/saved_device.h"

#include "simulator/object_reader.h"

#include <fmt/format.h>
#include <limits>

namespace simulator {

namespace {

constexpr int VERSION = 1;
constexpr Amount ANY_AMOUNT = std::numeric_limits<Amount>::max() / 16;
constexpr Amount ANY_COUNT = 10'000'000;
constexpr int ANY_NUMBER = std::numeric_limits<int>::max();

/// FNV-1a. It guards against accidents, not against people.
std::string checksum(std::string_view text)
{
    std::uint64_t sum = 0xCBF29CE484222325;
    for (const char character : text)
        sum = (sum ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    return fmt::format("{:016x}", sum);
}

[[noreturn]] void damaged(const std::string& what)
{
    throw std::runtime_error(what);
}

json savedUnit(const Denomination& unit)
{
    return {{"value", unit.value},       {"note", unit.kind == CashKind::Note},
            {"count", unit.count},       {"low", unit.low},
            {"high", unit.high},         {"float", unit.cashFloat},
            {"capacity", unit.capacity}, {"recycled", unit.recycled},
            {"stuck", unit.stuck}};
}

Denomination readUnit(const json& object)
{
    Denomination unit;
    bool note = false;
    ObjectReader reader(object, "drawer");
    reader.read("value", unit.value, 1, LARGEST_AMOUNT);
    reader.read("note", note);
    unit.kind = note ? CashKind::Note : CashKind::Coin;
    reader.read("count", unit.count, 0, MOST_PIECES);
    reader.read("low", unit.low, 0, 99);
    reader.read("high", unit.high, 0, MOST_PIECES);
    reader.read("float", unit.cashFloat, 0, MOST_PIECES);
    reader.read("capacity", unit.capacity, 0, MOST_PIECES);
    reader.read("recycled", unit.recycled);
    reader.read("stuck", unit.stuck, 0, MOST_PIECES);
    reader.refuseUnknown();
    return unit;
}

/// Pairs of denomination and count.
json piecesJson(const Pieces& pieces)
{
    json list = json::array();
    for (const auto& [denomination, count] : pieces)
        list.push_back({denomination, count});
    return list;
}

/// Of a list. A number that isn't a whole one has no meaning as an amount, and one too large none at all.
Amount readNumber(const json& number, Amount least, Amount most)
{
    if (!number.is_number_integer() || number < least || number > most)
        damaged("a number in a list is wrong");
    return number.get<Amount>();
}

Pieces readPieces(const json& list)
{
    Pieces pieces;
    for (const json& pair : list) {
        const Amount denomination = readNumber(pair.at(0), 1, LARGEST_AMOUNT);
        if (pieces.contains(denomination))
            damaged("a denomination is in a list twice");
        addPieces(pieces, denomination, static_cast<int>(readNumber(pair.at(1), 0, ANY_COUNT)));
    }
    return pieces;
}

json faultJson(const Fault& fault)
{
    json object{{"name", textOf(fault.name)},
                {"start", static_cast<int>(fault.start)},
                {"letter", static_cast<int>(fault.letter)},
                {"pieces", fault.pieces},
                {"chance", fault.chance},
                {"random", fault.random},
                {"untilReset", fault.untilReset},
                {"times", fault.times},
                {"code", fault.code},
                {"lateness", fault.lateness},
                {"factor", fault.factor},
                {"on", fault.on},
                {"awaitsReset", fault.awaitsReset},
                {"strikes", fault.strikes},
                {"endsIn", fault.endsAt}};
    if (fault.lasts)
        object["lasts"] = *fault.lasts;
    return object;
}

Fault readFault(const json& object)
{
    ObjectReader reader(object, "fault");
    std::string text;
    reader.read("name", text, 100);
    const auto name = faultNamed(text);
    if (!name)
        damaged("no fault is called " + text);
    Fault fault{*name};
    int start = 0;
    int letter = 0;
    reader.read("start", start, 0, static_cast<int>(Fault::Start::ByChance));
    fault.start = static_cast<Fault::Start>(start);
    reader.read("letter", letter, 0, 'z');
    fault.letter = static_cast<char>(letter);
    reader.read("pieces", fault.pieces, 0, ANY_NUMBER);
    reader.read("chance", fault.chance, 0, 1'000'000);
    if (const json* random = reader.find("random")) {
        if (!random->is_number_unsigned())
            reader.fail("random", "must be a number");
        fault.random = random->get<std::uint64_t>();
    }
    reader.read("untilReset", fault.untilReset);
    reader.read("times", fault.times, 0, ANY_NUMBER);
    reader.read("code", fault.code, 0, ANY_NUMBER);
    reader.read("lateness", fault.lateness, 0, LONGEST_TIME);
    reader.read("factor", fault.factor, 0, ANY_NUMBER);
    reader.read("on", fault.on);
    reader.read("awaitsReset", fault.awaitsReset);
    reader.read("strikes", fault.strikes, 0, ANY_NUMBER);
    reader.read("endsIn", fault.endsAt, 0, LONGEST_TIME);
    if (reader.has("lasts")) {
        Milliseconds lasts = 0;
        reader.read("lasts", lasts, 0, LONGEST_TIME);
        fault.lasts = lasts;
    }
    reader.refuseUnknown();
    return fault;
}

json deviceJson(const SavedDevice& saved)
{
    json units = json::array();
    for (const Denomination& unit : saved.units)
        units.push_back(savedUnit(unit));
    json faults = json::array();
    for (const Fault& fault : saved.faults)
        faults.push_back(faultJson(fault));
    const Books& books = saved.books;
    return {{"drawer", std::move(units)},
            {"books", {books.start, books.paidIn, books.paidOut, books.replenished, books.collected}},
            {"tray", piecesJson(saved.tray)},
            {"collected", piecesJson(saved.collected)},
            {"takenPaidOut", saved.takenPaidOut},
            {"takenCollected", saved.takenCollected},
            {"paidIn", saved.paidIn},
            {"paidInPieces", saved.paidInPieces},
            {"faults", std::move(faults)},
            {"longForm", saved.longForm}};
}

SavedDevice readDevice(const json& object)
{
    SavedDevice saved;
    for (const json& unit : object.at("drawer"))
        saved.units.push_back(readUnit(unit));
    std::array<Amount, 5> books{};
    for (std::size_t i = 0; i < books.size(); ++i)
        books[i] = readNumber(object.at("books").at(i), -ANY_AMOUNT, ANY_AMOUNT);
    saved.books = {books[0], books[1], books[2], books[3], books[4]};
    saved.tray = readPieces(object.at("tray"));
    saved.collected = readPieces(object.at("collected"));
    ObjectReader reader(object, "device");
    for (const char* const known : {"drawer", "books", "tray", "collected", "paidInPieces", "faults"})
        reader.find(known);
    reader.read("takenPaidOut", saved.takenPaidOut, 0, ANY_AMOUNT);
    reader.read("takenCollected", saved.takenCollected, 0, ANY_AMOUNT);
    reader.read("paidIn", saved.paidIn, 0, LARGEST_AMOUNT);
    for (const json& piece : object.at("paidInPieces"))
        saved.paidInPieces.push_back(readNumber(piece, 1, LARGEST_AMOUNT));
    for (const json& fault : object.at("faults"))
        saved.faults.push_back(readFault(fault));
    reader.read("longForm", saved.longForm);
    reader.refuseUnknown();
    return saved;
}

} // namespace

std::string savedText(const SavedDevice& saved)
{
    const json device = deviceJson(saved);
    return json{{"tellarion", VERSION}, {"sum", checksum(device.dump())}, {"device", device}}.dump() + "\n";
}

SavedDevice parseSaved(std::string_view text)
{
    try {
        const json file = parseJson(text);
        if (file.at("tellarion") != VERSION)
            damaged("it is of another version");
        const json& device = file.at("device");
        if (file.at("sum") != checksum(device.dump()))
            damaged("its checksum is wrong");
        return readDevice(device);
    } catch (const json::exception& error) {
        damaged(error.what());
    }
}

} // namespace simulator
