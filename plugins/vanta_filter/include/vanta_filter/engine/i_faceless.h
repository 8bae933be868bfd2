// The control interfaces through which the host application drives beauty and effects. The host calls through the
// table of virtual functions, so the order of the operations is a contract: append nothing, reorder nothing.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <obs.h>

#include "vanta_filter/engine/records.h"
#include "vanta_filter/stats/statistics_sample.h"

class IFaceless {
 public:
  virtual ~IFaceless() = default;
  virtual void SetModelPathDic(const std::map<std::string, std::string> &path_dic) = 0;  // model key to folder
  virtual void SetModelRootPath(std::string path) = 0;
  virtual void UpdateTesseraParams(const std::string &json) = 0;
  virtual void BeginBatchCommand() = 0;
  virtual void EndBatchCommand() = 0;
  virtual void SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) = 0;
  virtual void SetLookupInfo(LXLookupInfo info) = 0;
  virtual void SetLookupIntensity(float intensity) = 0;
  virtual void SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) = 0;
  virtual void SetMakeupIntensityWithKey(std::string key, float intensity) = 0;
  virtual void SetBeautyIntensityWithType(LXBeautyType type, float intensity) = 0;
  virtual void SetBeautyGroupPath(const LXGroupConfig &config) = 0;
  virtual void SetNaturalityIntensity(float intensity) = 0;
  virtual void SetDeformIntensityWithMode(int32_t mode, float intensity) = 0;
  virtual void SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) = 0;
  virtual void SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) = 0;
  virtual void SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag,
                                       const std::string &event_name) = 0;
  virtual void SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) = 0;
  virtual void CancelMagicEffect() = 0;
  virtual void SetEffectStateWithState(LXEffectState state) = 0;
  virtual void SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) = 0;
  virtual void SetMediaResource(LXMediaResource resource) = 0;
  virtual void SetBasicAdjustIntensity(int32_t type, float intensity) = 0;
  virtual void SetBoomGameData(const std::string &json) = 0;
  virtual void SetMagicCustomImage(const std::vector<std::string> &paths) = 0;
  virtual void LoadInteractiveBoxResource(const std::string &path) = 0;
  virtual void UnloadInteractiveBoxResource() = 0;
};

// What `FindFacelessInstance` hands to the host application.
// Threads: [control] for every operation; GetFacelessJumpInfo from any thread.
class ILumivex : public IFaceless {
 public:
  virtual void SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) = 0;
  virtual void SetInteractiveBoxInfo(const InteractiveBoxInfo &info) = 0;
  virtual std::vector<StatisticsSample> GetBeautyStatistics() = 0;
  // Owns the references in `sources`: each is released, whether it has a worker or not.
  virtual void SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) = 0;
  virtual void SetFacelessJumpInfo(const FacelessJumpInfo &info) = 0;
  virtual FacelessJumpInfo GetFacelessJumpInfo() = 0;
};
