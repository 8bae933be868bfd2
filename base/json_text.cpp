#include "vanta_base/json_text.h"

#include <vector>

#include "vanta_base/json_depth.h"

namespace vanta {
namespace {

// Values are copied and written level by level on the stack, which a text of a few hundred kilobytes could use up.
constexpr int kDeepest = 256;

// A member of an ordered object is compared with all before it: a megabyte of them would take half a minute.
constexpr size_t kMostMembers = 10000;  // of one object

// Calls `look` with each character outside of quotes until that returns false; true where it never does.
template <typename Look>
bool AllOutsideQuotes(std::string_view text, Look look) {
  bool quoted = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '\\') ++i;
      if (c == '"') quoted = false;
    } else if (c == '"') {
      quoted = true;
    } else if (!look(c)) {
      return false;
    }
  }
  return true;
}

bool HasLargeObject(std::string_view text) {
  std::vector<size_t> members;  // of the objects that are open
  return !AllOutsideQuotes(text, [&members](char c) {
    if (c == '{') members.push_back(0);
    if (members.empty()) return true;
    if (c == '}') members.pop_back();
    return c != ':' || ++members.back() <= kMostMembers;
  });
}

// Empty, which is no JSON, for a text that would take too much of the stack or of time.
std::string_view Bounded(std::string_view text) {
  return NestsDeeperThan(text, kDeepest) || HasLargeObject(text) ? std::string_view() : text;
}

}  // namespace

bool NestsDeeperThan(std::string_view text, int limit) {
  int depth = 0;
  return !AllOutsideQuotes(text, [&depth, limit](char c) {
    if (c == '{' || c == '[') ++depth;
    if (c == '}' || c == ']') --depth;
    return depth <= limit;
  });
}

nlohmann::ordered_json ReadJson(std::string_view text) {
  return nlohmann::ordered_json::parse(Bounded(text), nullptr, false);
}

nlohmann::ordered_json ReadJsonOrThrow(std::string_view text) {
  return nlohmann::ordered_json::parse(Bounded(text));
}

std::string WriteJson(const nlohmann::ordered_json &json, int indent) {
  return json.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vanta
