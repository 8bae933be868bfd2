// `FacelessInstance` is the one control object of the process: it fans every command out to the live workers, keeps the
// host's snapshot for new processors, the per-source statistics and the jump request.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <obs.hpp>
#include <optional>
#include <string>
#include <vector>

#include "vanta_base/export.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta {

class FaceBeautyFilterWorker;

// Owns: a shared reference to each worker. Never destroyed.
// Threads: commands, AddWorker [control]; RemoveWorker [control] or libobs's destruction thread; the getters,
// statistics and jump info [any]. One caller of GetBeautyStatistics at a time.
class FacelessInstance final : public ILumivex {
 public:
  static std::shared_ptr<FacelessInstance> GetInstance();

  FacelessInstance();

  // An entry that is already there stays.
  void AddWorker(obs_source_t *source, const std::shared_ptr<FaceBeautyFilterWorker> &worker);
  void RemoveWorker(obs_source_t *source);
  FacelessEngineSnapshot GetEngineSnapshot();
  InteractiveBoxInfo GetInteractiveBoxInfo();
  void UpdateStatistics(obs_source_t *source, const StatisticsSample &record);
  void RemoveStatistics(obs_source_t *source);

  void SetModelPathDic(const std::map<std::string, std::string> &path_dic) override;
  void SetModelRootPath(std::string path) override;
  void UpdateTesseraParams(const std::string &json) override;
  void BeginBatchCommand() override;
  void EndBatchCommand() override;
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
  void SetInteractiveBoxInfo(const InteractiveBoxInfo &info) override;
  std::vector<StatisticsSample> GetBeautyStatistics() override;
  void SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) override;
  void SetFacelessJumpInfo(const FacelessJumpInfo &info) override;
  FacelessJumpInfo GetFacelessJumpInfo() override;

 private:
  // Hands one operation and its arguments to every worker, in key order. One worker at a time is kept alive.
  template <typename... Params, typename... Args>
  void FanOut(void (IFaceless::*operation)(Params...), const Args &...args);
  // The worker behind the source `visited`, or the first one where it is unset, and its source in `visited`. Null when
  // there is none. Null entries are erased on the way.
  std::shared_ptr<FaceBeautyFilterWorker> NextWorker(std::optional<obs_source_t *> &visited);
  std::shared_ptr<FaceBeautyFilterWorker> FindWorker(obs_source_t *source);

  // A leaf lock: public libobs destroys filters on a thread of its own while commands are fanned out.
  Mutex workers_mutex_;
  std::map<obs_source_t *, std::shared_ptr<FaceBeautyFilterWorker>> workers_ VANTA_GUARDED_BY(workers_mutex_);

  SharedMutex snapshot_mutex_;
  FacelessEngineSnapshot snapshot_ VANTA_GUARDED_BY(snapshot_mutex_);
  InteractiveBoxInfo box_info_ VANTA_GUARDED_BY(snapshot_mutex_);

  Mutex statistics_mutex_;
  std::vector<StatisticsSample> statistics_list_;  // scratch of GetBeautyStatistics
  std::map<obs_source_t *, StatisticsSample> statistics_ VANTA_GUARDED_BY(statistics_mutex_);

  SharedMutex jump_mutex_;
  FacelessJumpInfo jump_info_ VANTA_GUARDED_BY(jump_mutex_){};
};

}  // namespace vanta

extern "C" {
// The control object's address, which stays good to the end of the process. False when `out` is null.
VANTA_EXPORT bool FindFacelessInstance(ILumivex **out);
}
