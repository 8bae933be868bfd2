#include "engine/faceless_instance.h"

#include <util/base.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "engine/command_receiver.h"
#include "platform/thread.h"

namespace vanta {
namespace {

// A record's text as a log line takes it: no further than its array, should the terminator be missing.
template <size_t kSize>
std::string TextOf(const char (&text)[kSize]) {
  return std::string(text, std::find(text, text + kSize, '\0'));
}

}  // namespace

std::shared_ptr<FacelessInstance> FacelessInstance::GetInstance() {
  // Never destroyed: workers and the host's threads may outlast the end of static objects.
  static const auto &instance = *new std::shared_ptr<FacelessInstance>(std::make_shared<FacelessInstance>());
  return instance;
}

FacelessInstance::FacelessInstance() {
  blog(LOG_INFO, "FacelessInstance create");
}

// ---- The list of workers ----

void FacelessInstance::AddWorker(obs_source_t *source, const std::shared_ptr<FaceBeautyFilterWorker> &worker) {
  MutexLock lock(workers_mutex_);
  workers_.try_emplace(source, worker);
}

void FacelessInstance::RemoveWorker(obs_source_t *source) {
  std::shared_ptr<FaceBeautyFilterWorker> removed;  // its last reference must not go under the lock
  MutexLock lock(workers_mutex_);
  const auto found = workers_.find(source);
  if (found == workers_.end()) return;
  removed = std::move(found->second);
  workers_.erase(found);
}

std::shared_ptr<FaceBeautyFilterWorker> FacelessInstance::NextWorker(std::optional<obs_source_t *> &visited) {
  MutexLock lock(workers_mutex_);
  auto entry = visited ? workers_.upper_bound(*visited) : workers_.begin();
  while (entry != workers_.end() && !entry->second) entry = workers_.erase(entry);
  if (entry == workers_.end()) return nullptr;
  visited = entry->first;
  return entry->second;
}

std::shared_ptr<FaceBeautyFilterWorker> FacelessInstance::FindWorker(obs_source_t *source) {
  MutexLock lock(workers_mutex_);
  const auto found = workers_.find(source);
  return found == workers_.end() ? nullptr : found->second;
}

template <typename... Params, typename... Args>
void FacelessInstance::FanOut(void (IFaceless::*operation)(Params...), const Args &...args) {
  const NoJoinScope no_join;  // a command waits for no frame, though its reference be a worker's last
  std::optional<obs_source_t *> visited;
  while (const std::shared_ptr<FaceBeautyFilterWorker> worker = NextWorker(visited))
    ReceiverOf(*worker).Command(operation, args...);
}

// ---- Commands: a log line, then the fan-out ----

void FacelessInstance::SetModelPathDic(const std::map<std::string, std::string> &path_dic) {
  constexpr char kName[] = "FacelessInstance::SetModelPathDic";
  blog(LOG_INFO, "[beauty faceless] entrance %s, pathDic.size()=%s", kName, std::to_string(path_dic.size()).c_str());
  for (const auto &[key, value] : path_dic)
    blog(LOG_INFO, "[beauty faceless] entrance %s, pathDic.key=%s, pathDic.value=%s", kName, key.c_str(),
         value.c_str());
  FanOut(&IFaceless::SetModelPathDic, path_dic);
}

// Ends here: the path reaches an engine only through the snapshot.
void FacelessInstance::SetModelRootPath(std::string path) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, path=%s", "FacelessInstance::SetModelRootPath", path.c_str());
}

void FacelessInstance::UpdateTesseraParams(const std::string &json) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, jsonStr=%s", "FacelessInstance::UpdateTesseraParams", json.c_str());
  FanOut(&IFaceless::UpdateTesseraParams, json);
}

void FacelessInstance::BeginBatchCommand() {
  blog(LOG_INFO, "[beauty faceless] entrance %s", "FacelessInstance::BeginBatchCommand");
  FanOut(&IFaceless::BeginBatchCommand);
}

void FacelessInstance::EndBatchCommand() {
  blog(LOG_INFO, "[beauty faceless] entrance %s", "FacelessInstance::EndBatchCommand");
  FanOut(&IFaceless::EndBatchCommand);
}

void FacelessInstance::SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, LXEffectType=%d,bool=%d",
       "FacelessInstance::SetEffectEnabledWithEffectType", static_cast<int>(type), enabled);
  FanOut(&IFaceless::SetEffectEnabledWithEffectType, type, enabled);
}

void FacelessInstance::SetLookupInfo(LXLookupInfo info) {
  blog(LOG_INFO,
       "[beauty faceless] entrance %s, lookupInfo.dimension=%d, lookupInfo.intensity=%.2f, lookupInfo.path=%s, "
       "lookupInfo.type=%d",
       "FacelessInstance::SetLookupInfo", info.dimension, static_cast<double>(info.intensity),
       TextOf(info.path).c_str(), info.type);
  FanOut(&IFaceless::SetLookupInfo, info);
}

void FacelessInstance::SetLookupIntensity(float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f", "FacelessInstance::SetLookupIntensity",
       static_cast<double>(intensity));
  FanOut(&IFaceless::SetLookupIntensity, intensity);
}

void FacelessInstance::SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  for (const LXMakeupInfo &layer : layers)
    blog(LOG_INFO,
         "[beauty faceless] entrance %s, item_info.intensity=%.2f, item_info.key=%s, item_info.resourceDir=%s",
         "FacelessInstance::SetMakeupInfo", static_cast<double>(layer.intensity), TextOf(layer.key).c_str(),
         TextOf(layer.resourceDir).c_str());
  FanOut(&IFaceless::SetMakeupInfo, layers);
}

void FacelessInstance::SetMakeupIntensityWithKey(std::string key, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,key=%s", "FacelessInstance::SetMakeupIntensityWithKey",
       static_cast<double>(intensity), key.c_str());
  FanOut(&IFaceless::SetMakeupIntensityWithKey, key, intensity);
}

void FacelessInstance::SetBeautyIntensityWithType(LXBeautyType type, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,type=%d",
       "FacelessInstance::SetBeautyIntensityWithType", static_cast<double>(intensity), static_cast<int>(type));
  FanOut(&IFaceless::SetBeautyIntensityWithType, type, intensity);
}

void FacelessInstance::SetBeautyGroupPath(const LXGroupConfig &config) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, path=%s,is_group=%d", "FacelessInstance::SetBeautyGroupPath",
       TextOf(config.path).c_str(), config.is_group);
  FanOut(&IFaceless::SetBeautyGroupPath, config);
}

void FacelessInstance::SetNaturalityIntensity(float intensity) {
  // The field's hosts read the double's low word here, as "%d" took it from the call; logs stay comparable.
  const auto low_word = static_cast<int>(static_cast<uint32_t>(std::bit_cast<uint64_t>(double{intensity})));
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%d", "FacelessInstance::SetNaturalityIntensity", low_word);
  FanOut(&IFaceless::SetNaturalityIntensity, intensity);
}

void FacelessInstance::SetDeformIntensityWithMode(int32_t mode, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,mode=%d",
       "FacelessInstance::SetDeformIntensityWithMode", static_cast<double>(intensity), mode);
  FanOut(&IFaceless::SetDeformIntensityWithMode, mode, intensity);
}

void FacelessInstance::SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,type=%d",
       "FacelessInstance::SetBodySlimmingIntensityWithType", static_cast<double>(intensity), static_cast<int>(type));
  FanOut(&IFaceless::SetBodySlimmingIntensityWithType, type, intensity);
}

void FacelessInstance::SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, top=%.2f,bottom=%.2f,dir=%d",
       "FacelessInstance::SetBodySlimmingManualLegHeightRangeAndDir", static_cast<double>(top),
       static_cast<double>(bottom), dir);
  FanOut(&IFaceless::SetBodySlimmingManualLegHeightRangeAndDir, top, bottom, dir);
}

void FacelessInstance::SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag,
                                               const std::string &event_name) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, path=%s", "FacelessInstance::SetMagicEffectWithEvent", path.c_str());
  FanOut(&IFaceless::SetMagicEffectWithEvent, path, slot, flag, event_name);
}

void FacelessInstance::SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, path=%s", "FacelessInstance::SetMagicEffectWithPath", path.c_str());
  FanOut(&IFaceless::SetMagicEffectWithPath, path, slot, flag);
}

void FacelessInstance::CancelMagicEffect() {
  FanOut(&IFaceless::CancelMagicEffect);
}

void FacelessInstance::SetEffectStateWithState(LXEffectState state) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, effectState=%d", "FacelessInstance::SetEffectStateWithState",
       static_cast<int>(state));
  FanOut(&IFaceless::SetEffectStateWithState, state);
}

void FacelessInstance::SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,type=%d",
       "FacelessInstance::SetEffectIntensityWithType", static_cast<double>(intensity), static_cast<int>(type));
  FanOut(&IFaceless::SetEffectIntensityWithType, type, intensity);
}

void FacelessInstance::SetMediaResource(LXMediaResource resource) {
  // The line has a field for an intensity that the record lacks: it stays empty.
  blog(LOG_INFO,
       "[beauty faceless] entrance %s, item_info.intensity=%s,  mediaResource.type=%d, mediaResource.mediaPath=%s",
       "FacelessInstance::SetMediaResource", "", resource.type, TextOf(resource.mediaPath).c_str());
  FanOut(&IFaceless::SetMediaResource, resource);
}

void FacelessInstance::SetBasicAdjustIntensity(int32_t type, float intensity) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%.2f,type=%d", "FacelessInstance::SetBasicAdjustIntensity",
       static_cast<double>(intensity), type);
  FanOut(&IFaceless::SetBasicAdjustIntensity, type, intensity);
}

void FacelessInstance::SetBoomGameData(const std::string &json) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, intensity=%s", "FacelessInstance::SetBoomGameData", json.c_str());
  FanOut(&IFaceless::SetBoomGameData, json);
}

void FacelessInstance::SetMagicCustomImage(const std::vector<std::string> &paths) {
  FanOut(&IFaceless::SetMagicCustomImage, paths);
}

void FacelessInstance::LoadInteractiveBoxResource(const std::string &path) {
  blog(LOG_INFO, "[beauty faceless] entrance %s, path=%s", "FacelessInstance::LoadInteractiveBoxResource",
       path.c_str());
  FanOut(&IFaceless::LoadInteractiveBoxResource, path);
}

void FacelessInstance::UnloadInteractiveBoxResource() {
  blog(LOG_INFO, "[beauty faceless] entrance %s", "FacelessInstance::UnloadInteractiveBoxResource");
  FanOut(&IFaceless::UnloadInteractiveBoxResource);
}

// ---- State that the host gives and reads ----

void FacelessInstance::SetEngineSnapshot(const FacelessEngineSnapshot &snapshot) {
  WriterLock lock(snapshot_mutex_);
  snapshot_ = snapshot;
}

FacelessEngineSnapshot FacelessInstance::GetEngineSnapshot() {
  ReaderLock lock(snapshot_mutex_);
  return snapshot_;
}

void FacelessInstance::SetInteractiveBoxInfo(const InteractiveBoxInfo &info) {
  WriterLock lock(snapshot_mutex_);
  box_info_ = info;
}

InteractiveBoxInfo FacelessInstance::GetInteractiveBoxInfo() {
  ReaderLock lock(snapshot_mutex_);
  return box_info_;
}

void FacelessInstance::UpdateStatistics(obs_source_t *source, const StatisticsSample &record) {
  MutexLock lock(statistics_mutex_);
  statistics_[source] = record;
}

void FacelessInstance::RemoveStatistics(obs_source_t *source) {
  MutexLock lock(statistics_mutex_);
  statistics_.erase(source);
}

std::vector<StatisticsSample> FacelessInstance::GetBeautyStatistics() {
  {
    MutexLock lock(statistics_mutex_);
    statistics_list_.clear();
    for (const auto &[source, record] : statistics_) statistics_list_.push_back(record);
  }
  return statistics_list_;
}

void FacelessInstance::SetMagicEffectForSources(std::list<obs_source_t *> sources, MagicEffectRequest request) {
  for (obs_source_t *source : sources) {
    const NoJoinScope no_join;
    const std::shared_ptr<FaceBeautyFilterWorker> worker = FindWorker(source);
    if (!worker) continue;
    if (request.event_name.empty())
      ReceiverOf(*worker).Command(&IFaceless::SetMagicEffectWithPath, request.path, request.slot, request.flag);
    else
      ReceiverOf(*worker).Command(&IFaceless::SetMagicEffectWithEvent, request.path, request.slot, request.flag,
                                  request.event_name);
  }
  for (obs_source_t *source : sources) obs_source_release(source);
}

void FacelessInstance::SetFacelessJumpInfo(const FacelessJumpInfo &info) {
  WriterLock lock(jump_mutex_);
  blog(LOG_INFO, "[beauty faceless] entrance %s, jump_info.need_jump=%d, jump_info.jump_type=%d",
       "FacelessInstance::SetFacelessJumpInfo", info.need_jump, info.jump_type);
  jump_info_ = info;
}

FacelessJumpInfo FacelessInstance::GetFacelessJumpInfo() {
  ReaderLock lock(jump_mutex_);
  return jump_info_;
}

}  // namespace vanta

bool FindFacelessInstance(ILumivex **out) {
  if (!out) return false;
  *out = vanta::FacelessInstance::GetInstance().get();
  return *out != nullptr;
}
