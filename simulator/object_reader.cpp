#include "simulator/object_reader.h"

#include "simulator/json_places.h"

namespace simulator {

namespace {

constexpr int DEEPEST = 16;

} // namespace

json parseJson(std::string_view text)
{
    const auto refuseDepth = [](int depth, json::parse_event_t, const json&) {
        if (depth > DEEPEST)
            throw std::runtime_error("nested too deeply");
        return true;
    };
    try {
        json parsed = json::parse(text, refuseDepth, true, true);
        refuseTwins(text);
        return parsed;
    } catch (const json::parse_error& error) {
        const std::string what = error.what();
        const std::size_t reason = what.find(": "); // behind the place
        throw JsonFault("not JSON: " + what, "",
                        "not JSON: " + what.substr(reason == std::string::npos ? 0 : reason + 2), nullptr,
                        error.byte > 0 ? error.byte - 1 : 0);
    } catch (const json::exception& error) {
        throw std::runtime_error(std::string("not JSON: ") + error.what());
    }
}

std::string nearestName(const std::string& wrong, const std::vector<std::string>& names)
{
    const auto shared = [&](std::string_view name) {
        std::vector<std::size_t> row(name.size() + 1, 0);
        for (const char letter : wrong) {
            std::size_t diagonal = 0;
            for (std::size_t i = 0; i < name.size(); ++i) {
                const std::size_t above = row[i + 1];
                row[i + 1] = letter == name[i] ? diagonal + 1 : std::max(above, row[i]);
                diagonal = above;
            }
        }
        return 2 * row.back() * 100 / (wrong.size() + name.size());
    };
    std::string nearest;
    std::size_t most = 50; // in a hundred letters
    for (const std::string& name : names) {
        if (shared(name) > most) {
            most = shared(name);
            nearest = name;
        }
    }
    return nearest;
}

} // namespace simulator
