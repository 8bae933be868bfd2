// A control object that notes each call as a line of text.
#pragma once

#include <string>
#include <vector>

#include "vanta_filter/engine/i_faceless.h"

namespace vanta_test {

// Texts stand in single quotes, floats as "%g" has them. The jump state works: what was set last comes back.
class RecordingControl final : public ILumivex {
 public:
  std::vector<std::string> calls;
  std::vector<FacelessJumpInfo> jumps;  // as they were set, in order

  void SetModelPathDic(const std::map<std::string, std::string> &path_dic) override;
  void SetModelRootPath(std::string path) override { Note("SetModelRootPath", path); }
  void UpdateTesseraParams(const std::string &json) override { Note("UpdateTesseraParams", json); }
  void BeginBatchCommand() override { Note("BeginBatchCommand"); }
  void EndBatchCommand() override { Note("EndBatchCommand"); }
  void SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) override {
    Note("SetEffectEnabledWithEffectType", type, enabled);
  }
  void SetLookupInfo(LXLookupInfo info) override {
    Note("SetLookupInfo", info.path, info.intensity, info.dimension, info.type);
  }
  void SetLookupIntensity(float intensity) override { Note("SetLookupIntensity", intensity); }
  void SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) override;
  void SetMakeupIntensityWithKey(std::string key, float intensity) override {
    Note("SetMakeupIntensityWithKey", key, intensity);
  }
  void SetBeautyIntensityWithType(LXBeautyType type, float intensity) override {
    Note("SetBeautyIntensityWithType", type, intensity);
  }
  void SetBeautyGroupPath(const LXGroupConfig &config) override {
    Note("SetBeautyGroupPath", config.path, config.is_group);
  }
  void SetNaturalityIntensity(float intensity) override { Note("SetNaturalityIntensity", intensity); }
  void SetDeformIntensityWithMode(int32_t mode, float intensity) override {
    Note("SetDeformIntensityWithMode", mode, intensity);
  }
  void SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) override {
    Note("SetBodySlimmingIntensityWithType", type, intensity);
  }
  void SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) override {
    Note("SetBodySlimmingManualLegHeightRangeAndDir", top, bottom, dir);
  }
  void SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag, const std::string &event_name) override {
    Note("SetMagicEffectWithEvent", path, slot, flag, event_name);
  }
  void SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) override {
    Note("SetMagicEffectWithPath", path, slot, flag);
  }
  void CancelMagicEffect() override { Note("CancelMagicEffect"); }
  void SetEffectStateWithState(LXEffectState state) override { Note("SetEffectStateWithState", state); }
  void SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) override {
    Note("SetEffectIntensityWithType", type, intensity);
  }
  void SetMediaResource(LXMediaResource resource) override {
    Note("SetMediaResource", resource.type, resource.mediaPath);
  }
  void SetBasicAdjustIntensity(int32_t type, float intensity) override {
    Note("SetBasicAdjustIntensity", type, intensity);
  }
  void SetBoomGameData(const std::string &json) override { Note("SetBoomGameData", json); }
  void SetMagicCustomImage(const std::vector<std::string> &paths) override;
  void LoadInteractiveBoxResource(const std::string &path) override { Note("LoadInteractiveBoxResource", path); }
  void UnloadInteractiveBoxResource() override { Note("UnloadInteractiveBoxResource"); }
  void SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) override;
  void SetInteractiveBoxInfo(const InteractiveBoxInfo &info) override {
    Note("SetInteractiveBoxInfo", info.path, info.loaded);
  }
  std::vector<StatisticsSample> GetBeautyStatistics() override;
  void SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) override {
    Note("SetMagicEffectForSources", sources.size(), request.path, request.slot, request.flag, request.event_name);
  }
  void SetFacelessJumpInfo(const FacelessJumpInfo &info) override {
    Note("SetFacelessJumpInfo", info.need_jump, info.jump_type);
    jumps.push_back(info);
  }
  FacelessJumpInfo GetFacelessJumpInfo() override;

 private:
  static std::string Text(const std::string &text) { return "'" + text + "'"; }
  static std::string Text(const char *text) { return Text(std::string(text)); }
  static std::string Text(float number);
  template <typename T>
  static std::string Text(T number) {
    return std::to_string(static_cast<long long>(number));
  }
  static std::string Text(const LXMakeupInfo &layer);
  template <typename K, typename T>
  static std::string Text(const std::map<K, T> &map) {
    std::string text = "{";
    for (const auto &[key, value] : map) text += Text(key) + "=" + Text(value) + ";";
    return text + "}";
  }
  template <typename... Args>
  void Note(const char *name, const Args &...args) {
    std::string line = name;
    ((line += " " + Text(args)), ...);
    calls.push_back(line);
  }
};

}  // namespace vanta_test
