#include "magic/effect_player.h"

#include <util/base.h>

#include <vanta_base/json_text.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kNanosecondsPerMs = 1000000;

// A text or a number at the place; nothing for everything else.
std::optional<std::string> TextAt(const Json &message, const std::string &pointer) {
  const Json::json_pointer place(pointer);
  if (!message.contains(place)) return std::nullopt;
  const Json &value = message.at(place);
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number()) return vanta::WriteJson(value);
  return std::nullopt;
}

bool HasTriggers(const EffectPlan &plan) {
  return std::any_of(plan.layers.begin(), plan.layers.end(),
                     [](const LayerPlan &layer) { return layer.trigger != FaceTrigger::kNone; });
}

}  // namespace

EffectPlayer::EffectPlayer(std::shared_ptr<const Effect> effect, Loader &loader)
    : effect_(std::move(effect)),
      loader_(loader),
      layers_(effect_->plan.layers.size()),
      text_loads_(effect_->plan.layers.size()),
      has_triggers_(HasTriggers(effect_->plan)) {
  Rewind();
}

void EffectPlayer::Rewind() {
  elapsed_ns_ = 0;
  next_message_ = 0;
  triggers_.Clear();
  for (size_t i = 0; i < layers_.size(); ++i) {
    layers_[i].shown = !Plan().layers[i].hidden;
    layers_[i].zero_ms = 0;
    text_loads_[i].Cancel();
    layers_[i].text = i < effect_->texts.size() ? effect_->texts[i] : nullptr;
  }
}

void EffectPlayer::Start(const Disables &disables, EffectOutbox &outbox) const {
  outbox.Describe(DescriptionOf(Plan(), disables), true);
  SendAll(MessagePlan::When::kStart, outbox);
}

void EffectPlayer::Advance(int64_t nanoseconds, EffectOutbox &outbox) {
  if (state_ != kEffectStatePlaying || ended_) return;
  elapsed_ns_ += nanoseconds;
  const int64_t now = ElapsedMs();
  const auto &messages = Plan().messages;
  for (; next_message_ < messages.size() && messages[next_message_].at_ms <= now; ++next_message_) {
    if (messages[next_message_].when == MessagePlan::When::kTime) outbox.SendGameData(messages[next_message_].json);
  }
  if (Plan().duration_ms > 0 && now >= Plan().duration_ms) End(outbox);
}

void EffectPlayer::SetState(LXEffectState state) {
  if (state_ == kEffectStateStopped && state == kEffectStatePlaying) Rewind();
  state_ = state;
}

// The module sets the host's event itself when a gift's time is over, so a gift does not ask for it.
void EffectPlayer::End(EffectOutbox &outbox) {
  ended_ = true;
  SendAll(MessagePlan::When::kEnd, outbox);
  if (!Plan().gift_display_time) outbox.SendClearEffect();
}

void EffectPlayer::SendAll(MessagePlan::When when, EffectOutbox &outbox) const {
  for (const MessagePlan &message : Plan().messages) {
    if (message.when == when) outbox.SendGameData(message.json);
  }
}

void EffectPlayer::React(const Json &message, EffectOutbox &outbox) {
  if (!Visible()) return;
  for (const ReactionPlan &reaction : Plan().reactions) {
    if (!ended_ && Matches(reaction, message)) Act(reaction, message, outbox);
  }
}

bool EffectPlayer::Matches(const ReactionPlan &reaction, const Json &message) const {
  if (reaction.req_type) {
    const auto type = message.find("reqType");
    if (type == message.end() || !type->is_number_integer() || *type != *reaction.req_type) return false;
  }
  if (!reaction.method) return true;
  const auto data = message.find("data");
  if (data == message.end() || !data->is_object()) return false;
  const auto method = data->find("method");
  return method != data->end() && *method == *reaction.method;
}

void EffectPlayer::Act(const ReactionPlan &reaction, const Json &message, EffectOutbox &outbox) {
  for (const size_t layer : reaction.show) {
    layers_[layer].shown = true;
    layers_[layer].zero_ms = ElapsedMs();
  }
  for (const size_t layer : reaction.hide) layers_[layer].shown = false;
  if (reaction.text_layer) {
    const auto text = reaction.text_from.empty() ? reaction.text : TextAt(message, reaction.text_from);
    if (text) ShowText(*reaction.text_layer, *text);
  }
  if (!reaction.send.empty()) outbox.SendGameData(reaction.send);
  if (reaction.end_effect) End(outbox);
}

void EffectPlayer::ShowText(size_t layer, const std::string &text) {
  TakeText(layer, false);  // texts that change with each frame are to be seen, too
  text_loads_[layer].Start(loader_, [text, effect = effect_, layer](const std::atomic<bool> &) {
    return DrawnText{DrawLayerText(text, effect->plan.layers[layer]), {}};
  });
}

void EffectPlayer::TakeText(size_t layer, bool await) {
  std::optional<DrawnText> drawn = text_loads_[layer].Take(await);
  if (!drawn) return;
  if (drawn->reason.empty())
    layers_[layer].text = std::move(drawn->picture);
  else
    blog(LOG_WARNING, "[lumivex] a text of an effect: %s; it stays as it is", drawn->reason.c_str());
}

void EffectPlayer::TakeTexts(bool await) {
  for (size_t i = 0; i < text_loads_.size(); ++i) TakeText(i, await);
}

int64_t EffectPlayer::ElapsedMs() const {
  return elapsed_ns_ / kNanosecondsPerMs;
}

int64_t EffectPlayer::LayerTime(size_t layer, std::optional<size_t> face) const {
  const LayerPlan &plan = Plan().layers[layer];
  if (!layers_[layer].shown) return -1;
  int64_t zero = layers_[layer].zero_ms;
  if (plan.trigger != FaceTrigger::kNone) {
    const auto since = triggers_.Since(plan.trigger, face);
    // A blink from before the layer was shown is over; a mouth may still be open.
    if (!since || (plan.trigger == FaceTrigger::kBlink && *since < zero)) return -1;
    zero = std::max(zero, *since);
  }
  const int64_t time = ElapsedMs() - zero;
  return plan.end_ms && time >= *plan.end_ms ? -1 : time - plan.start_ms;
}

bool EffectPlayer::IsShown(size_t layer) const {
  const LayerPlan &plan = Plan().layers[layer];
  if (!plan.anchor.face || plan.trigger == FaceTrigger::kNone) return LayerTime(layer) >= 0;
  for (size_t face = 0; face < triggers_.FaceCount(); ++face) {
    if (LayerTime(layer, face) >= 0) return true;
  }
  return false;
}

PicturePointer EffectPlayer::PictureOf(size_t layer, int64_t time, const SharedPictures &shared) const {
  const LayerPlan &plan = Plan().layers[layer];
  if (plan.source == LayerSource::kText) return layers_[layer].text;
  if (plan.source == LayerSource::kCustom)
    return plan.custom_index < shared.custom.size() ? shared.custom[plan.custom_index] : nullptr;
  const Pictures &pictures = plan.source == LayerSource::kMedia ? shared.media : effect_->pictures[layer];
  return pictures.Empty() ? nullptr : pictures.At(time, static_cast<double>(plan.fps), plan.loop);
}

void EffectPlayer::Draw(const Canvas &canvas, const SharedPictures &shared) {
  if (!Visible()) return;
  if (has_triggers_) triggers_.Look(canvas.faces, ElapsedMs());
  for (size_t i = 0; i < layers_.size(); ++i) {
    if (!Plan().layers[i].anchor.face) {
      DrawLayer(i, std::nullopt, canvas, shared);
    } else {
      for (size_t face = 0; face < canvas.faces.size(); ++face) DrawLayer(i, face, canvas, shared);
    }
  }
}

void EffectPlayer::DrawLayer(size_t index, std::optional<size_t> face, const Canvas &canvas,
                             const SharedPictures &shared) {
  const int64_t time = LayerTime(index, face);
  if (time < 0) return;
  const PicturePointer picture = PictureOf(index, time, shared);
  if (!picture) return;
  const LayerPlan &plan = Plan().layers[index];
  const Nv12View &view = canvas.view;
  const float shape = static_cast<float>(picture->Height()) / static_cast<float>(picture->Width());
  Placement placement = face ? PlaceOnFace(plan, shape, canvas.faces[*face])
                             : PlaceOnScreen(plan, shape, view.width, view.height, canvas.orientation);
  if (face && canvas.warp) placement = MovedBy(*canvas.warp, placement);
  Stamp &stamp = stamps_[std::min(index, kStampCount - 1)];
  stamp.Make(picture, placement, plan.opacity * canvas.opacity, canvas.space, view.width, view.height, canvas.bands);
  stamp.Blend(view, canvas.bands);
}

bool EffectPlayer::NeedsFaces() const {
  if (!Visible()) return false;
  for (size_t i = 0; i < layers_.size(); ++i) {
    const LayerPlan &plan = Plan().layers[i];
    const bool needed = plan.trigger != FaceTrigger::kNone ? layers_[i].shown : plan.anchor.face && LayerTime(i) >= 0;
    if (needed) return true;
  }
  return false;
}

bool EffectPlayer::Uses(LayerSource source) const {
  return std::any_of(Plan().layers.begin(), Plan().layers.end(),
                     [source](const LayerPlan &layer) { return layer.source == source; });
}

std::vector<std::string> EffectPlayer::ShownLayers() const {
  std::vector<std::string> names;
  for (size_t i = 0; i < layers_.size(); ++i) {
    const std::string &id = Plan().layers[i].id;
    if (Visible() && IsShown(i)) names.push_back(id.empty() ? std::to_string(i) : id);
  }
  return names;
}

}  // namespace lumivex
