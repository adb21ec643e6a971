#include "simulator/settings.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

namespace simulator {

namespace {

using nlohmann::json;

/// Reads the members of one JSON object and complains of those that nobody asked for.
class ObjectReader {
public:
    ObjectReader(const json& object, std::string name) : m_object(object), m_name(std::move(name))
    {
        if (!object.is_object())
            fail("must be an object");
    }

    void read(const char* key, bool& value)
    {
        if (const json* member = find(key)) {
            if (!member->is_boolean())
                fail(key, "must be true or false");
            value = member->get<bool>();
        }
    }

    void read(const char* key, std::string& value, std::size_t longest)
    {
        if (const json* member = find(key)) {
            if (!member->is_string() || member->get<std::string>().size() > longest)
                fail(key, "must be a text of at most " + std::to_string(longest) + " characters");
            value = member->get<std::string>();
        }
    }

    /// A text of the characters that "allows" allows.
    void read(const char* key, std::string& value, std::size_t longest, bool (*allows)(char),
              const char* characters)
    {
        read(key, value, longest);
        if (!std::all_of(value.begin(), value.end(), allows))
            fail(key, std::string("must be of ") + characters + " only");
    }

    template <typename Number>
    void read(const char* key, Number& value, Amount least, Amount most)
    {
        if (const json* member = find(key)) {
            if (!member->is_number_integer() || *member < least || *member > most)
                fail(key, "must be a number from " + std::to_string(least) + " to " + std::to_string(most));
            value = member->get<Number>();
        }
    }

    const json* find(const char* key)
    {
        m_known.insert(key);
        const auto member = m_object.find(key);
        return member == m_object.end() ? nullptr : &*member;
    }

    void refuseUnknown() const
    {
        for (const auto& member : m_object.items())
            if (!m_known.contains(member.key()))
                fail(member.key(), "is no setting");
    }

    [[noreturn]] void fail(const std::string& key, const std::string& what) const
    {
        fail("\"" + key + "\" " + what);
    }

private:
    [[noreturn]] void fail(const std::string& what) const { throw std::runtime_error(m_name + ": " + what); }

    const json& m_object;
    std::string m_name;
    std::set<std::string> m_known;
};

constexpr std::size_t MOST_DENOMINATIONS = 32;

bool isLowerCase(char c)
{
    return c >= 'a' && c <= 'z';
}

bool isUpperCase(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool isLetter(char c)
{
    return isLowerCase(c) || isUpperCase(c);
}

Denomination parseDenomination(const json& object)
{
    Denomination denomination;
    ObjectReader reader(object, "drawer");
    reader.read("value", denomination.value, 1, LARGEST_AMOUNT);
    if (denomination.value == 0)
        reader.fail("value", "is missing");
    std::string kind = "coin";
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
        throw std::runtime_error("drawer: must be a list of 1 to " + std::to_string(MOST_DENOMINATIONS) +
                                 " denominations");
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
            throw std::runtime_error("drawer: " + std::to_string(denomination.value) + " is there twice");
        total += denomination.value * denomination.count;
    }
    if (total > LARGEST_AMOUNT)
        throw std::runtime_error("drawer: holds more than " + std::to_string(LARGEST_AMOUNT));
    return drawer;
}

std::map<char, char> parseRefusals(const json& object)
{
    if (!object.is_object())
        throw std::runtime_error("refuse: must be an object");
    std::map<char, char> refusals;
    for (const auto& [letter, status] : object.items()) {
        if (letter.size() != 1 || !isLowerCase(letter[0]))
            throw std::runtime_error("refuse: must name commands by a lower-case letter");
        const std::string character = status.is_string() ? status.get<std::string>() : "";
        if (character.size() != 1 || character == "0")
            throw std::runtime_error("refuse: must give one status character other than 0");
        refusals[letter[0]] = character[0];
    }
    return refusals;
}

void readSettings(Settings& settings, const json& object)
{
    constexpr int LONGEST_TIME = 600'000;

    ObjectReader reader(object, "settings");
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
    reader.read("answerDelay", settings.answerDelay, 0, LONGEST_TIME);
    reader.read("messageGap", settings.messageGap, 0, LONGEST_TIME);
    reader.read("payOutTime", settings.payOutTime, 0, LONGEST_TIME);
    reader.read("payInAfterLogin", settings.payInAfterLogin);
    reader.read("loginOpens", settings.loginOpens);
    reader.read("loginClearsError", settings.loginClearsError);
    reader.read("sessionTexts", settings.sessionTexts);
    if (const json* refuse = reader.find("refuse"))
        settings.refuse = parseRefusals(*refuse);
    reader.read("silent", settings.silent, 26, &isLowerCase, "lower-case letters");
    reader.read("busyInCall", settings.busyInCall);
    reader.read("openCode", settings.openCode, 0, std::numeric_limits<std::int16_t>::max());
    reader.refuseUnknown();
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

Settings parseSettings(std::string_view text)
{
    json object;
    try {
        object = json::parse(text);
    } catch (const json::exception& error) {
        throw std::runtime_error(std::string("settings: not JSON: ") + error.what());
    }
    Settings settings;
    readSettings(settings, object);
    return settings;
}

} // namespace simulator
