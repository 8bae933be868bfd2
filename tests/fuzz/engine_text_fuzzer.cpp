// Texts between engine, module and host, from anywhere. The first byte chooses: '0' game data and '1' an effect's
// description, as the module reads them; '2' an effect.json as the engine reads it, behind a zero byte a message of the
// host's to that effect. Whatever they hold, nothing but the errors that are told of comes out.
#include <util/base.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "engine/callbacks/effect_description.h"
#include "engine/callbacks/game_data.h"
#include "engine/callbacks/gift.h"
#include "engine/callbacks/magic_signal.h"
#include "files/loader.h"
#include "magic/effect_plan.h"
#include "magic/effect_player.h"
#include "require.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

int g_outcomes = 0;  // gifts and flags of one description

void ReadModuleGameData(const std::string &text) {
  try {
    const auto request = vanta::ReadGameData(text);
    if (!request) return;
    const bool takes_params = request->method == "playEffect" || request->method == "sendEffectMessage";
    Require(takes_params || request->params.empty(), "params of a method that takes none");
    Require(request->ends_effect == (request->method == "clearEffect"), "the end of an effect by another name");
  } catch (const nlohmann::json::exception &) {
    // Goes back to the engine, which bears it.
  }
}

void ReadModuleDescription(const std::string &text) {
  g_outcomes = 0;
  vanta::HandleEffectDescription(text, "event");
  Require(g_outcomes <= 1, "a description with two outcomes");
}

void RequireRanges(const lumivex::EffectPlan &plan) {
  Require(plan.layers.size() <= lumivex::kMaxLayers && plan.messages.size() <= lumivex::kMaxMessages &&
              plan.reactions.size() <= lumivex::kMaxReactions,
          "more parts than the limits");
  Require(plan.duration_ms >= 0 && plan.duration_ms <= lumivex::kMaxEffectMs, "duration");
  for (const lumivex::LayerPlan &layer : plan.layers) {
    Require(layer.fps >= 0.1f && layer.fps <= 120.0f && layer.size > 0.0f && layer.size <= 20.0f, "fps, size");
    Require(layer.offset_x >= -20.0f && layer.offset_x <= 20.0f && layer.offset_y >= -20.0f && layer.offset_y <= 20.0f,
            "offset");
    Require(layer.opacity >= 0.0f && layer.opacity <= 1.0f, "opacity");
    Require(layer.custom_index < lumivex::kMaxCustomImages && layer.text.size() <= lumivex::kMaxTextLength, "source");
  }
  for (const lumivex::ReactionPlan &reaction : plan.reactions) {
    for (const auto *layers : {&reaction.show, &reaction.hide}) {
      for (const size_t layer : *layers) Require(layer < plan.layers.size(), "a layer that is not there");
    }
    Require(!reaction.text_layer || *reaction.text_layer < plan.layers.size(), "a text layer that is not there");
  }
}

// Plays the effect, without its pictures, for a second and a half, with the message in between.
void PlayEffect(lumivex::EffectPlan plan, const std::string &message) {
  auto effect = std::make_shared<lumivex::Effect>();
  effect->pictures.resize(plan.layers.size());
  effect->plan = std::move(plan);
  lumivex::EffectOutbox outbox;
  outbox.SetDescriptionCallback(
      [](const std::string &text, bool) { Require(nlohmann::json::accept(text), "a description that is no JSON"); });
  outbox.SetGameDataCallback(
      [](const LX::BoomGameData &data) { Require(nlohmann::json::parse(data.json).contains("seqId"), "no number"); });
  uint8_t luma[16 * 16] = {};
  uint8_t chroma[16 * 8] = {};
  const lumivex::Nv12View view{luma, chroma, 16, 16, 16, 16, 8, 8};
  const lumivex::YuvSpace space;
  const lumivex::Faces faces;
  lumivex::Loader loader;
  lumivex::EffectPlayer player(effect, loader);
  player.Start({}, outbox);
  const auto sent = nlohmann::ordered_json::parse(message, nullptr, false);
  for (int i = 0; i < 3; ++i) {
    player.TakeTexts(true);
    player.Advance(500000000, outbox);
    player.Draw({view, space, {}, faces, nullptr, 1.0f}, {});
    if (sent.is_object()) player.React(sent, outbox);
    outbox.Deliver();
  }
  player.ShownLayers();
}

void ReadEffect(const std::string &text) {
  const size_t end = std::min(text.find('\0'), text.size());
  lumivex::EffectText read = lumivex::ParseEffect(text.substr(0, end));
  Require(read.plan.has_value() == read.reason.empty(), "neither a plan nor a reason, or both");
  if (!read.plan) return;
  RequireRanges(*read.plan);
  PlayEffect(std::move(*read.plan), text.substr(std::min(end + 1, text.size())));
}

}  // namespace

namespace vanta {

void ExecGiftCallBack(int64_t, const std::string &) {
  ++g_outcomes;
}
void SendMagicFlags(const MagicFlags &) {
  ++g_outcomes;
}

}  // namespace vanta

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
  switch (data[0] % 3) {
    case '0' % 3:
      ReadModuleGameData(text);
      break;
    case '1' % 3:
      ReadModuleDescription(text);
      break;
    default:
      ReadEffect(text);
      break;
  }
  return 0;
}
