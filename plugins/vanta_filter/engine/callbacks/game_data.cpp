#include "engine/callbacks/game_data.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>

#include "engine/callbacks/json_number.h"

namespace vanta {
namespace {

constexpr int64_t kRawRequest = 10005;  // the handler reads the text itself
constexpr char kLiveEffect[] = "LiveEffectAbility";
constexpr char kClearEffect[] = "clearEffect";

struct KnownRequest {
  std::string_view ability;
  std::string_view method;
  bool with_effect_json;  // "effectJsonStr" is handed on
};

constexpr std::array<KnownRequest, 10> kKnownRequests = {{
    {kLiveEffect, "playEffect", true},
    {kLiveEffect, kClearEffect, false},
    {"LiveFlvStreamAbility", "sendEffectMessage", true},
    {"LiveResourceAbility", "getMagicFacePath", false},
    {"LiveResourceAbility", "getImagePath", false},
    {"LiveHttpAbility", "get", false},
    {"LiveStreamInfoAbility", "getPkId", false},
    {"LiveStreamInfoAbility", "isDeductMoment", false},
    {"LiveServerTimeAbility", "getCurrentServerTimeMs", false},
    {"LiveSwitchConfigAbility", "getValue", false},
}};

// Request types that stand for a method of the effects' own ability, whatever the message names.
const std::map<int64_t, std::string> &MethodsByType() {
  static const std::map<int64_t, std::string> methods = {{3010, kClearEffect}};
  return methods;
}

int64_t NumberOr0(const nlohmann::json &object, const char *key) {
  const auto found = object.find(key);
  return found == object.end() ? 0 : ReadWholeNumber(*found);
}

std::string TextOrNone(const nlohmann::json &object, const char *key) {
  const auto found = object.find(key);
  return found == object.end() ? std::string() : found->get<std::string>();
}

std::optional<AbilityRequest> FindRequest(const std::string &ability, const std::string &method,
                                          const nlohmann::json &data) {
  const auto known = std::find_if(kKnownRequests.begin(), kKnownRequests.end(), [&](const KnownRequest &row) {
    return row.ability == ability && row.method == method;
  });
  if (known == kKnownRequests.end()) return std::nullopt;
  AbilityRequest request{method, {}, method == kClearEffect};
  const auto params = data.find("params");
  if (known->with_effect_json && params != data.end() && params->is_object())
    request.params = TextOrNone(*params, "effectJsonStr");
  return request;
}

}  // namespace

std::optional<AbilityRequest> ReadGameData(const std::string &text) {
  const nlohmann::json message = nlohmann::json::parse(text);
  if (!message.is_object()) return std::nullopt;
  const int64_t type = NumberOr0(message, "reqType");
  NumberOr0(message, "seqId");  // the handler finds it in the text; here it must be a number, no more
  if (type == kRawRequest) return AbilityRequest{};
  const auto data = message.find("data");
  if (data == message.end() || !data->is_object()) return std::nullopt;
  std::string ability = TextOrNone(*data, "ability");
  std::string method = TextOrNone(*data, "method");
  if (const auto named = MethodsByType().find(type); named != MethodsByType().end()) {
    ability = kLiveEffect;
    method = named->second;
  }
  return FindRequest(ability, method, *data);
}

}  // namespace vanta
