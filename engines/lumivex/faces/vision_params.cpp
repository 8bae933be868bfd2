#include "faces/vision_params.h"

#include <vanta_base/json_text.h>
#include <nlohmann/json.hpp>

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

// Empty for what no parameter can be.
std::optional<std::string> TextOf(const Json &value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
  if (value.is_number()) return vanta::WriteJson(value);
  return std::nullopt;
}

}  // namespace

VisionParams ReadVisionParams(std::string_view json) {
  const Json parsed = vanta::ReadJson(json);
  if (!parsed.is_object()) return {std::nullopt, "they are no JSON object"};
  const auto inner = parsed.find("landmarks_param");
  const Json &params = inner != parsed.end() ? *inner : parsed;
  if (!params.is_object()) return {std::nullopt, "\"landmarks_param\" is no object"};
  std::map<std::string, std::string> values;
  for (const auto &[name, value] : params.items()) {
    std::optional<std::string> text = TextOf(value);
    if (!text) return {std::nullopt, "\"" + name + "\" is neither a number nor a text"};
    values[name] = std::move(*text);
  }
  return {std::move(values), {}};
}

}  // namespace lumivex
