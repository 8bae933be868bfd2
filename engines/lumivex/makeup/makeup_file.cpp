#include "makeup/makeup_file.h"

#include <vanta_base/json_text.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "files/json_members.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kMakeupFormat = 1;
constexpr double kFarthest = 16384.0;  // pixels from a picture's corner

constexpr std::array<std::pair<std::string_view, MakeupBlend>, 4> kBlends = {{{"normal", MakeupBlend::kNormal},
                                                                              {"multiply", MakeupBlend::kMultiply},
                                                                              {"screen", MakeupBlend::kScreen},
                                                                              {"soft_light", MakeupBlend::kSoftLight}}};

// A file name alone: the folder that holds the description holds everything.
bool IsFileName(const std::string &name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\:") == std::string::npos &&
         name.find('\0') == std::string::npos;
}

// Two numbers, neither farther than a picture may reach.
std::optional<std::pair<float, float>> PairOf(const Json &place) {
  const auto within = [](const Json &value) { return value.is_number() && std::abs(value.get<double>()) <= kFarthest; };
  if (!place.is_array() || place.size() != 2 || !within(place[0]) || !within(place[1])) return std::nullopt;
  return std::pair{place[0].get<float>(), place[1].get<float>()};
}

// Owns: what has been read so far. Threads: one.
class MakeupReader {
 public:
  MakeupText Read(std::string_view text) {
    result_.reason = ReadAll(text);
    if (!result_.reason.empty()) result_.layers.clear();
    return std::move(result_);
  }

 private:
  // Empty, or why the text is no makeup.
  std::string ReadAll(std::string_view text) {
    if (text.size() > kMostMakeupTextBytes) return "it is longer than 1 MiB";
    const Json json = vanta::ReadJson(text);
    if (!json.is_object()) return "it is no JSON object";
    JsonMembers members(json, "the makeup");
    members.Format(kMakeupFormat);
    members.Any("about");
    const Json *layers = members.List("layers", kMostMakeupLayers);
    members.End();
    if (!layers || layers->empty()) members.Fail("layers", "is missing or empty");
    for (size_t i = 0; members.Good() && i < layers->size(); ++i) {
      JsonMembers layer((*layers)[i], "layer " + std::to_string(i + 1));
      ReadLayer(layer);
      members.Take(layer);
    }
    return members.Reason();
  }

  void ReadLayer(JsonMembers &members) {
    MakeupLayerText layer;
    members.Text("image", kMostMakeupTextBytes, layer.image);
    std::string blend = "normal";
    members.Text("blend", kMostMakeupTextBytes, blend);
    members.Number("opacity", 0.0f, 1.0f, layer.opacity);
    const Json *anchors = members.Object("anchors");
    members.End();
    if (layer.image.empty()) members.Fail("image", "is missing");
    if (!IsFileName(layer.image)) members.Fail("image", "is no plain file name");
    const auto known =
        std::find_if(kBlends.begin(), kBlends.end(), [&](const auto &entry) { return entry.first == blend; });
    if (known != kBlends.end()) layer.blend = known->second;
    if (known == kBlends.end()) members.Fail("blend", "is none of normal, multiply, screen, soft_light");
    ReadPins(anchors, members, layer);
    result_.layers.push_back(std::move(layer));
  }

  static void ReadPins(const Json *anchors, JsonMembers &members, MakeupLayerText &layer) {
    const auto fail = [&](const std::string &reason) { members.Fail("anchors", reason); };
    if (!anchors || anchors->size() < 2) return fail("do not name two places or more");
    if (anchors->size() > kMostMakeupPins) return fail("are more than 32");
    for (const auto &[name, place] : anchors->items()) {
      const std::optional<FaceAnchor> anchor = FindFaceAnchor(name);
      if (!anchor) return fail("name \"" + name + "\", which is no anchor of a face");
      const std::optional<std::pair<float, float>> pixel = PairOf(place);
      if (!pixel) return fail("give \"" + name + "\" no pair of numbers within 16384 pixels");
      layer.pins.push_back({*anchor, pixel->first, pixel->second});
    }
    const MakeupPin &first = layer.pins.front();
    const bool apart = std::any_of(layer.pins.begin(), layer.pins.end(), [&](const MakeupPin &pin) {
      return std::hypot(pin.x - first.x, pin.y - first.y) >= 1.0f;
    });
    if (!apart) fail("lie in one place");
  }

  MakeupText result_;
};

}  // namespace

MakeupText ParseMakeup(std::string_view json) {
  return MakeupReader().Read(json);
}

}  // namespace lumivex
