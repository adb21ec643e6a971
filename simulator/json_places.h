// Where in a JSON text things stand, so that people find what is wrong.
#pragma once

#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace simulator {

struct Place {
    std::size_t line = 1;   // from 1, both
    std::size_t column = 1; // in characters
};

Place placeAt(std::string_view text, std::size_t offset);

/// Throws JsonFault for a key that is there twice. The text is JSON, perhaps with comments.
void refuseTwins(std::string_view text);

/// Path such as "drawer[1].count" to the offset of its key, or of an item of a list. As
/// refuseTwins.
std::map<std::string, std::size_t> placesIn(std::string_view text);

/// The path of a value that is a part of "whole"; empty for the whole itself, and if it is no part.
std::string pathOf(const nlohmann::json& whole, const nlohmann::json& part);

/// Reads a text that people wrote and called "file". What "read" throws becomes BadSettings, with the place
/// of the fault.
void readPlaced(std::string_view text, const std::string& file,
                const std::function<void(const nlohmann::json& document)>& read);

std::string pathOfMember(const std::string& path, const std::string& key);

} // namespace simulator
