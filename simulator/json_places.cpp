#include "simulator/json_places.h"

#include "simulator/object_reader.h"
#include "simulator/settings.h"

namespace simulator {

namespace {

/// Behind the mark of UTF-8 that some editors put before a text.
std::size_t startOf(std::string_view text)
{
    return text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
}

/// Walks through a text that was parsed already.
class Walk {
public:
    explicit Walk(std::string_view text) : m_text(text), m_at(startOf(text)) {}

    void refuseTwins() { value(); }

    std::map<std::string, std::size_t> places()
    {
        m_keepsPlaces = true;
        value();
        return std::move(m_places);
    }

private:
    char here() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

    void skipBlanks()
    {
        while (m_at < m_text.size()) {
            if (std::string_view(" \t\r\n").find(here()) != std::string_view::npos)
                ++m_at;
            else if (m_text.substr(m_at, 2) == "//")
                m_at = std::min(m_text.find('\n', m_at), m_text.size());
            else if (m_text.substr(m_at, 2) == "/*")
                m_at = std::min(m_text.find("*/", m_at + 2), m_text.size() - 2) + 2;
            else
                return;
        }
    }

    bool skip(char c)
    {
        skipBlanks();
        if (here() != c)
            return false;
        ++m_at;
        return true;
    }

    std::string_view quoted()
    {
        const std::size_t start = m_at++;
        while (m_at < m_text.size() && here() != '"')
            m_at += here() == '\\' ? 2 : 1;
        ++m_at;
        return m_text.substr(start, m_at - start);
    }

    std::string path() const
    {
        std::string all;
        for (const std::string& step : m_steps)
            all = step.starts_with('[') ? all + step : pathOfMember(all, step);
        return all;
    }

    void value()
    {
        skipBlanks();
        if (here() == '{')
            object();
        else if (here() == '[')
            list();
        else if (here() == '"')
            quoted();
        else
            m_at = std::min(m_text.find_first_of(",]}/ \t\r\n", m_at), m_text.size());
    }

    void object()
    {
        std::set<std::string> keys;
        ++m_at;
        while (!skip('}') && m_at < m_text.size()) {
            const std::size_t at = m_at;
            m_steps.push_back(json::parse(quoted()).get<std::string>());
            if (!keys.insert(m_steps.back()).second)
                throw JsonFault("", path(), "is there twice", nullptr, at);
            skip(':');
            member(at);
        }
    }

    void list()
    {
        ++m_at;
        for (int i = 0; !skip(']') && m_at < m_text.size(); ++i) {
            m_steps.push_back("[" + std::to_string(i) + "]");
            member(m_at);
        }
    }

    void member(std::size_t at)
    {
        if (m_keepsPlaces)
            m_places.emplace(path(), at);
        value();
        m_steps.pop_back();
        skip(',');
        skipBlanks();
    }

    const std::string_view m_text;
    std::size_t m_at;
    bool m_keepsPlaces = false;
    std::vector<std::string> m_steps; // from the whole to what it is at
    std::map<std::string, std::size_t> m_places;
};

} // namespace

Place placeAt(std::string_view text, std::size_t offset)
{
    Place place;
    const std::size_t start = startOf(text);
    for (const char c : text.substr(start, std::max(offset, start) - start)) {
        if (c == '\n')
            place = {place.line + 1, 1};
        else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) // not within a character of UTF-8
            ++place.column;
    }
    return place;
}

void refuseTwins(std::string_view text)
{
    Walk(text).refuseTwins();
}

std::map<std::string, std::size_t> placesIn(std::string_view text)
{
    return Walk(text).places();
}

std::string pathOf(const json& whole, const json& part)
{
    for (auto item = whole.begin(); whole.is_structured() && item != whole.end(); ++item) {
        const std::string step =
            whole.is_object() ? item.key() : "[" + std::to_string(std::distance(whole.begin(), item)) + "]";
        if (&*item == &part)
            return step;
        if (const std::string rest = pathOf(*item, part); !rest.empty())
            return rest.front() == '[' ? step + rest : pathOfMember(step, rest);
    }
    return "";
}

void readPlaced(std::string_view text, const std::string& file,
                const std::function<void(const json& document)>& read)
{
    json document;
    try {
        document = parseJson(text);
        read(document);
    } catch (const JsonFault& fault) {
        const std::string path =
            fault.object != nullptr ? pathOfMember(pathOf(document, *fault.object), fault.key) : fault.key;
        std::size_t offset = fault.offset.value_or(0);
        if (!fault.offset)
            if (const auto places = placesIn(text); places.contains(path))
                offset = places.at(path);
        const Place place = placeAt(text, offset);
        const std::string at = file + ":" + std::to_string(place.line) + ":" + std::to_string(place.column);
        const std::string what = (path.empty() ? "" : path + ": ") + fault.reason;
        throw BadSettings(what + " (" + at + ")", at + ": " + what);
    } catch (const std::exception& error) {
        throw BadSettings(std::string(error.what()) + " (" + file + ")", file + ":1:1: " + error.what());
    }
}

std::string pathOfMember(const std::string& path, const std::string& key)
{
    return path.empty() || key.empty() ? path + key : path + "." + key;
}

} // namespace simulator
