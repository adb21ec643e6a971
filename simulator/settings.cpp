#include "simulator/settings.h"

#include "simulator/fault_text.h"
#include "simulator/json_places.h"
#include "simulator/object_reader.h"
#include "simulator/presets.h"
#include "text/ascii.h"

#include <limits>

namespace simulator {

namespace {

constexpr std::size_t MOST_DENOMINATIONS = 32;

bool isLowerCase(char c)
{
    return c >= 'a' && c <= 'z';
}

bool isUpperCase(char c)
{
    return c >= 'A' && c <= 'Z';
}

[[noreturn]] void fail(const json& value, const std::string& name, const std::string& what)
{
    throw JsonFault(name + ": " + what, "", what, &value);
}

Denomination parseDenomination(const json& object, Denomination denomination = {})
{
    ObjectReader reader(object, "drawer");
    reader.read("value", denomination.value, 1, LARGEST_AMOUNT);
    if (denomination.value == 0)
        reader.fail("value", "is missing");
    std::string kind = denomination.kind == CashKind::Coin ? "coin" : "note";
    reader.read("kind", kind, 4);
    if (kind != "coin" && kind != "note")
        reader.fail("kind", "must be \"coin\" or \"note\"");
    denomination.kind = kind == "coin" ? CashKind::Coin : CashKind::Note;
    reader.read("count", denomination.count, 0, MOST_PIECES);
    reader.read("low", denomination.low, 0, 99);
    reader.read("high", denomination.high, 0, MOST_PIECES);
    reader.read("float", denomination.cashFloat, 0, MOST_PIECES);
    reader.read("capacity", denomination.capacity, 0, MOST_PIECES);
    reader.read("recycled", denomination.recycled);
    reader.read("stuck", denomination.stuck, 0, MOST_PIECES);
    reader.refuseUnknown();
    if (denomination.capacity != 0 && denomination.count > denomination.capacity)
        reader.fail("count", "must not be above \"capacity\"");
    if (denomination.high != 0 && denomination.high < denomination.low)
        reader.fail("high", "must not be below \"low\"");
    return denomination;
}

std::vector<Denomination> parseDrawer(const json& list)
{
    if (!list.is_array() || list.empty() || list.size() > MOST_DENOMINATIONS)
        fail(list, "drawer",
             "must be a list of 1 to " + std::to_string(MOST_DENOMINATIONS) + " denominations");
    std::vector<Denomination> drawer;
    for (const json& object : list)
        drawer.push_back(parseDenomination(object));

    std::sort(drawer.begin(), drawer.end(), [](const Denomination& a, const Denomination& b) {
        return std::pair(a.kind, a.value) < std::pair(b.kind, b.value);
    });
    std::set<Amount> values;
    Amount total = 0;
    for (const Denomination& denomination : drawer) {
        if (!values.insert(denomination.value).second)
            fail(list, "drawer", std::to_string(denomination.value) + " is there twice");
        total += denomination.value * denomination.count;
    }
    if (total > LARGEST_AMOUNT)
        fail(list, "drawer", "holds more than " + std::to_string(LARGEST_AMOUNT));
    return drawer;
}

std::map<char, char> parseRefusals(const json& object)
{
    if (!object.is_object())
        fail(object, "refuse", "must be an object");
    std::map<char, char> refusals;
    for (const auto& [letter, status] : object.items()) {
        if (letter.size() != 1 || !isLowerCase(letter[0]))
            fail(object, "refuse", "must name commands by a lower-case letter");
        const std::string character = status.is_string() ? status.get<std::string>() : "";
        if (character.size() != 1 || character == "0")
            fail(object, "refuse", "must give one status character other than 0");
        refusals[letter[0]] = character[0];
    }
    return refusals;
}

std::vector<Fault> parseFaults(const json& list)
{
    if (!list.is_array())
        fail(list, "faults", "must be a list");
    std::vector<Fault> faults;
    for (const json& object : list)
        faults.push_back(parseFault(object));
    return faults;
}

/// What comes and goes between two looks of the library, it never sees, and every sale would time out.
void raiseTimes(Settings& settings)
{
    settings.notes.clear();
    if (settings.messageGap < LEAST_MESSAGE_GAP) {
        settings.messageGap = LEAST_MESSAGE_GAP;
        settings.notes.push_back("\"messageGap\" is raised to " + durationText(LEAST_MESSAGE_GAP) +
                                 ", the least that the library can see");
    }
}

/// They come first, whatever stands beside them changes them.
void readPresets(Settings& settings, ObjectReader& reader)
{
    std::string name;
    reader.read("preset", name, 8);
    if (!name.empty() && !applyCurrency(settings, name))
        reader.fail("preset", "must be one of " + currencyPresets());
    name.clear();
    reader.read("device", name, 8);
    if (!name.empty() && !applyDevice(settings, name))
        reader.fail("device", "must be \"current\" or \"legacy\"");
}

void readSettings(Settings& settings, const json& object)
{
    ObjectReader reader(object, "settings");
    readPresets(settings, reader);
    if (const json* drawer = reader.find("drawer"))
        settings.drawer = parseDrawer(*drawer);
    reader.read("currency", settings.currency, 8, &isLetter, "letters");
    if (settings.currency.empty())
        reader.fail("currency", "must not be empty");
    reader.read("decimals", settings.decimals, 0, 3);
    reader.read("versionKind", settings.versionKind, 0, 9);
    reader.read("masterVersion", settings.masterVersion, 4);
    if (settings.masterVersion.size() != 4 || !parseNumber(settings.masterVersion))
        reader.fail("masterVersion", "must be four digits");
    reader.read("apiVersion", settings.apiVersion, 99);
    reader.read("commands", settings.commands, 26, &isUpperCase, "upper-case letters");
    reader.read("partSize", settings.partSize, 1, 10'000);
    reader.readTime("answerDelay", settings.answerDelay);
    reader.readTime("messageGap", settings.messageGap);
    reader.readTime("payOutTime", settings.payOutTime);
    reader.readTime("pieceTime", settings.pieceTime);
    reader.readTime("insertTime", settings.insertTime);
    reader.read("speed", settings.speed, 1, 100);
    reader.read("payInAfterLogin", settings.payInAfterLogin);
    reader.read("loginOpens", settings.loginOpens);
    reader.read("loginClearsError", settings.loginClearsError);
    reader.read("sessionTexts", settings.sessionTexts);
    if (const json* refuse = reader.find("refuse"))
        settings.refuse = parseRefusals(*refuse);
    reader.read("silent", settings.silent, 26, &isLowerCase, "lower-case letters");
    reader.read("busyInCall", settings.busyInCall);
    reader.read("openCode", settings.openCode, 0, std::numeric_limits<std::int16_t>::max());
    if (const json* faults = reader.find("faults"))
        settings.faults = parseFaults(*faults);
    reader.refuseUnknown();
    raiseTimes(settings);
}

} // namespace

std::vector<Denomination> Settings::defaultDrawer()
{
    struct Row {
        Amount value;
        CashKind kind;
        int count;
        int low;
        int cashFloat;
    };
    constexpr Row ROWS[] = {
        {100, CashKind::Coin, 100, 20, 80},  {200, CashKind::Coin, 100, 20, 80},
        {500, CashKind::Coin, 100, 20, 80},  {1000, CashKind::Coin, 100, 20, 80},
        {2000, CashKind::Note, 50, 10, 40},  {5000, CashKind::Note, 40, 10, 30},
        {10000, CashKind::Note, 40, 10, 30}, {20000, CashKind::Note, 30, 5, 20},
        {50000, CashKind::Note, 20, 5, 10},
    };

    std::vector<Denomination> drawer;
    for (const Row& row : ROWS) {
        Denomination denomination;
        denomination.value = row.value;
        denomination.kind = row.kind;
        denomination.count = row.count;
        denomination.low = row.low;
        denomination.cashFloat = row.cashFloat;
        drawer.push_back(denomination);
    }
    return drawer;
}

Settings parseSettings(std::string_view text, const std::string& file)
{
    Settings settings;
    readPlaced(text, file, [&](const json& document) { settings = changedSettings({}, document); });
    return settings;
}

Settings changedSettings(const Settings& settings, const json& changes)
{
    Settings changed = settings;
    readSettings(changed, changes);
    return changed;
}

std::vector<Denomination> changedUnits(const std::vector<Denomination>& units, const json& list)
{
    if (!list.is_array())
        throw std::runtime_error("drawer: must be a list of denominations");
    std::vector<Denomination> changed;
    for (const json& object : list) {
        const Denomination named = parseDenomination(object);
        const auto unit = std::find_if(units.begin(), units.end(),
                                       [&](const Denomination& each) { return each.value == named.value; });
        if (unit == units.end())
            throw std::runtime_error("drawer: there is no " + std::to_string(named.value));
        changed.push_back(parseDenomination(object, *unit));
        if (changed.back().count != unit->count || changed.back().kind != unit->kind)
            throw std::runtime_error("drawer: pieces come and go by insert, refill and take only");
    }
    return changed;
}

nlohmann::ordered_json describeSettings(const Settings& settings)
{
    using nlohmann::ordered_json;
    ordered_json drawer = ordered_json::array();
    for (const Denomination& unit : settings.drawer)
        drawer.push_back({{"value", unit.value},
                          {"kind", unit.kind == CashKind::Note ? "note" : "coin"},
                          {"count", unit.count},
                          {"low", unit.low},
                          {"high", unit.high},
                          {"float", unit.cashFloat},
                          {"capacity", unit.capacity},
                          {"recycled", unit.recycled},
                          {"stuck", unit.stuck}});
    ordered_json refuse = ordered_json::object();
    for (const auto& [letter, status] : settings.refuse)
        refuse[std::string(1, letter)] = std::string(1, status);
    return {{"currency", settings.currency},
            {"decimals", settings.decimals},
            {"versionKind", settings.versionKind},
            {"masterVersion", settings.masterVersion},
            {"apiVersion", settings.apiVersion},
            {"commands", settings.commands},
            {"partSize", settings.partSize},
            {"answerDelay", settings.answerDelay},
            {"messageGap", settings.messageGap},
            {"payOutTime", settings.payOutTime},
            {"pieceTime", settings.pieceTime},
            {"insertTime", settings.insertTime},
            {"speed", settings.speed},
            {"payInAfterLogin", settings.payInAfterLogin},
            {"loginOpens", settings.loginOpens},
            {"loginClearsError", settings.loginClearsError},
            {"sessionTexts", settings.sessionTexts},
            {"refuse", std::move(refuse)},
            {"silent", settings.silent},
            {"busyInCall", settings.busyInCall},
            {"openCode", settings.openCode},
            {"faults", ordered_json::array()},
            {"drawer", std::move(drawer)}};
}

} // namespace simulator
