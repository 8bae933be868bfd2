// A fake control object, returned by the exported getter.
#pragma once

#include <vector>

#include "vanta_filter/engine/i_faceless.h"

namespace vanta_test {

// The jump state works, and each setting of it is noted; every other operation does nothing.
class FakeControl final : public ILumivex {
 public:
  std::vector<FacelessJumpInfo> jumps;  // as they were set, in order

  void SetFacelessJumpInfo(const FacelessJumpInfo &info) override {
    jump_ = info;
    jumps.push_back(info);
  }
  FacelessJumpInfo GetFacelessJumpInfo() override { return jump_; }

  void SetModelPathDic(const std::map<std::string, std::string> &) override {}
  void SetModelRootPath(std::string) override {}
  void UpdateTesseraParams(const std::string &) override {}
  void BeginBatchCommand() override {}
  void EndBatchCommand() override {}
  void SetEffectEnabledWithEffectType(LXEffectType, bool) override {}
  void SetLookupInfo(LXLookupInfo) override {}
  void SetLookupIntensity(float) override {}
  void SetMakeupInfo(const std::vector<LXMakeupInfo> &) override {}
  void SetMakeupIntensityWithKey(std::string, float) override {}
  void SetBeautyIntensityWithType(LXBeautyType, float) override {}
  void SetBeautyGroupPath(const LXGroupConfig &) override {}
  void SetNaturalityIntensity(float) override {}
  void SetDeformIntensityWithMode(int32_t, float) override {}
  void SetBodySlimmingIntensityWithType(LXBodySlimmingType, float) override {}
  void SetBodySlimmingManualLegHeightRangeAndDir(float, float, int32_t) override {}
  void SetMagicEffectWithEvent(std::string, LXEffectSlot, bool, const std::string &) override {}
  void SetMagicEffectWithPath(std::string, LXEffectSlot, bool) override {}
  void CancelMagicEffect() override {}
  void SetEffectStateWithState(LXEffectState) override {}
  void SetEffectIntensityWithType(LXEffectAdjustType, float) override {}
  void SetMediaResource(LXMediaResource) override {}
  void SetBasicAdjustIntensity(int32_t, float) override {}
  void SetBoomGameData(const std::string &) override {}
  void SetMagicCustomImage(const std::vector<std::string> &) override {}
  void LoadInteractiveBoxResource(const std::string &) override {}
  void UnloadInteractiveBoxResource() override {}
  void SetEngineSnapshot(const FacelessEngineSnapshot &) override {}
  void SetInteractiveBoxInfo(const InteractiveBoxInfo &) override {}
  std::vector<StatisticsSample> GetBeautyStatistics() override { return {}; }
  void SetMagicEffectForSources(std::list<obs_source_t *>, MagicEffectRequest) override {}

 private:
  FacelessJumpInfo jump_{};
};

FakeControl &Control();               // what the program's FindFacelessInstance hands out
void LockModuleControl(bool locked);  // locked: it hands out nothing. Open at first

}  // namespace vanta_test
