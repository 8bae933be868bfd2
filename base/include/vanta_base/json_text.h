// JSON from text and to text, compiled once: in every file that does it with nlohmann's templates it costs the compiler
// seconds.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace vanta {

// A value that is_discarded() for text that is no JSON, nests deeper than 256 levels, or has an object of more than
// 10000 members.
nlohmann::ordered_json ReadJson(std::string_view text);
// The same, with nlohmann::ordered_json::parse_error in its place; out_of_range for a number that is too large.
nlohmann::ordered_json ReadJsonOrThrow(std::string_view text);
// On one line, or with `indent` spaces a level. Bytes that are no UTF-8 become U+FFFD.
std::string WriteJson(const nlohmann::ordered_json &json, int indent = -1);

}  // namespace vanta
