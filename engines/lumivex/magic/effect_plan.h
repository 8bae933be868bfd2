// A magic effect as its effect.json tells it, before any picture is read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "faces/faces.h"

namespace lumivex {

// Where a layer sticks to the upright picture.
enum class ScreenAnchor {
  kScreen,  // covers all of it
  kTopLeft,
  kTop,
  kTopRight,
  kLeft,
  kCenter,
  kRight,
  kBottomLeft,
  kBottom,
  kBottomRight,
  kCount
};
inline constexpr size_t kScreenAnchorCount = static_cast<size_t>(ScreenAnchor::kCount);
inline constexpr std::array<std::string_view, kScreenAnchorCount> kScreenAnchorNames = {
    "screen", "top_left", "top", "top_right", "left", "center", "right", "bottom_left", "bottom", "bottom_right"};

struct LayerAnchor {
  ScreenAnchor screen = ScreenAnchor::kCenter;
  std::optional<FaceAnchor> face;  // set: on every face that is found, and `screen` counts for nothing
  bool between_eyes = false;       // with `face` the left eye: halfway to the right one
};

// What in a face shows a layer; its times then count from that moment.
enum class FaceTrigger {
  kNone,       // nothing: it is shown by itself
  kMouthOpen,  // for as long as the mouth is open
  kBlink,      // from the end of a blink on
  kCount
};
inline constexpr std::array<std::string_view, static_cast<size_t>(FaceTrigger::kCount)> kFaceTriggerNames = {
    "", "mouth_open", "blink"};
inline constexpr int64_t kBlinkShownMs = 1000;  // where a layer says no end

enum class LayerSource { kFile, kCustom, kMedia, kText };

struct LayerPlan {
  std::string id;
  LayerSource source = LayerSource::kFile;
  std::string file;                                // kFile: picture or folder of pictures, inside the effect's folder
  size_t custom_index = 0;                         // kCustom: counted from 0
  std::string text;                                // kText: UTF-8 in one line
  std::array<uint8_t, 3> color = {255, 255, 255};  // kText: red, green, blue
  float fps = 25.0f;                               // pictures a second
  bool loop = true;                                // false: stays at its last picture
  LayerAnchor anchor;
  float size = 0.25f;     // width: in shorter sides of the upright picture, or in eye distances
  float offset_x = 0.0f;  // in the same unit; to the right and down, as the upright picture or the face stands
  float offset_y = 0.0f;
  float opacity = 1.0f;           // 0 to 1
  int64_t start_ms = 0;           // shown from here on
  std::optional<int64_t> end_ms;  // to here
  bool hidden = false;            // until a reaction shows it; its times count from then on
  FaceTrigger trigger = FaceTrigger::kNone;
};

// Game data that an effect sends. "seqId" is put in where the text has none.
struct MessagePlan {
  enum class When { kStart, kTime, kEnd };
  When when = When::kStart;
  int64_t at_ms = 0;  // kTime: since the effect's start
  std::string json;   // an object
};

// What an effect does with game data from the host.
struct ReactionPlan {
  std::optional<int64_t> req_type;    // absent: any
  std::optional<std::string> method;  // of "data"; absent: any
  std::vector<size_t> show;           // layers
  std::vector<size_t> hide;
  std::optional<size_t> text_layer;
  std::string text;       // as it stands, when `text_from` is empty
  std::string text_from;  // JSON pointer into the message: a text or a number
  std::string send;       // game data, or empty
  bool end_effect = false;
};

using Disables = std::array<bool, 5>;  // in the order of kDisableNames

struct EffectPlan {
  std::string description;                   // free text
  int64_t duration_ms = 0;                   // 0: until it is replaced or cancelled
  std::optional<int64_t> gift_display_time;  // milliseconds; set: the effect is a gift
  Disables disables = {};
  std::vector<LayerPlan> layers;
  std::vector<MessagePlan> messages;  // those with a time in order of it
  std::vector<ReactionPlan> reactions;
};

// As effect.json writes what an effect takes over, and as the description sends it.
inline constexpr std::array<std::string_view, 5> kDisableNames = {"beautify", "deform", "makeup", "color_filter",
                                                                  "slimming"};
inline constexpr std::array<std::string_view, 5> kDisableKeys = {"disableCustomBeautify", "disableCustomDeform",
                                                                 "disableCustomMakeup", "disableCustomColorFilter",
                                                                 "disableCustomSlimming"};

// More than any effect needs, and little enough that none can take the memory or a frame's time.
inline constexpr size_t kMaxEffectTextBytes = 1 << 20;
inline constexpr int kMaxEffectNesting = 24;
inline constexpr size_t kMaxLayers = 32;
inline constexpr size_t kMaxMessages = 64;
inline constexpr size_t kMaxReactions = 64;
inline constexpr size_t kMaxCustomImages = 16;
inline constexpr size_t kMaxTextLength = 64;
inline constexpr int64_t kMaxEffectMs = 24 * 3600 * 1000;

struct EffectText {
  std::optional<EffectPlan> plan;
  std::string reason;  // set when there is no plan
};

// Reads the text of an effect.json. Opens no file. Threads: any.
EffectText ParseEffect(const std::string &text);

// What the engine tells of an effect when it starts: JSON in UTF-8. `disables`: of all effects that play. Threads: any.
std::string DescriptionOf(const EffectPlan &plan, const Disables &disables);

}  // namespace lumivex
