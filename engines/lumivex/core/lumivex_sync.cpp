// The engine's interface: guards the engine against bad arguments, and the caller against exceptions.
#include <util/base.h>

#include <exception>
#include <utility>

#include "core/bounded_text.h"
#include "core/engine.h"
#include "lumivex/lumivex_values.h"
#include "platform/data_folder.h"
#include "settings/engine_control.h"
#include "vanta_base/host_text.h"
#include "vanta_filter/engine/lumivex_api.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace LX {
namespace {

using lumivex::MagicEffects;

// Runs a command; one that fails is a log line.
template <typename Work>
void Guarded(const char *command, Work &&work) {
  try {
    work();
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[lumivex] %s: %s", command, error.what());
  }
}

// Calls the host back; a callback that throws costs no frame, and one line in the log until it returns again.
template <typename Callback>
void CallBack(const char *name, bool &said, Callback &&callback) {
  try {
    callback();
    said = false;
    return;
  } catch (const std::exception &error) {
    if (!said) blog(LOG_ERROR, "[lumivex] the host's callback for %s failed: %s", name, error.what());
  } catch (...) {
    if (!said) blog(LOG_ERROR, "[lumivex] the host's callback for %s failed", name);
  }
  said = true;
}

using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;

std::shared_ptr<CpuData> ToCpuData(std::shared_ptr<tessera::TesseraOut> landmarks) {
  auto object = std::make_shared<tessera::Any>();
  object->tag = tessera::Any::kObject;
  object->object_name = "tessera::TesseraOut";
  object->payload = std::move(landmarks);
  return std::make_shared<CpuData>(CpuData{{"landmarks", std::move(object)}});
}

template <typename Change>
void ChangeEffects(const char *command, lumivex::Engine &engine, Change change) {
  Guarded(command, [&] { engine.ChangeEffects(std::move(change)); });
}

}  // namespace

// Owns: the engine, the callbacks. Threads: one at a time, as the caller serialises.
struct LumivexSync::Impl {
  Impl(const LXEngineConfig &config, std::shared_ptr<GLFWwindow> shown)
      : window(std::move(shown)),
        engine(lumivex::DataFolder(lumivex::BoundedText(config.path)),
               lumivex::FrameOutput(window.get(), config.width, config.height)) {}

  const std::shared_ptr<GLFWwindow> window;  // may be null

  lumivex::Engine engine;
  bool failure_logged = false;   // since the last good frame
  bool cpu_data_logged = false;  // since the callback last returned

  bool slimming_logged = false;

  void TellLandmarks();
  void TellSlimmingStatus();

  std::function<void(std::shared_ptr<CpuData>)> cpu_data;
  // This version has no use for them; what is given is kept for those that have.
  std::map<std::string, std::string> models;
  std::function<void(const std::string &)> upload_stats;
  std::string upload_stats_name;
  std::function<void(const std::string &, const std::string &)> post_report;
  std::function<void(const std::string &, const std::string &)> log;
  std::function<void(LXBodySlimmingStatus)> body_slimming_status;
};

// A copy of the callback is called, since it may set another one.
void LumivexSync::Impl::TellLandmarks() {
  std::shared_ptr<tessera::TesseraOut> landmarks = engine.TakeLandmarks();
  if (!landmarks || !cpu_data) return;
  const auto callback = cpu_data;
  CallBack("landmarks", cpu_data_logged, [&] { callback(ToCpuData(std::move(landmarks))); });
}

void LumivexSync::Impl::TellSlimmingStatus() {
  const std::optional<LXBodySlimmingStatus> status = engine.TakeSlimmingStatus();
  if (!status || !body_slimming_status) return;
  const auto callback = body_slimming_status;
  CallBack("body slimming", slimming_logged, [&] { callback(*status); });
}

LumivexSync::LumivexSync() = default;

LumivexSync::~LumivexSync() {
  lumivex::DelayStop();
}

std::shared_ptr<LumivexSync> LumivexSync::createEngine(const LXEngineConfig *config) {
  return createEngine(config, nullptr);
}

std::shared_ptr<LumivexSync> LumivexSync::createEngine(const LXEngineConfig *config,
                                                       std::shared_ptr<GLFWwindow> window) {
  lumivex::DelayStart();
  if (!lumivex_is_available()) {
    blog(LOG_WARNING, "[lumivex] no engine: switched off by the program");
    return nullptr;
  }
  if (!config || config->width <= 0 || config->height <= 0) {
    blog(LOG_ERROR, "[lumivex] no engine: a frame size is needed, got %dx%d", config ? config->width : 0,
         config ? config->height : 0);
    return nullptr;
  }
  std::shared_ptr<LumivexSync> sync;
  Guarded("createEngine", [&] {
    std::shared_ptr<LumivexSync> made(new LumivexSync);
    made->impl_ = std::make_unique<Impl>(*config, std::move(window));
    sync = std::move(made);
    blog(LOG_INFO, "[lumivex] engine for %dx%d%s", config->width, config->height,
         sync->impl_->engine.HasSharedTextures() ? ", with shared textures" : "");
  });
  return sync;
}

std::shared_ptr<FrameData> LumivexSync::processFrameData(std::shared_ptr<FrameData> frame) {
  std::shared_ptr<FrameData> result;
  if (frame && !lumivex::FailThisFrame()) {
    try {
      result = impl_->engine.Process(frame);
    } catch (const std::exception &error) {
      impl_->engine.Stats().AddFailure();
      if (!impl_->failure_logged) blog(LOG_ERROR, "[lumivex] a frame failed: %s", error.what());
      impl_->failure_logged = true;
    }
  } else {
    impl_->engine.Stats().AddFailure();
  }
  if (result) impl_->failure_logged = false;
  impl_->TellLandmarks();
  impl_->TellSlimmingStatus();
  impl_->engine.Effects().Deliver();
  return result;
}

// Known since the engine's start, so there is nothing to wait for.
bool LumivexSync::isNVDXInteropSupported(bool, std::chrono::milliseconds) {
  return impl_->engine.HasSharedTextures();
}

std::string LumivexSync::getStats() {
  std::string text;
  Guarded("getStats", [&] { text = impl_->engine.Stats().Text(); });
  return text;
}

void LumivexSync::clearStats() {
  impl_->engine.Stats().Clear();
}

void LumivexSync::getTesseraStat(std::string &out) {
  Guarded("getTesseraStat", [&] { out = impl_->engine.Stats().VisionText(); });
}

void LumivexSync::beginBatchCommand() {
  impl_->engine.BeginBatch();
}

void LumivexSync::endBatchCommand() {
  Guarded("endBatchCommand", [&] { impl_->engine.EndBatch(); });
}

void LumivexSync::setEffectEnabledWithEffectType(LXEffectType type, bool enabled) {
  Guarded("setEffectEnabledWithEffectType", [&] { impl_->engine.SetEffectEnabled(type, enabled); });
}

void LumivexSync::setLookupInfo(LXLookupInfo info) {
  Guarded("setLookupInfo",
          [&] { impl_->engine.SetLookup(lumivex::BoundedText(info.path), info.intensity, info.type); });
}

void LumivexSync::setLookupIntensity(float intensity) {
  Guarded("setLookupIntensity", [&] { impl_->engine.SetLookupIntensity(intensity); });
}

void LumivexSync::setBeautyIntensityWithType(LXBeautyType type, float intensity) {
  Guarded("setBeautyIntensityWithType", [&] { impl_->engine.SetBeautyIntensity(type, intensity); });
}

void LumivexSync::setBeautyGroupPath(const LXGroupConfig &config) {
  Guarded("setBeautyGroupPath", [&] { impl_->engine.SetGroup(lumivex::BoundedText(config.path), config.is_group); });
}

void LumivexSync::setNaturalityIntensity(float intensity) {
  Guarded("setNaturalityIntensity", [&] { impl_->engine.SetNaturality(intensity); });
}

void LumivexSync::setModelPathDic(const std::map<std::string, std::string> &path_dic) {
  impl_->models = path_dic;
}
void LumivexSync::setModelRootPath(std::string path) {
  Guarded("setModelRootPath", [&] { impl_->engine.SetModelFolder(vanta::Utf8FromHostText(path)); });
}

void LumivexSync::setTesseraCpuDataFunc(
    std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> callback) {
  impl_->cpu_data = std::move(callback);
  impl_->engine.ReportFaces(impl_->cpu_data != nullptr);
}

void LumivexSync::setTesseraUploadStatsCallBack(std::function<void(const std::string &)> callback,
                                                const std::string &name) {
  impl_->upload_stats = std::move(callback);
  impl_->upload_stats_name = name;
}

void LumivexSync::setTesseraPostReportCallBack(std::function<void(const std::string &, const std::string &)> callback) {
  impl_->post_report = std::move(callback);
}

void LumivexSync::setTesseraLogCallBack(std::function<void(const std::string &, const std::string &)> callback) {
  impl_->log = std::move(callback);
}

void LumivexSync::setGameDataCallback(std::function<void(const BoomGameData &)> callback) {
  impl_->engine.Effects().Outbox().SetGameDataCallback(std::move(callback));
}

void LumivexSync::setBodySlimmingStatusCallback(const std::function<void(LXBodySlimmingStatus)> &callback) {
  impl_->body_slimming_status = callback;
}

void LumivexSync::setEffectDescriptionCallback(std::function<void(const std::string &, bool)> callback) {
  impl_->engine.Effects().Outbox().SetDescriptionCallback(std::move(callback));
}

void LumivexSync::updateTesseraParams(const std::string &json) {
  Guarded("updateTesseraParams", [&] { impl_->engine.SetVisionParams(json); });
}
void LumivexSync::setMakeupInfo(const std::vector<LXMakeupInfo> &layers) {
  Guarded("setMakeupInfo", [&] {
    std::vector<lumivex::MakeupRequest> requests;
    for (const LXMakeupInfo &layer : layers) {
      requests.push_back(
          {lumivex::BoundedText(layer.resourceDir), lumivex::BoundedText(layer.key), layer.word, layer.intensity});
    }
    impl_->engine.SetMakeup(requests);
  });
}
void LumivexSync::setMakeupIntensityWithKey(std::string key, float intensity) {
  Guarded("setMakeupIntensityWithKey", [&] { impl_->engine.SetMakeupIntensity(key, intensity); });
}
void LumivexSync::setDeformIntensityWithMode(int mode, float intensity) {
  Guarded("setDeformIntensityWithMode", [&] { impl_->engine.SetDeform(mode, intensity); });
}
void LumivexSync::setBodySlimmingIntensityWithType(LXBodySlimmingType type, float intensity) {
  Guarded("setBodySlimmingIntensityWithType", [&] { impl_->engine.SetSlimming(type, intensity); });
}
void LumivexSync::setBodySlimmingManualLegHeightRangeAndDir(float top, float bottom, int dir) {
  Guarded("setBodySlimmingManualLegHeightRangeAndDir", [&] { impl_->engine.SetLegRange(top, bottom, dir); });
}
// Nothing here gives the flag a meaning.
void LumivexSync::setMagicEffectWithPath(std::string path, LXEffectSlot slot, bool) {
  ChangeEffects("setMagicEffectWithPath", impl_->engine,
                [path = vanta::Utf8FromHostText(path), slot](MagicEffects &effects) { effects.SetEffect(path, slot); });
}
void LumivexSync::cancelMagicEffect() {
  ChangeEffects("cancelMagicEffect", impl_->engine, [](MagicEffects &effects) { effects.Cancel(); });
}
void LumivexSync::setEffectStateWithState(LXEffectState state) {
  ChangeEffects("setEffectStateWithState", impl_->engine, [state](MagicEffects &effects) { effects.SetState(state); });
}
void LumivexSync::setEffectIntensityWithType(LXEffectAdjustType type, float intensity) {
  ChangeEffects("setEffectIntensityWithType", impl_->engine,
                [type, intensity](MagicEffects &effects) { effects.SetIntensity(type, intensity); });
}
// The caller itself stops handing frames over while a resource of the type kMediaTypeSkipEngine is set.
void LumivexSync::setMediaResource(LXMediaResource resource) {
  ChangeEffects("setMediaResource", impl_->engine,
                [type = resource.type, path = lumivex::BoundedText(resource.mediaPath)](MagicEffects &effects) {
                  effects.SetMedia(type, path);
                });
}
void LumivexSync::setBoomGameData(const std::string &json) {
  ChangeEffects("setBoomGameData", impl_->engine, [json](MagicEffects &effects) { effects.ReceiveGameData(json); });
}
void LumivexSync::setMagicCustomImage(const std::vector<std::string> &paths) {
  std::vector<std::string> own;
  for (const std::string &path : paths) own.push_back(vanta::Utf8FromHostText(path));
  ChangeEffects("setMagicCustomImage", impl_->engine,
                [own = std::move(own)](MagicEffects &effects) { effects.SetCustomImages(own); });
}
void LumivexSync::loadInteractiveBoxResource(std::string path) {
  ChangeEffects("loadInteractiveBoxResource", impl_->engine,
                [path = vanta::Utf8FromHostText(path)](MagicEffects &effects) { effects.LoadBox(path); });
}
void LumivexSync::unloadInteractiveBoxResource() {
  ChangeEffects("unloadInteractiveBoxResource", impl_->engine, [](MagicEffects &effects) { effects.UnloadBox(); });
}

// Alerts are for the developers of an engine with a screen of its own; this one only logs.
void setDebugAlertMode(int) {}

}  // namespace LX
