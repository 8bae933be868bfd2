#include "vanta_base/json_text.h"

namespace vanta {

nlohmann::ordered_json ReadJson(std::string_view text) {
  return nlohmann::ordered_json::parse(text, nullptr, false);
}

nlohmann::ordered_json ReadJsonOrThrow(std::string_view text) {
  return nlohmann::ordered_json::parse(text);
}

std::string WriteJson(const nlohmann::ordered_json &json, int indent) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vanta
