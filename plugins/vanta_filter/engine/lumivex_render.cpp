#include "engine/lumivex_render.h"

#include <util/base.h>

#include <utility>

#include "engine/engine_start.h"
#include "engine/tessera_stat_log.h"
#include "obs/engine_paths.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

LumivexRender::LumivexRender() {
  blog(LOG_INFO, "[beauty] %s %p", "LumivexRender::LumivexRender", static_cast<void *>(this));
}

LumivexRender::~LumivexRender() {
  blog(LOG_INFO, "[beauty] %s %p", "LumivexRender::~LumivexRender", static_cast<void *>(this));
  // The host forgets the shared-texture state with each processor.
  SetBeautySharedTexture(false);
  SetBeautySharedTextureFallback(false);
  faces_.Clear();
  abilities_.SetSettings(nullptr);
}

bool LumivexRender::Initialize(uint32_t width, uint32_t height, const std::shared_ptr<GLFWwindow> &gl_window,
                               const std::string &face_beauty_path, const std::string &ai_path) {
  if (width == 0 || height == 0) {
    blog(LOG_ERROR, "[beauty] Initialize  fail width %d,height %d", static_cast<int>(width), static_cast<int>(height));
    return false;
  }
  const LXEngineConfig config = MakeEngineConfig(width, height, face_beauty_path);
  faces_.SetFrameSize(width, height);
  engine_ = StartEngine(config, gl_window, ai_path);
  if (!engine_) return false;
  callbacks_.Bind(*engine_);
  return true;
}

void LumivexRender::SetOBSData(obs_data_t *settings, obs_source_t *parent) {
  blog(LOG_INFO, "LumivexRender[%p] SetOBSData", static_cast<void *>(this));
  abilities_.SetSettings(settings);
  faces_.SetParent(parent);
}

std::shared_ptr<LX::FrameData> LumivexRender::ProcessFrameData(std::shared_ptr<LX::FrameData> data) {
  if (!engine_) return nullptr;
  data->pixel_format = interop_.FormatToAsk(engine_.get());
  std::shared_ptr<LX::FrameData> result = engine_->processFrameData(std::move(data));
  if (result) interop_.RecordDelivery(*result);
  TesseraStatLog::CountFrame(*engine_);
  return result;
}

std::string LumivexRender::GetStats() {
  return engine_ ? engine_->getStats() : std::string();
}

void LumivexRender::ClearStats() {
  if (engine_) engine_->clearStats();
}

void LumivexRender::GetTesseraStat() {
  if (engine_) TesseraStatLog::Write(*engine_);
}

// ---- Commands that reach the engine unchanged ----

void LumivexRender::SetModelPathDic(const std::map<std::string, std::string> &path_dic) {
  if (engine_) engine_->setModelPathDic(path_dic);
}

void LumivexRender::UpdateTesseraParams(const std::string &json) {
  if (engine_) engine_->updateTesseraParams(json);
}

void LumivexRender::BeginBatchCommand() {
  if (engine_) engine_->beginBatchCommand();
}

void LumivexRender::EndBatchCommand() {
  if (engine_) engine_->endBatchCommand();
}

void LumivexRender::SetEffectEnabledWithEffectType(LXEffectType type, bool enabled) {
  if (engine_) engine_->setEffectEnabledWithEffectType(type, enabled);
}

void LumivexRender::SetLookupInfo(LXLookupInfo info) {
  if (engine_) engine_->setLookupInfo(info);
}

void LumivexRender::SetLookupIntensity(float intensity) {
  if (engine_) engine_->setLookupIntensity(intensity);
}

void LumivexRender::SetMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  if (engine_) engine_->setMakeupInfo(layers);
}

void LumivexRender::SetMakeupIntensityWithKey(std::string key, float intensity) {
  if (engine_) engine_->setMakeupIntensityWithKey(std::move(key), intensity);
}

void LumivexRender::SetBeautyIntensityWithType(LXBeautyType type, float intensity) {
  if (engine_) engine_->setBeautyIntensityWithType(type, intensity);
}

void LumivexRender::SetBeautyGroupPath(const LXGroupConfig &config) {
  if (engine_) engine_->setBeautyGroupPath(config);
}

void LumivexRender::SetNaturalityIntensity(float intensity) {
  if (engine_) engine_->setNaturalityIntensity(intensity);
}

void LumivexRender::SetDeformIntensityWithMode(int32_t mode, float intensity) {
  if (engine_) engine_->setDeformIntensityWithMode(mode, intensity);
}

void LumivexRender::SetBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) {
  if (engine_) engine_->setBodySlimmingIntensityWithType(type, intensity);
}

void LumivexRender::SetBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int32_t dir) {
  if (engine_) engine_->setBodySlimmingManualLegHeightRangeAndDir(top, bottom, dir);
}

void LumivexRender::SetEffectStateWithState(LXEffectState state) {
  if (engine_) engine_->setEffectStateWithState(state);
}

void LumivexRender::SetEffectIntensityWithType(LXEffectAdjustType type, float intensity) {
  if (engine_) engine_->setEffectIntensityWithType(type, intensity);
}

void LumivexRender::SetBoomGameData(const std::string &json) {
  if (engine_) engine_->setBoomGameData(json);
}

void LumivexRender::SetMagicCustomImage(const std::vector<std::string> &paths) {
  if (engine_) engine_->setMagicCustomImage(paths);
}

// ---- Commands that do more ----

// The dictionary is built from the model folder, whatever the path says.
void LumivexRender::SetModelRootPath(std::string path) {
  SetModelPathDic(BuildModelDictionary());
  if (engine_) engine_->setModelRootPath(std::move(path));
}

void LumivexRender::SetMagicEffectWithEvent(std::string path, LXEffectSlot slot, bool flag,
                                            const std::string &event_name) {
  callbacks_.SetEventName(event_name);
  SetMagicEffectWithPath(std::move(path), slot, flag);
}

void LumivexRender::SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) {
  SlotEffect effect = slots_.Choose(std::move(path), slot);
  if (engine_) engine_->setMagicEffectWithPath(std::move(effect.path), effect.slot, flag);
}

void LumivexRender::CancelMagicEffect() {
  slots_.ClearMagicDisableFlags();
  if (engine_) engine_->cancelMagicEffect();
}

void LumivexRender::SetMediaResource(LXMediaResource resource) {
  if (engine_) engine_->setMediaResource(resource);
  const bool skip = resource.type == kMediaTypeSkipEngine;
  skip_lumivex_.store(skip, std::memory_order_relaxed);
  blog(LOG_INFO, skip ? "[beauty][lumivex] skip_lumivex_ true" : "[beauty][lumivex] skip_lumivex_ false");
}

// The engine has no basic adjustment; the value travels in the host's snapshot alone.
void LumivexRender::SetBasicAdjustIntensity(int32_t, float) {}

void LumivexRender::LoadInteractiveBoxResource(const std::string &path) {
  if (path.empty()) return;
  if (engine_) engine_->loadInteractiveBoxResource(path);
  abilities_.PostBoxLoaded();
}

void LumivexRender::UnloadInteractiveBoxResource() {
  if (engine_) engine_->unloadInteractiveBoxResource();
  abilities_.PostBoxUnloaded();
}

}  // namespace vanta
