// The control object as requests reach it.
#pragma once

#include <list>
#include <map>
#include <string>
#include <vector>

#include "vanta_filter/engine/i_faceless.h"

namespace vanta_host {

// Stands before the module's control object. What a look holds becomes the look, so that pages, settings and other
// requests know of it; all else goes on to the object, and engines that start later are given it too. Whatever is out
// of its range throws vanta_operations::BadCommand before anything is done. Borrows: the control object, which the
// module keeps for good. Threads: any but the graphics thread.
class CallControl final : public ILumivex {
 public:
  explicit CallControl(ILumivex &control) : control_(control) {}

  void SetModelPathDic(const std::map<std::string, std::string> &path_dic) override;
  void SetModelRootPath(std::string path) override;
  void UpdateTesseraParams(const std::string &json) override;
  void BeginBatchCommand() override { control_.BeginBatchCommand(); }
  void EndBatchCommand() override { control_.EndBatchCommand(); }
  void SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) override;
  void SetLookupInfo(LXLookupInfo info) override;
  void SetLookupIntensity(float intensity) override;
  void SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) override;
  void SetMakeupIntensityWithKey(std::string key, float intensity) override;
  void SetBeautyIntensityWithType(LXBeautyType type, float intensity) override;
  void SetBeautyGroupPath(const LXGroupConfig &config) override;
  void SetNaturalityIntensity(float intensity) override;
  void SetDeformIntensityWithMode(int32_t mode, float intensity) override;
  void SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) override;
  void SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) override;
  void SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag, const std::string &event_name) override;
  void SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) override;
  void CancelMagicEffect() override;
  void SetEffectStateWithState(LXEffectState state) override;
  void SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) override;
  void SetMediaResource(LXMediaResource resource) override;
  void SetBasicAdjustIntensity(int32_t type, float intensity) override;
  void SetBoomGameData(const std::string &json) override;
  void SetMagicCustomImage(const std::vector<std::string> &paths) override;
  void LoadInteractiveBoxResource(const std::string &path) override;
  void UnloadInteractiveBoxResource() override;
  void SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) override;
  void SetInteractiveBoxInfo(const InteractiveBoxInfo &info) override { control_.SetInteractiveBoxInfo(info); }
  std::vector<StatisticsSample> GetBeautyStatistics() override;
  void SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) override;
  void SetFacelessJumpInfo(const FacelessJumpInfo &info) override { control_.SetFacelessJumpInfo(info); }
  FacelessJumpInfo GetFacelessJumpInfo() override { return control_.GetFacelessJumpInfo(); }

 private:
  ILumivex &control_;
};

}  // namespace vanta_host
