#include "core/dump_text.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "vanta_base/json_text.h"

namespace lumivex {
namespace {

using Json = nlohmann::ordered_json;

// As people write it: 0.7, not the nearest float's 0.699999988.
double Readable(float value) {
  return std::round(static_cast<double>(value) * 1e4) / 1e4;
}

Json EffectsJson(const std::vector<RunningEffect> &running) {
  Json effects = Json::array();
  for (const RunningEffect &effect : running) {
    effects.push_back({{"slot", effect.slot},
                       {"path", effect.path},
                       {"state", static_cast<int>(effect.player.State())},
                       {"time_ms", effect.player.ElapsedMs()},
                       {"layers", effect.player.ShownLayers()}});
  }
  return effects;
}

}  // namespace

std::string DumpText(const LX::FrameData &frame, const FrameTimes &times, const EffectSettings &settings,
                     const std::vector<RunningEffect> &effects) {
  Json stages = Json::object();
  for (size_t i = 0; i < kStageCount; ++i) {
    if (times.stages[i] >= 0.0f) stages[kStageNames[i]] = Readable(times.stages[i]);
  }
  Json beauty = Json::object();
  for (const BeautyTypeInfo &info : kBeautyTypes) beauty[std::string(info.name)] = Readable(settings.Beauty(info.type));
  Json deform = Json::object();
  for (const DeformModeInfo &info : kDeformModes)
    deform[std::string(info.name)] = Readable(settings.face.deform[static_cast<size_t>(info.mode)]);
  Json makeup = Json::object();
  for (const MakeupChoice &choice : settings.face.makeup) makeup[choice.key] = Readable(choice.intensity);
  Json slimming = Json::object();
  for (size_t i = 0; i < kSlimTypeCount; ++i)
    slimming[std::string(kSlimNames[i])] = Readable(settings.face.slimming[i]);
  const Json json = {
      {"engine", "lumivex"},
      {"frame",
       {{"width", frame.width},
        {"height", frame.height},
        {"rotation", frame.rotation},
        {"flip", frame.flip != 0},
        {"color_code", frame.color_code},
        {"timestamp", frame.timestamp}}},
      {"group", settings.group},
      {"beauty", std::move(beauty)},
      {"naturality", Readable(settings.naturality)},
      {"lookup", {{"name", settings.lookup_name}, {"intensity", Readable(settings.lookup_intensity)}}},
      {"faces", times.faces},
      {"quality", times.quality},
      {"effects", EffectsJson(effects)},
      {"makeup", std::move(makeup)},
      {"deform", std::move(deform)},
      {"body_slimming", std::move(slimming)},
      {"stages_ms", std::move(stages)},
      {"tessera_ms", Readable(times.vision)},
      {"beauty_ms", Readable(times.beauty)},
  };
  // Names of files need not be UTF-8.
  return vanta::WriteJson(json);
}

}  // namespace lumivex
