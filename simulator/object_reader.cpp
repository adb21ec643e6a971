#include "simulator/object_reader.h"

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
        return json::parse(text, refuseDepth);
    } catch (const json::exception& error) {
        throw std::runtime_error(std::string("not JSON: ") + error.what());
    }
}

} // namespace simulator
