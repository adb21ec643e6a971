// Faults as JSON: what asks for one, and what tells of one.
#pragma once

#include "simulator/faults.h"

#include <nlohmann/json_fwd.hpp>

namespace simulator {

/// Throws std::runtime_error with a text for people to read.
Fault parseFault(const nlohmann::json& object);

/// The fault as people see it, with what begins and what ends it in words.
nlohmann::json describeFault(const Fault& fault, Milliseconds now);

} // namespace simulator
