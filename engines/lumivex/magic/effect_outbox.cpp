#include "magic/effect_outbox.h"

#include <util/base.h>

#include <vanta_base/json_text.h>
#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kClearEffectRequest = 3010;

}  // namespace

void EffectOutbox::Describe(std::string description, bool success) {
  Keep({false, std::move(description), success});
}

void EffectOutbox::SendGameData(const std::string &json) {
  Json message = vanta::ReadJson(json);
  if (!message.is_object()) return;
  if (!message.contains("seqId")) message["seqId"] = next_sequence_++;
  Keep({true, vanta::WriteJson(message), true});
}

void EffectOutbox::SendClearEffect() {
  const Json message = {
      {"reqType", kClearEffectRequest},
      {"seqId", next_sequence_++},
      {"data", {{"ability", "LiveEffectAbility"}, {"method", "clearEffect"}, {"params", Json::object()}}}};
  Keep({true, vanta::WriteJson(message), true});
}

void EffectOutbox::Keep(Item item) {
  if (items_.size() < kMaxItems) {
    items_.push_back(std::move(item));
    return;
  }
  if (!overflow_logged_) blog(LOG_WARNING, "[lumivex] effects say more than frames carry away, some of it is lost");
  overflow_logged_ = true;
}

void EffectOutbox::Deliver() {
  if (delivering_) return;  // a callback is at work further up
  delivering_ = true;
  for (size_t left = items_.size(); left > 0; --left) {
    const Item item = std::move(items_.front());
    items_.pop_front();
    Say(item);
  }
  delivering_ = false;
}

void EffectOutbox::Say(const Item &item) {
  const char *const name = item.game_data ? "game data" : "effect description";
  bool &said = item.game_data ? game_data_failure_logged_ : description_failure_logged_;
  try {
    // Copies: a callback may set another one.
    if (const GameDataCallback callback = game_data_callback_; item.game_data && callback) callback({item.text});
    if (const DescriptionCallback callback = description_callback_; !item.game_data && callback)
      callback(item.text, item.success);
  } catch (const std::exception &error) {
    SayOnce(said, name, error.what());
  } catch (...) {
    SayOnce(said, name, "an exception of no standard type");
  }
}

void EffectOutbox::SayOnce(bool &said, const char *callback, const char *error) {
  if (!said) blog(LOG_WARNING, "[lumivex] the %s callback failed, further failures are not told: %s", callback, error);
  said = true;
}

}  // namespace lumivex
