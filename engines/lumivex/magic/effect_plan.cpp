#include "magic/effect_plan.h"

#include <vanta_base/json_depth.h>
#include <vanta_base/json_text.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "files/json_members.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kEffectFormat = 1;
constexpr size_t kMaxNameBytes = 256;
constexpr size_t kMaxDescriptionBytes = 4096;
constexpr float kLargestSize = 20.0f;
constexpr std::string_view kCustomPrefix = "custom:";
constexpr std::string_view kMediaName = "media";
constexpr std::string_view kEyesName = "eyes";

std::string Dumped(const Json &json) {
  return vanta::WriteJson(json);
}

bool IsOneLine(const std::string &text) {
  return text.size() <= kMaxTextLength &&
         std::none_of(text.begin(), text.end(), [](char c) { return static_cast<uint8_t>(c) < ' ' || c == '\x7F'; });
}

std::optional<LayerAnchor> FindAnchor(std::string_view name) {
  if (name == kEyesName) return LayerAnchor{ScreenAnchor::kCenter, FaceAnchor::kLeftEye, true};
  if (const auto face = FindFaceAnchor(name)) return LayerAnchor{ScreenAnchor::kCenter, face, false};
  const auto found = std::find(kScreenAnchorNames.begin(), kScreenAnchorNames.end(), name);
  if (found == kScreenAnchorNames.end()) return std::nullopt;
  return LayerAnchor{static_cast<ScreenAnchor>(found - kScreenAnchorNames.begin()), std::nullopt, false};
}

// Owns: the plan as far as it is read. Threads: one.
class PlanReader {
 public:
  // Empty, or why the text is no effect.
  std::string Read(const Json &json) {
    JsonMembers members(json, "the effect");
    members.Format(kEffectFormat);
    std::string about;
    members.Text("about", kMaxDescriptionBytes, about);
    members.Text("description", kMaxDescriptionBytes, plan.description);
    members.Whole("duration", 0, kMaxEffectMs, plan.duration_ms);
    members.Whole("gift_display_time", 0, kMaxEffectMs, plan.gift_display_time);
    ReadDisables(members);
    ReadLayers(members);
    ReadMessages(members);
    ReadReactions(members);
    members.End();
    if (plan.gift_display_time && plan.duration_ms == 0) plan.duration_ms = *plan.gift_display_time;
    return members.Reason();
  }

  EffectPlan plan;

 private:
  void ReadDisables(JsonMembers &outer) {
    const Json *object = outer.Object("disables");
    if (!object) return;
    JsonMembers members(*object, "\"disables\"");
    for (size_t i = 0; i < kDisableNames.size(); ++i) members.Flag(kDisableNames[i], plan.disables[i]);
    members.End();
    outer.Take(members);
  }

  void ReadLayers(JsonMembers &outer) {
    const Json *list = outer.List("layers", kMaxLayers);
    if (!list) return;
    for (const Json &entry : *list) {
      JsonMembers members(entry, "layer " + std::to_string(plan.layers.size()));
      LayerPlan layer;
      members.Text("id", kMaxNameBytes, layer.id);
      ReadSource(members, layer);
      ReadAnchor(members, layer);
      members.Number("fps", 0.1f, 120.0f, layer.fps);
      members.Flag("loop", layer.loop);
      members.Number("opacity", 0.0f, 1.0f, layer.opacity);
      members.Whole("start", 0, kMaxEffectMs, layer.start_ms);
      members.Whole("end", 0, kMaxEffectMs, layer.end_ms);
      members.Flag("hidden", layer.hidden);
      ReadTrigger(members, layer);
      members.End();
      if (!layer.id.empty() && FindLayer(layer.id)) members.Fail("id", "is that of an earlier layer");
      plan.layers.push_back(std::move(layer));
      outer.Take(members);
    }
  }

  void ReadSource(JsonMembers &members, LayerPlan &layer) {
    std::string image;
    members.Text("image", kMaxNameBytes, image);
    const Json *text = members.Any("text");
    members.Text("text", kMaxTextLength, layer.text);
    ReadColor(members, layer);
    if (text) {
      layer.source = LayerSource::kText;
      if (!image.empty()) members.Fail("text", "and \"image\" exclude each other");
      if (!IsOneLine(layer.text)) members.Fail("text", "is more than one line");
    } else if (image.empty()) {
      members.Fail("image", "is missing");
    } else if (image == kMediaName) {
      layer.source = LayerSource::kMedia;
    } else if (image.starts_with(kCustomPrefix)) {
      layer.source = LayerSource::kCustom;
      const std::string number = image.substr(kCustomPrefix.size());
      const bool digits = !number.empty() && number.size() <= 2 &&
                          std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
      layer.custom_index = digits ? static_cast<size_t>(std::stoi(number)) : kMaxCustomImages;
      if (layer.custom_index >= kMaxCustomImages)
        members.Fail("image", "is no custom image from custom:0 to custom:" + std::to_string(kMaxCustomImages - 1));
    } else {
      layer.file = std::move(image);
    }
  }

  static void ReadColor(JsonMembers &members, LayerPlan &layer) {
    const Json *list = members.List("color", 3);
    if (!list) return;
    const bool good = list->size() == 3 && std::all_of(list->begin(), list->end(), [](const Json &value) {
                        return value.is_number_unsigned() && value.get<uint64_t>() <= 255;
                      });
    if (!good) return members.Fail("color", "is no list of three whole numbers from 0 to 255");
    for (size_t i = 0; i < 3; ++i) layer.color[i] = (*list)[i].get<uint8_t>();
  }

  static void ReadAnchor(JsonMembers &members, LayerPlan &layer) {
    std::string anchor(kScreenAnchorNames[static_cast<size_t>(ScreenAnchor::kCenter)]);
    members.Text("anchor", kMaxNameBytes, anchor);
    if (const auto found = FindAnchor(anchor))
      layer.anchor = *found;
    else
      members.Fail("anchor", "is none that there is");
    members.Number("size", 0.001f, kLargestSize, layer.size);
    const Json *offset = members.List("offset", 2);
    if (!offset) return;
    float *const targets[] = {&layer.offset_x, &layer.offset_y};
    for (size_t i = 0; i < 2; ++i) {
      const bool good = offset->size() == 2 && (*offset)[i].is_number();
      const double value = good ? (*offset)[i].get<double>() : 0.0;
      if (!good || !(value >= -static_cast<double>(kLargestSize) && value <= static_cast<double>(kLargestSize)))
        return members.Fail("offset", "is no list of two numbers from -20 to 20");
      *targets[i] = static_cast<float>(value);
    }
  }

  static void ReadTrigger(JsonMembers &members, LayerPlan &layer) {
    const Json *trigger = members.Any("trigger");
    if (!trigger) return;
    const std::string name = trigger->is_string() ? trigger->get<std::string>() : std::string();
    const auto found = std::find(kFaceTriggerNames.begin() + 1, kFaceTriggerNames.end(), name);
    if (found == kFaceTriggerNames.end()) return members.Fail("trigger", "is neither mouth_open nor blink");
    layer.trigger = static_cast<FaceTrigger>(found - kFaceTriggerNames.begin());
    if (layer.trigger == FaceTrigger::kBlink && !layer.end_ms) layer.end_ms = layer.start_ms + kBlinkShownMs;
  }

  void ReadMessages(JsonMembers &outer) {
    const Json *list = outer.List("messages", kMaxMessages);
    if (!list) return;
    for (const Json &entry : *list) {
      JsonMembers members(entry, "message " + std::to_string(plan.messages.size()));
      MessagePlan message;
      ReadWhen(members, message);
      if (const Json *data = members.Object("game_data"))
        message.json = Dumped(*data);
      else
        members.Fail("game_data", "is missing");
      members.End();
      plan.messages.push_back(std::move(message));
      outer.Take(members);
    }
    std::stable_sort(plan.messages.begin(), plan.messages.end(),
                     [](const MessagePlan &a, const MessagePlan &b) { return a.at_ms < b.at_ms; });
  }

  static void ReadWhen(JsonMembers &members, MessagePlan &message) {
    const Json *at = members.Any("at");
    if (!at) return members.Fail("at", "is missing; it is \"start\", \"end\" or milliseconds");
    if (*at == "start") {
      message.when = MessagePlan::When::kStart;
    } else if (*at == "end") {
      message.when = MessagePlan::When::kEnd;
    } else {
      message.when = MessagePlan::When::kTime;
      members.Whole("at", 0, kMaxEffectMs, message.at_ms);
    }
  }

  void ReadReactions(JsonMembers &outer) {
    const Json *list = outer.List("on", kMaxReactions);
    if (!list) return;
    for (const Json &entry : *list) {
      JsonMembers members(entry, "reaction " + std::to_string(plan.reactions.size()));
      ReactionPlan reaction;
      members.Whole("reqType", INT64_MIN, INT64_MAX, reaction.req_type);
      if (const Json *method = members.Any("method"); method && method->is_string())
        reaction.method = method->get<std::string>();
      else if (method)
        members.Fail("method", "is no text");
      ReadLayerNames(members, "show", reaction.show);
      ReadLayerNames(members, "hide", reaction.hide);
      ReadTextChange(members, reaction);
      if (const Json *send = members.Object("send")) reaction.send = Dumped(*send);
      members.Flag("end", reaction.end_effect);
      members.End();
      plan.reactions.push_back(std::move(reaction));
      outer.Take(members);
    }
  }

  void ReadLayerNames(JsonMembers &members, std::string_view name, std::vector<size_t> &layers) {
    const Json *list = members.List(name, kMaxLayers);
    if (!list) return;
    for (const Json &entry : *list) {
      const auto layer = entry.is_string() ? FindLayer(entry.get<std::string>()) : std::nullopt;
      if (!layer) return members.Fail(name, "names a layer that is not there");
      layers.push_back(*layer);
    }
  }

  void ReadTextChange(JsonMembers &outer, ReactionPlan &reaction) {
    const Json *object = outer.Object("set_text");
    if (!object) return;
    JsonMembers members(*object, "\"set_text\"");
    std::string id;
    members.Text("layer", kMaxNameBytes, id);
    members.Text("text", kMaxTextLength, reaction.text);
    members.Text("from", kMaxNameBytes, reaction.text_from);
    members.End();
    const auto layer = FindLayer(id);
    if (!layer || plan.layers[*layer].source != LayerSource::kText) members.Fail("layer", "names no layer with a text");
    if (!IsOneLine(reaction.text)) members.Fail("text", "is more than one line");
    if (!IsPointer(reaction.text_from)) members.Fail("from", "is no JSON pointer such as /data/params/score");
    reaction.text_layer = layer;
    outer.Take(members);
  }

  static bool IsPointer(const std::string &text) {
    try {
      const Json::json_pointer pointer(text);
      return true;
    } catch (const Json::exception &) {
      return false;
    }
  }

  std::optional<size_t> FindLayer(const std::string &id) const {
    for (size_t i = 0; i < plan.layers.size(); ++i) {
      if (plan.layers[i].id == id && !id.empty()) return i;
    }
    return std::nullopt;
  }
};

}  // namespace

EffectText ParseEffect(const std::string &text) {
  if (text.size() > kMaxEffectTextBytes)
    return {std::nullopt, "it is longer than " + std::to_string(kMaxEffectTextBytes) + " bytes"};
  if (vanta::NestsDeeperThan(text, kMaxEffectNesting)) return {std::nullopt, "it nests too deep"};
  const Json json = vanta::ReadJson(text);
  if (json.is_discarded()) return {std::nullopt, "it is no JSON"};
  PlanReader reader;
  std::string reason = reader.Read(json);
  if (!reason.empty()) return {std::nullopt, std::move(reason)};
  return {std::move(reader.plan), {}};
}

std::string DescriptionOf(const EffectPlan &plan, const Disables &disables) {
  Json json = Json::object();
  if (plan.gift_display_time) {
    json["giftDisplayTime"] = *plan.gift_display_time;
  } else {
    for (size_t i = 0; i < kDisableKeys.size(); ++i) json[std::string(kDisableKeys[i])] = disables[i];
  }
  if (!plan.description.empty()) json["description"] = plan.description;
  return Dumped(json);
}

}  // namespace lumivex
