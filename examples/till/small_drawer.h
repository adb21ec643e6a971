// A drawer with not much in it, so that a few payments empty it.
#pragma once

/// Settings for the simulator.
constexpr const char* SMALL_DRAWER = R"({"drawer": [
    {"value": 100, "kind": "coin", "count": 12, "low": 8},
    {"value": 500, "kind": "coin", "count": 6, "low": 3},
    {"value": 1000, "kind": "coin", "count": 4, "low": 2},
    {"value": 2000, "kind": "note", "count": 5, "low": 3}]})";
