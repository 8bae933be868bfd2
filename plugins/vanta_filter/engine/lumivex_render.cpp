#include "engine/lumivex_render.h"

#include <util/base.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "engine/callbacks/engine_text_log.h"
#include "obs/engine_paths.h"
#include "obs/host_signal.h"
#include "platform/thread.h"
#include "vanta_filter/engine/ability_handler.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr int32_t kReportEngineFailed = 8;
constexpr char kDefaultBeautyGroup[] = "jingdian";

// A worker's end waits for its engine's, and that may wait for callbacks: what a callback leads to must not wait for
// the worker.
template <typename Body>
auto AsCallback(Body body) {
  return [body](const auto &...args) {
    const NoJoinScope no_join;
    body(args...);
  };
}

}  // namespace

LumivexRender::LumivexRender() {
  blog(LOG_INFO, "[beauty] %s %p", "LumivexRender::LumivexRender", static_cast<void *>(this));
}

LumivexRender::~LumivexRender() {
  blog(LOG_INFO, "[beauty] %s %p", "LumivexRender::~LumivexRender", static_cast<void *>(this));
  // The host forgets the shared-texture state with each processor.
  SetBeautySharedTexture(false);
  SetBeautySharedTextureFallback(false);
}

bool LumivexRender::Initialize(uint32_t width, uint32_t height, const std::shared_ptr<GLFWwindow> &gl_window,
                               const std::string &face_beauty_path, const std::string &ai_path) {
  if (width == 0 || height == 0) {
    blog(LOG_ERROR, "[beauty] Initialize  fail width %d,height %d", static_cast<int>(width), static_cast<int>(height));
    return false;
  }
  FillEngineConfig(width, height, face_beauty_path);
  CreateEngine(gl_window);
  SendStartupReport();
  if (!engine_) {
    ReportMissingEngine();
    return false;
  }
  SetDefaultBeautyGroup();
  LX::setDebugAlertMode(0);
  engine_->setModelPathDic(BuildModelDictionary());
  engine_->setModelRootPath(ai_path);
  BindCallbacks();
  return true;
}

void LumivexRender::FillEngineConfig(uint32_t width, uint32_t height, const std::string &face_beauty_path) {
  blog(LOG_INFO, "[beauty] Initialize  LXEngineConfig");
  LXEngineConfig config{};
  const size_t length = std::min(face_beauty_path.size(), sizeof(config.path) - 1);
  std::memcpy(config.path, face_beauty_path.data(), length);
  config.width = static_cast<int32_t>(width);
  config.height = static_cast<int32_t>(height);
  config_ = config;
}

void LumivexRender::CreateEngine(const std::shared_ptr<GLFWwindow> &gl_window) {
  blog(LOG_INFO, "[beauty] Initialize  gl_window: %p", static_cast<void *>(gl_window.get()));
  engine_ = gl_window ? LX::LumivexSync::createEngine(&config_, gl_window) : LX::LumivexSync::createEngine(&config_);
}

void LumivexRender::SendStartupReport() {
  const std::string text = nlohmann::json{{"createEngine", engine_ != nullptr}}.dump();
  HostSignal signal;
  calldata_set_int(signal.arguments(), "type", 1);
  calldata_set_string(signal.arguments(), "type_func", "OnLumivexInit");
  calldata_set_string(signal.arguments(), "data_str", text.c_str());
  signal.Send("vanta_filter_callback");
}

void LumivexRender::ReportMissingEngine() {
  constexpr char kName[] = "LumivexRender::Initialize";
  blog(LOG_ERROR, "[beauty] %s LX::LumivexSync::createEngine is null,maybe gpu driver is not install ", kName);
  blog(LOG_ERROR, "[beauty] %s Beauty && Magic effect is not effective", kName);
  const nlohmann::json report = {{"createEngine", "failed"}, {"data", "gpu driver is null"}};
  blog_user_define_data_report(kReportEngineFailed, report.dump().c_str());
}

void LumivexRender::SetDefaultBeautyGroup() {
  LXGroupConfig group{};
  std::memcpy(group.path, kDefaultBeautyGroup, sizeof(kDefaultBeautyGroup));
  engine_->setBeautyGroupPath(group);
}

void LumivexRender::BindCallbacks() {
  engine_->setTesseraCpuDataFunc(AsCallback([this](const CpuData &data) { TesseraCpuDataCallback(data); }));
  engine_->setTesseraUploadStatsCallBack(
      AsCallback([](const std::string &text) { LogEngineText("setTesseraUploadStatsCallBack", text); }), std::string());
  engine_->setTesseraPostReportCallBack(AsCallback([](const std::string &first, const std::string &second) {
    LogEngineText("setTesseraPostReportCallBack", first);
    LogEngineText("setTesseraPostReportCallBack", second);
  }));
  engine_->setTesseraLogCallBack(AsCallback([](const std::string &first, const std::string &second) {
    LogEngineText("setTesseraLogCallBack", first);
    LogEngineText("setTesseraLogCallBack", second);
  }));
  engine_->setGameDataCallback(AsCallback([this](const LX::BoomGameData &data) { GameDataCallback(data); }));
  engine_->setBodySlimmingStatusCallback(
      AsCallback([this](LXBodySlimmingStatus status) { BodySlimmingStatusCallback(status); }));
  engine_->setEffectDescriptionCallback(
      AsCallback([this](const std::string &desc, bool success) { MagicFaceCallBack(desc, success); }));
}

void LumivexRender::SetOBSData(obs_data_t *settings, obs_source_t *parent) {
  blog(LOG_INFO, "LumivexRender[%p] SetOBSData", static_cast<void *>(this));
  OBSData kept(settings);
  {
    MutexLock lock(settings_mutex_);
    std::swap(settings_, kept);
  }
  parent_.store(parent, std::memory_order_relaxed);
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
  {
    MutexLock lock(event_mutex_);
    event_name_ = event_name;
  }
  SetMagicEffectWithPath(std::move(path), slot, flag);
}

void LumivexRender::SetMagicEffectWithPath(std::string path, LXEffectSlot slot, bool flag) {
  if (slot == kMainEffectSlot) {
    if (path.empty()) {
      ClearMagicDisableFlags();
    } else {
      if (magic_main_path_ != path) magic_main_path_ = path;
      blog(LOG_INFO, "magic_main_path_= %s", magic_main_path_.c_str());
    }
  } else if (slot == kRecognitionGiftSlot) {
    if (path.empty()) {
      // The gift is over: the main effect comes back.
      path = magic_main_path_;
      slot = kMainEffectSlot;
    } else {
      if (magic_recognition_gift_path_ != path) magic_recognition_gift_path_ = path;
      blog(LOG_INFO, "magic_recognition_gift_path_= %s", magic_recognition_gift_path_.c_str());
    }
  } else {
    blog(LOG_WARNING, "no slot type= %d", static_cast<int>(slot));
  }
  if (engine_) engine_->setMagicEffectWithPath(std::move(path), slot, flag);
}

void LumivexRender::CancelMagicEffect() {
  ClearMagicDisableFlags();
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
  blog(LOG_INFO, "[beauty][MagicTreasureChest] PostSignalAfterLoadInteractiveBoxResource");
  if (ILiveEffectJsonAbilityHandler *handler = FindAbilityHandler())
    handler->PostSignalAfterLoadInteractiveBoxResource();
}

void LumivexRender::UnloadInteractiveBoxResource() {
  if (engine_) engine_->unloadInteractiveBoxResource();
  blog(LOG_INFO, "[beauty][MagicTreasureChest] PostSignalAfterUnloadInteractiveBoxResource");
  if (ILiveEffectJsonAbilityHandler *handler = FindAbilityHandler())
    handler->PostSignalAfterUnloadInteractiveBoxResource();
}

}  // namespace vanta
