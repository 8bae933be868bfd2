#include "makeup/makeup_file.h"

#include <vanta_base/json_text.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <utility>

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kMakeupFormat = 1;
constexpr float kFarthest = 16384.0f;  // pixels from a picture's corner

constexpr std::array<std::pair<std::string_view, MakeupBlend>, 4> kBlends = {{{"normal", MakeupBlend::kNormal},
                                                                              {"multiply", MakeupBlend::kMultiply},
                                                                              {"screen", MakeupBlend::kScreen},
                                                                              {"soft_light", MakeupBlend::kSoftLight}}};

// A file name alone: the folder that holds the description holds everything.
bool IsFileName(const std::string &name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\:") == std::string::npos &&
         name.find('\0') == std::string::npos;
}

std::optional<float> NumberWithin(const Json &value, float least, float most) {
  if (!value.is_number()) return std::nullopt;
  const auto number = value.get<double>();
  if (!(number >= static_cast<double>(least) && number <= static_cast<double>(most))) return std::nullopt;
  return static_cast<float>(number);
}

// Owns: what has been read so far. Threads: one.
class MakeupReader {
 public:
  MakeupText Read(std::string_view text) {
    if (!ReadAll(text)) result_.layers.clear();
    return std::move(result_);
  }

 private:
  bool Fail(std::string reason) {
    result_.reason = std::move(reason);
    return false;
  }

  // A misspelt member never passes silently.
  bool HasOnly(const Json &json, std::initializer_list<std::string_view> names) {
    for (const auto &[name, value] : json.items()) {
      if (std::find(names.begin(), names.end(), name) == names.end()) return Fail("\"" + name + "\" means nothing");
    }
    return true;
  }

  bool ReadAll(std::string_view text) {
    if (text.size() > kMostMakeupTextBytes) return Fail("it is longer than 1 MiB");
    const Json json = vanta::ReadJson(text);
    if (!json.is_object()) return Fail("it is no JSON object");
    const auto format = json.find("format");
    if (format == json.end() || *format != kMakeupFormat) return Fail("its \"format\" is not 1");
    if (!HasOnly(json, {"format", "about", "layers"})) return false;
    const auto layers = json.find("layers");
    if (layers == json.end() || !layers->is_array() || layers->empty()) return Fail("it has no \"layers\"");
    if (layers->size() > kMostMakeupLayers) return Fail("it has more than 32 layers");
    for (const Json &layer : *layers) {
      if (!ReadLayer(layer)) {
        result_.reason = "layer " + std::to_string(result_.layers.size() + 1) + ": " + result_.reason;
        return false;
      }
    }
    return true;
  }

  bool ReadLayer(const Json &json) {
    if (!json.is_object()) return Fail("it is no object");
    if (!HasOnly(json, {"image", "blend", "opacity", "anchors"})) return false;
    MakeupLayerText layer;
    const auto image = json.find("image");
    if (image == json.end() || !image->is_string()) return Fail("it names no \"image\"");
    layer.image = image->get<std::string>();
    if (!IsFileName(layer.image)) return Fail("its \"image\" is no plain file name");
    if (!ReadBlend(json, layer) || !ReadOpacity(json, layer) || !ReadPins(json, layer)) return false;
    result_.layers.push_back(std::move(layer));
    return true;
  }

  bool ReadBlend(const Json &json, MakeupLayerText &layer) {
    const auto blend = json.find("blend");
    if (blend == json.end()) return true;
    if (blend->is_string()) {
      for (const auto &[name, value] : kBlends) {
        if (blend->get_ref<const std::string &>() != name) continue;
        layer.blend = value;
        return true;
      }
    }
    return Fail("its \"blend\" is none of normal, multiply, screen, soft_light");
  }

  bool ReadOpacity(const Json &json, MakeupLayerText &layer) {
    const auto opacity = json.find("opacity");
    if (opacity == json.end()) return true;
    const std::optional<float> value = NumberWithin(*opacity, 0.0f, 1.0f);
    if (!value) return Fail("its \"opacity\" is no number from 0 to 1");
    layer.opacity = *value;
    return true;
  }

  bool ReadPins(const Json &json, MakeupLayerText &layer) {
    const auto anchors = json.find("anchors");
    if (anchors == json.end() || !anchors->is_object() || anchors->size() < 2)
      return Fail("its \"anchors\" do not name two places or more");
    if (anchors->size() > kMostMakeupPins) return Fail("it has more than 32 anchors");
    for (const auto &[name, place] : anchors->items()) {
      const std::optional<FaceAnchor> anchor = FindFaceAnchor(name);
      if (!anchor) return Fail("\"" + name + "\" is no anchor of a face");
      if (!place.is_array() || place.size() != 2) return Fail("the place of \"" + name + "\" is no pair of numbers");
      const std::optional<float> x = NumberWithin(place[0], -kFarthest, kFarthest);
      const std::optional<float> y = NumberWithin(place[1], -kFarthest, kFarthest);
      if (!x || !y) return Fail("the place of \"" + name + "\" is no pair of numbers within 16384 pixels");
      layer.pins.push_back({*anchor, *x, *y});
    }
    for (const MakeupPin &pin : layer.pins) {
      if (std::hypot(pin.x - layer.pins.front().x, pin.y - layer.pins.front().y) >= 1.0f) return true;
    }
    return Fail("its anchors lie in one place");
  }

  MakeupText result_;
};

}  // namespace

MakeupText ParseMakeup(std::string_view json) {
  return MakeupReader().Read(json);
}

}  // namespace lumivex
