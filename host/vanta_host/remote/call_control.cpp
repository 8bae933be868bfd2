#include "remote/call_control.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <utility>

#include <lumivex/lumivex_values.h>

#include "controls/beauty_controls.h"
#include "controls/look_commands.h"
#include "controls/look_file.h"
#include "module/module_files.h"
#include "module/statistics_reader.h"
#include "vanta_base/utf8_path.h"
#include "vanta_operations/members.h"

namespace vanta_host {
namespace {

using vanta_operations::BadCommand;

// What a snapshot cannot hold, a new engine is not given.
void KeepNothing(FacelessEngineSnapshot &) {}

void CheckRange(float value, int minimum, int maximum, const char *name = "intensity") {
  if (value >= static_cast<float>(minimum) && value <= static_cast<float>(maximum)) return;
  char text[96];
  std::snprintf(text, sizeof(text), "member '%s' is %g; it goes from %d to %d", name, static_cast<double>(value),
                minimum, maximum);
  throw BadCommand(text);
}

int Percent(float intensity) {
  return static_cast<int>(std::lround(intensity * 100));
}

// The place of a value in a look; kValueCount for a number that no page has.
size_t FindValue(ValueKind kind, int32_t type) {
  const auto &values = BeautyValues();
  const auto found = std::find_if(values.begin(), values.end(),
                                  [&](const BeautyValue &value) { return value.kind == kind && value.type == type; });
  return static_cast<size_t>(found - values.begin());
}

// False for a number that no page has.
bool PutIntoLook(BeautyLook &look, ValueKind kind, int32_t type, float intensity) {
  const size_t index = FindValue(kind, type);
  if (index == kValueCount) return false;
  const BeautyValue &value = BeautyValues()[index];
  CheckRange(intensity, value.minimum / 100, value.maximum / 100);
  look.percent[index] = Percent(intensity);
  return true;
}

// False for a number that no page has, and then nothing is done.
bool SetInLook(ValueKind kind, int32_t type, float intensity) {
  BeautyLook tried;
  if (!PutIntoLook(tried, kind, type, intensity)) return false;
  Controls().Edit([&](BeautyLook &look) { PutIntoLook(look, kind, type, intensity); });
  return true;
}

// The name under which looks know that file or folder; empty for one that lies elsewhere.
std::string NameOf(ResourceKind kind, const std::string &path) {
  std::string name = vanta::Utf8FromPath(vanta::PathFromUtf8(path).filename());
  return ModuleFolders().Find(kind, name) == path ? name : std::string();
}

// False for layers that a look cannot hold; `look` is then left half changed.
bool PutMakeupIntoLook(const std::vector<LXMakeupInfo> &layers, BeautyLook &look) {
  look.makeup.clear();
  look.colors = {};
  for (const LXMakeupInfo &layer : layers) {
    const std::string_view resource = layer.resourceDir, key = layer.key;
    const size_t part = FindMakeupPart(key);
    if (layer.word != lumivex::kMakeupBlendOfResource) return false;
    if (resource.starts_with(lumivex::kMakeupColorPrefix) && part < kMakeupPartCount) {
      look.colors[part] = {ColorDigits(resource.substr(lumivex::kMakeupColorPrefix.size())), Percent(layer.intensity)};
      if (look.colors[part].rgb.empty()) return false;
    } else if (const std::string name = NameOf(ResourceKind::kMakeup, layer.resourceDir);
               !name.empty() && key == kMakeupKey) {
      look.makeup = name;
      look.makeup_strength = Percent(layer.intensity);
    } else {
      return false;
    }
  }
  return true;
}

// False where the look has no such makeup.
bool PutMakeupIntensity(BeautyLook &look, const std::string &key, float intensity) {
  const size_t part = FindMakeupPart(key);
  if (part < kMakeupPartCount && !look.colors[part].rgb.empty())
    look.colors[part].strength = Percent(intensity);
  else if (key == kMakeupKey && !look.makeup.empty())
    look.makeup_strength = Percent(intensity);
  else
    return false;
  return true;
}

// Values that a look holds are the look's.
template <typename Key>
void MoveIntoLook(std::map<Key, float> &values, ValueKind kind, BeautyLook &look) {
  std::erase_if(values, [&](const auto &entry) { return PutIntoLook(look, kind, entry.first, entry.second); });
}

}  // namespace

void CallControl::SetModelPathDic(const std::map<std::string, std::string> &path_dic) {
  Controls().KeepBeside(KeepNothing);
  control_.SetModelPathDic(path_dic);
}

void CallControl::SetModelRootPath(std::string path) {
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.model_root_path = path; });
  control_.SetModelRootPath(std::move(path));
}

void CallControl::UpdateTesseraParams(const std::string &json) {
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.tessera_params = json; });
  control_.UpdateTesseraParams(json);
}

void CallControl::SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) {
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.effect_enabled[type] = enabled; });
  control_.SetEffectEnabledWithEffectType(type, enabled);
}

void CallControl::SetLookupInfo(LXLookupInfo info) {
  CheckRange(info.intensity, 0, 1);
  const std::string path = info.path, name = NameOf(ResourceKind::kLookup, path);
  Controls().Edit([&](BeautyLook &look) {
    look.lookup = name;
    look.lookup_strength = Percent(info.intensity);
  });
  const bool elsewhere = name.empty() && !path.empty();
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) {
    rest.lookup.reset();
    if (elsewhere) rest.lookup = info;
  });
  if (name.empty()) control_.SetLookupInfo(info);
}

void CallControl::SetLookupIntensity(float intensity) {
  CheckRange(intensity, 0, 1);
  Controls().Edit([&](BeautyLook &look) { look.lookup_strength = Percent(intensity); });
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) {
    if (rest.lookup) rest.lookup->intensity = intensity;
  });
  if (Controls().Look().lookup.empty()) control_.SetLookupIntensity(intensity);
}

void CallControl::SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  for (const LXMakeupInfo &layer : layers) CheckRange(layer.intensity, 0, 1);
  bool held = false;
  Controls().Edit([&](BeautyLook &look) {
    held = PutMakeupIntoLook(layers, look);
    if (!held) PutMakeupIntoLook({}, look);
  });
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) {
    rest.makeup.clear();
    if (!held) rest.makeup = layers;
  });
  control_.SetMakeupInfo(layers);
}

void CallControl::SetMakeupIntensityWithKey(std::string key, float intensity) {
  CheckRange(intensity, 0, 1);
  bool held = false;
  Controls().Edit([&](BeautyLook &look) { held = PutMakeupIntensity(look, key, intensity); });
  if (held) return;
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) {
    for (LXMakeupInfo &layer : rest.makeup) {
      if (layer.key == key) layer.intensity = intensity;
    }
  });
  control_.SetMakeupIntensityWithKey(std::move(key), intensity);
}

void CallControl::SetBeautyIntensityWithType(LXBeautyType type, float intensity) {
  if (SetInLook(ValueKind::kBeauty, type, intensity)) return;
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.beauty[type] = intensity; });
  control_.SetBeautyIntensityWithType(type, intensity);
}

// A preset that looks know sets their values; what it does not name is off.
void CallControl::SetBeautyGroupPath(const LXGroupConfig &config) {
  const ResourceFolders folders = ModuleFolders();
  std::string path = folders.Find(ResourceKind::kPreset, config.path);
  if (path.empty()) path = config.path;
  if (const std::optional<BeautyLook> preset = ReadLookFile(path)) {
    Controls().Edit([&](BeautyLook &look) {
      for (size_t i = 0; i < kValueCount; ++i) {
        if (BeautyValues()[i].kind == ValueKind::kBeauty) look.percent[i] = preset->percent[i];
      }
    });
    return;
  }
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.group = config; });
  control_.SetBeautyGroupPath(config);
}

void CallControl::SetNaturalityIntensity(float intensity) {
  CheckRange(intensity, 0, 1);
  Controls().KeepBeside(KeepNothing);
  control_.SetNaturalityIntensity(intensity);
}

void CallControl::SetDeformIntensityWithMode(int32_t mode, float intensity) {
  if (SetInLook(ValueKind::kDeform, mode, intensity)) return;
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.deform[mode] = intensity; });
  control_.SetDeformIntensityWithMode(mode, intensity);
}

void CallControl::SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) {
  if (SetInLook(ValueKind::kBody, type, intensity)) return;
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.body_slimming[type] = intensity; });
  control_.SetBodySlimmingIntensityWithType(type, intensity);
}

void CallControl::SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) {
  CheckRange(top, 0, 1, "top");
  CheckRange(bottom, 0, 1, "bottom");
  Controls().KeepBeside(KeepNothing);
  control_.SetBodySlimmingManualLegHeightRangeAndDir(top, bottom, dir);
}

void CallControl::SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag,
                                          const std::string &event_name) {
  Controls().KeepBeside(KeepNothing);
  control_.SetMagicEffectWithEvent(std::move(path), slot, flag, event_name);
}

void CallControl::SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) {
  const std::string name = NameOf(ResourceKind::kEffect, path);
  if (slot == kMainEffectSlot) Controls().Edit([&](BeautyLook &look) { look.effect = name; });
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) {
    if (slot != kMainEffectSlot) return;
    rest.magic_path.reset();
    if (name.empty() && !path.empty()) rest.magic_path = path;
  });
  if (name.empty() || slot != kMainEffectSlot) control_.SetMagicEffectWithPath(std::move(path), slot, flag);
}

void CallControl::CancelMagicEffect() {
  Controls().Edit([](BeautyLook &look) { look.effect.clear(); });
  Controls().KeepBeside([](FacelessEngineSnapshot &rest) { rest.magic_path.reset(); });
  control_.CancelMagicEffect();
}

void CallControl::SetEffectStateWithState(LXEffectState state) {
  Controls().KeepBeside(KeepNothing);
  control_.SetEffectStateWithState(state);
}

void CallControl::SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) {
  CheckRange(intensity, 0, 1);
  Controls().KeepBeside(KeepNothing);
  control_.SetEffectIntensityWithType(type, intensity);
}

void CallControl::SetMediaResource(LXMediaResource resource) {
  Controls().KeepBeside(KeepNothing);
  control_.SetMediaResource(resource);
}

void CallControl::SetBasicAdjustIntensity(int32_t type, float intensity) {
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.basic_adjust[type] = intensity; });
  control_.SetBasicAdjustIntensity(type, intensity);
}

void CallControl::SetBoomGameData(const std::string &json) {
  Controls().KeepBeside([&](FacelessEngineSnapshot &rest) { rest.boom_game_data = json; });
  control_.SetBoomGameData(json);
}

void CallControl::SetMagicCustomImage(const std::vector<std::string> &paths) {
  Controls().KeepBeside(KeepNothing);
  control_.SetMagicCustomImage(paths);
}

void CallControl::LoadInteractiveBoxResource(const std::string &path) {
  Controls().KeepBeside(KeepNothing);
  control_.LoadInteractiveBoxResource(path);
}

void CallControl::UnloadInteractiveBoxResource() {
  Controls().KeepBeside(KeepNothing);
  control_.UnloadInteractiveBoxResource();
}

void CallControl::SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) {
  FacelessEngineSnapshot rest = snapshot;
  BeautyLook given = Controls().Look();
  MoveIntoLook(rest.beauty, ValueKind::kBeauty, given);
  MoveIntoLook(rest.deform, ValueKind::kDeform, given);
  MoveIntoLook(rest.body_slimming, ValueKind::kBody, given);
  Controls().KeepBeside([&](FacelessEngineSnapshot &kept) { kept = rest; });
  Controls().SetLook(given);
}

// The control object allows one caller at a time.
std::vector<StatisticsSample> CallControl::GetBeautyStatistics() {
  return ReadStatistics();
}

void CallControl::SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) {
  Controls().KeepBeside(KeepNothing);
  control_.SetMagicEffectForSources(std::move(sources), std::move(request));
}

}  // namespace vanta_host
