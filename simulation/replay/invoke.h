// Calls an exported function by its name, with arguments as the tape has them.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace simulation {

struct Invoked {
    int status;
    std::string message;
};

/// Throws std::runtime_error if there is no such function, or the arguments are not its own.
Invoked invoke(const std::string& name, const nlohmann::json& arguments);

} // namespace simulation
