// Reads JSON objects of which every member is known.
#pragma once

#include "simulator/cash.h"
#include "simulator/times.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

namespace simulator {

using nlohmann::json;

/// Throws std::runtime_error, with the place of the fault, and also for texts that are nested so deeply that
/// whoever walks through them would run out of stack.
json parseJson(std::string_view text);

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
            if (!m_known.contains(member.key()))
                fail(member.key(), "is not known here");
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

} // namespace simulator
