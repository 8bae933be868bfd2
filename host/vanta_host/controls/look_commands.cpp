#include "controls/look_commands.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <lumivex/lumivex_values.h>

namespace vanta_host {
namespace {

float Intensity(int percent) {
  return static_cast<float>(percent) / 100.0f;
}

// Cut to the record's length, terminator included.
void CopyPath(char (&target)[kEnginePathSize], const std::string &text) {
  std::strncpy(target, text.c_str(), kEnginePathSize - 1);
  target[kEnginePathSize - 1] = '\0';
}

// An empty path, and one that is not there any more, is no table.
LXLookupInfo Lookup(const BeautyLook &look, const ResourceFolders &folders) {
  LXLookupInfo info{};
  CopyPath(info.path, folders.Find(ResourceKind::kLookup, look.lookup));
  info.intensity = Intensity(look.lookup_strength);
  return info;
}

LXMakeupInfo MakeupLayer(const std::string &resource, const char *key, int percent) {
  LXMakeupInfo layer{};
  CopyPath(layer.resourceDir, resource);
  CopyPath(layer.key, key);
  layer.intensity = Intensity(percent);
  return layer;
}

std::vector<LXMakeupInfo> Makeup(const BeautyLook &look, const ResourceFolders &folders) {
  std::vector<LXMakeupInfo> layers;
  const std::string folder = folders.Find(ResourceKind::kMakeup, look.makeup);
  if (!folder.empty()) layers.push_back(MakeupLayer(folder, kMakeupKey, look.makeup_strength));
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    const MakeupColor &color = look.colors[i];
    if (!color.rgb.empty())
      layers.push_back(
          MakeupLayer(std::string(lumivex::kMakeupColorPrefix) + color.rgb, MakeupParts()[i].name, color.strength));
  }
  return layers;
}

// Apart from their strengths.
bool HaveTheSameMakeup(const BeautyLook &one, const BeautyLook &other) {
  return one.makeup == other.makeup &&
         std::equal(one.colors.begin(), one.colors.end(), other.colors.begin(),
                    [](const MakeupColor &a, const MakeupColor &b) { return a.rgb == b.rgb; });
}

bool HasMakeup(const BeautyLook &look) {
  return !HaveTheSameMakeup(look, PlainLook());
}

void SendMakeup(ILumivex &control, const BeautyLook &before, const BeautyLook &after, const ResourceFolders &folders) {
  if (!HaveTheSameMakeup(before, after)) return control.SetMakeupInfo(Makeup(after, folders));
  if (after.makeup_strength != before.makeup_strength && !after.makeup.empty())
    control.SetMakeupIntensityWithKey(kMakeupKey, Intensity(after.makeup_strength));
  for (size_t i = 0; i < kMakeupPartCount; ++i) {
    const MakeupColor &color = after.colors[i];
    if (color != before.colors[i] && !color.rgb.empty())
      control.SetMakeupIntensityWithKey(MakeupParts()[i].name, Intensity(color.strength));
  }
}

void SendValue(ILumivex &control, const BeautyValue &value, float intensity) {
  switch (value.kind) {
    case ValueKind::kBeauty:
      control.SetBeautyIntensityWithType(LXBeautyType{value.type}, intensity);
      break;
    case ValueKind::kDeform:
      control.SetDeformIntensityWithMode(value.type, intensity);
      break;
    case ValueKind::kBody:
      control.SetBodySlimmingIntensityWithType(LXBodySlimmingType{value.type}, intensity);
      break;
  }
}

void SendResources(ILumivex &control, const BeautyLook &before, const BeautyLook &after,
                   const ResourceFolders &folders) {
  if (after.lookup != before.lookup)
    control.SetLookupInfo(Lookup(after, folders));
  else if (after.lookup_strength != before.lookup_strength && !after.lookup.empty())
    control.SetLookupIntensity(Intensity(after.lookup_strength));
  SendMakeup(control, before, after, folders);
  if (after.effect != before.effect)
    control.SetMagicEffectWithPath(folders.Find(ResourceKind::kEffect, after.effect), kMainEffectSlot, false);
}

}  // namespace

void SendChanges(ILumivex &control, const BeautyLook &before, const BeautyLook &after, const ResourceFolders &folders) {
  if (before == after) return;
  control.BeginBatchCommand();
  for (size_t i = 0; i < kValueCount; ++i) {
    if (after.percent[i] != before.percent[i]) SendValue(control, BeautyValues()[i], Intensity(after.percent[i]));
  }
  SendResources(control, before, after, folders);
  control.EndBatchCommand();
}

void PutIntoSnapshot(const BeautyLook &look, const ResourceFolders &folders, FacelessEngineSnapshot &snapshot) {
  for (size_t i = 0; i < kValueCount; ++i) {
    const BeautyValue &value = BeautyValues()[i];
    const float intensity = Intensity(look.percent[i]);
    switch (value.kind) {
      case ValueKind::kBeauty:
        snapshot.beauty[LXBeautyType{value.type}] = intensity;
        break;
      case ValueKind::kDeform:
        snapshot.deform[value.type] = intensity;
        break;
      case ValueKind::kBody:
        snapshot.body_slimming[LXBodySlimmingType{value.type}] = intensity;
        break;
    }
  }
  if (!look.lookup.empty()) snapshot.lookup = Lookup(look, folders);
  if (HasMakeup(look)) snapshot.makeup = Makeup(look, folders);
  const std::string effect = folders.Find(ResourceKind::kEffect, look.effect);
  if (!effect.empty()) snapshot.magic_path = effect;
}

}  // namespace vanta_host
