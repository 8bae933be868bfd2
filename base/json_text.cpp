#include "vanta_base/json_text.h"

#include "vanta_base/json_depth.h"

namespace vanta {
namespace {

// Values are copied and written level by level on the stack, which a text of a few hundred kilobytes could use up.
constexpr int kDeepest = 256;

// Empty, which is no JSON, for a text that nests deeper.
std::string_view Shallow(std::string_view text) {
  return NestsDeeperThan(text, kDeepest) ? std::string_view() : text;
}

}  // namespace

bool NestsDeeperThan(std::string_view text, int limit) {
  int depth = 0;
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '\\') ++i;
      if (c == '"') quoted = false;
    } else if (c == '"') {
      quoted = true;
    } else if (c == '{' || c == '[') {
      if (++depth > limit) return true;
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
  return false;
}

nlohmann::ordered_json ReadJson(std::string_view text) {
  return nlohmann::ordered_json::parse(Shallow(text), nullptr, false);
}

nlohmann::ordered_json ReadJsonOrThrow(std::string_view text) {
  return nlohmann::ordered_json::parse(Shallow(text));
}

std::string WriteJson(const nlohmann::ordered_json &json, int indent) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vanta
