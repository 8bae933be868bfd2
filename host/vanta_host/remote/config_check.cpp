#include "remote/config_check.h"

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "controls/green_screen_keys.h"
#include "vanta_base/json_text.h"

namespace vanta_host {
namespace {

using Json = nlohmann::ordered_json;

std::string Range(double minimum, double maximum) {
  char text[64];
  std::snprintf(text, sizeof(text), "%g to %g", minimum, maximum);
  return text;
}

bool IsPart(const Json &value) {
  return value.is_number() && value.get<double>() >= 0 && value.get<double>() <= 1;
}

std::optional<std::string> FindFault(const KeySetting &key, const Json &value) {
  const std::string name = "'" + std::string(key.config) + "'";
  if (key.kind == KeyKind::kSwitch) {
    if (value.is_boolean()) return std::nullopt;
    return name + " is neither true nor false";
  }
  const bool whole = key.kind == KeyKind::kWhole;
  if (whole ? !value.is_number_integer() : !value.is_number())
    return name + (whole ? " is no whole number" : " is no number");
  const double number = value.get<double>();
  if (number >= key.minimum && number <= key.maximum) return std::nullopt;
  return name + " is " + vanta::WriteJson(value) + "; it goes from " + Range(key.minimum, key.maximum);
}

std::optional<std::string> FindFault(const std::string &name, const Json &value) {
  if (name == "keyColor") {
    if (value.is_array() && value.size() == 3 && std::all_of(value.begin(), value.end(), IsPart)) return std::nullopt;
    return "'keyColor' is no list of three numbers from 0 to 1";
  }
  if (name == "blueBgFlag") {
    if (value.is_boolean() || value.is_number()) return std::nullopt;
    return "'blueBgFlag' is neither true nor false";
  }
  for (const KeySetting &key : KeySettings()) {
    if (name == key.config) return FindFault(key, value);
  }
  return "'" + name + "' is no setting of the green screen";
}

}  // namespace

std::optional<std::string> FindConfigFault(const std::string &config) {
  const Json json = vanta::ReadJson(config);
  if (!json.is_object()) return "'config' is no text that holds a JSON object";
  for (const auto &[name, value] : json.items()) {
    if (std::optional<std::string> fault = FindFault(name, value)) return fault;
  }
  return std::nullopt;
}

}  // namespace vanta_host
