// Reads JSON objects of which every member is known.
#pragma once

#include "simulator/cash.h"
#include "simulator/times.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <stdexcept>
#include <vector>

namespace simulator {

using nlohmann::json;

/// What is wrong with a JSON text, and where.
struct JsonFault : std::runtime_error {
    /// "what" is the whole of it for people who know the text.
    JsonFault(const std::string& what, std::string theKey, std::string theReason,
              const json* theObject = nullptr, std::optional<std::size_t> theOffset = {})
        : std::runtime_error(what.empty() ? theKey + ": " + theReason : what), key(std::move(theKey)),
          reason(std::move(theReason)), object(theObject), offset(theOffset)
    {}

    std::string key;
    std::string reason;
    const json* object;                // that the key should be, or is, in; null if the key is a path
    std::optional<std::size_t> offset; // in the text, where that is known
};

/// Comments are taken, keys that are there twice are not. Throws JsonFault, with the place of the fault, and
/// std::runtime_error for texts that are nested so deeply that whoever walks through them would run out of
/// stack.
json parseJson(std::string_view text);

/// The one of "names" that is nearest to a wrong one: with which it shares most letters in order. Empty if
/// none is near.
std::string nearestName(const std::string& wrong, const std::vector<std::string>& names);

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

    /// Milliseconds, or a text like "5s".
    void readTime(const char* key, Milliseconds& value)
    {
        const json* member = find(key);
        if (member == nullptr)
            return;
        std::optional<Milliseconds> time;
        if (member->is_string())
            time = parseDuration(member->get<std::string>());
        else if (member->is_number_integer() && *member >= 0 && *member <= LONGEST_TIME)
            time = member->get<Milliseconds>();
        if (!time)
            fail(key, "must be a time like 250 or \"5s\", at most " + durationText(LONGEST_TIME));
        value = *time;
    }

    bool has(const char* key) const { return m_object.contains(key); }

    const json* find(const char* key)
    {
        m_known.insert(key);
        const auto member = m_object.find(key);
        return member == m_object.end() ? nullptr : &*member;
    }

    void refuseUnknown() const
    {
        for (const auto& member : m_object.items())
            if (!m_known.contains(member.key())) {
                const std::string nearest = nearestName(member.key(), {m_known.begin(), m_known.end()});
                fail(member.key(), nearest.empty() ? "is not known here"
                                                   : "is not known here; did you mean \"" + nearest + "\"?");
            }
    }

    [[noreturn]] void fail(const std::string& key, const std::string& what) const
    {
        throw JsonFault(m_name + ": \"" + key + "\" " + what, key, what, &m_object);
    }

private:
    [[noreturn]] void fail(const std::string& what) const
    {
        throw JsonFault(m_name + ": " + what, "", what, &m_object);
    }

    const json& m_object;
    std::string m_name;
    std::set<std::string> m_known;
};

} // namespace simulator
