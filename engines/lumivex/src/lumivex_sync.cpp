// The engine's interface: guards the engine against bad arguments, and the caller against exceptions.
#include <util/base.h>

#include <exception>
#include <utility>

#include "bounded_text.h"
#include "engine.h"
#include "engine/lumivex_api.h"
#include "engine_control.h"
#include "lumivex/lumivex_values.h"
#include "unavailable.h"

namespace LX {
namespace {

// Runs a command; one that fails is a log line.
template <typename Work>
void Guarded(const char *command, Work &&work) {
  try {
    work();
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[lumivex] %s: %s", command, error.what());
  }
}

}  // namespace

// Owns: the engine, the callbacks. Threads: one at a time, as the caller serialises.
struct LumivexSync::Impl {
  Impl(const LXEngineConfig &config, std::shared_ptr<GLFWwindow> shown)
      : window(std::move(shown)),
        engine(lumivex::BoundedText(config.path), lumivex::FrameOutput(window.get(), config.width, config.height)) {}

  const std::shared_ptr<GLFWwindow> window;  // may be null

  lumivex::Engine engine;
  bool failure_said = false;  // since the last good frame

  // This version has no models, no games and no bodies to report on; what is given is kept for those that do.
  std::map<std::string, std::string> models;
  std::string model_root;
  std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> cpu_data;
  std::function<void(const std::string &)> upload_stats;
  std::string upload_stats_name;
  std::function<void(const std::string &, const std::string &)> post_report;
  std::function<void(const std::string &, const std::string &)> log;
  std::function<void(const BoomGameData &)> game_data;
  std::function<void(LXBodySlimmingStatus)> body_slimming_status;
  std::function<void(const std::string &, bool)> effect_description;
};

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
      if (!impl_->failure_said) blog(LOG_ERROR, "[lumivex] a frame failed: %s", error.what());
      impl_->failure_said = true;
    }
  } else {
    impl_->engine.Stats().AddFailure();
  }
  if (result) impl_->failure_said = false;
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
  impl_->model_root = std::move(path);
}

void LumivexSync::setTesseraCpuDataFunc(
    std::function<void(std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>)> callback) {
  impl_->cpu_data = std::move(callback);
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
  impl_->game_data = std::move(callback);
}

void LumivexSync::setBodySlimmingStatusCallback(const std::function<void(LXBodySlimmingStatus)> &callback) {
  impl_->body_slimming_status = callback;
}

void LumivexSync::setEffectDescriptionCallback(std::function<void(const std::string &, bool)> callback) {
  impl_->effect_description = std::move(callback);
}

void LumivexSync::updateTesseraParams(const std::string &) {
  lumivex::LogUnavailable(lumivex::Feature::kVisionParameters);
}
void LumivexSync::setMakeupInfo(const std::vector<LXMakeupInfo> &) {
  lumivex::LogUnavailable(lumivex::Feature::kMakeup);
}
void LumivexSync::setMakeupIntensityWithKey(std::string, float) {
  lumivex::LogUnavailable(lumivex::Feature::kMakeup);
}
void LumivexSync::setDeformIntensityWithMode(int, float) {
  lumivex::LogUnavailable(lumivex::Feature::kDeform);
}
void LumivexSync::setBodySlimmingIntensityWithType(LXBodySlimmingType, float) {
  lumivex::LogUnavailable(lumivex::Feature::kBodySlimming);
}
void LumivexSync::setBodySlimmingManualLegHeightRangeAndDir(float, float, int) {
  lumivex::LogUnavailable(lumivex::Feature::kBodySlimming);
}
void LumivexSync::setMagicEffectWithPath(std::string, LXEffectSlot, bool) {
  lumivex::LogUnavailable(lumivex::Feature::kMagicEffect);
}
// There is never an effect to cancel.
void LumivexSync::cancelMagicEffect() {}
void LumivexSync::setEffectStateWithState(LXEffectState) {
  lumivex::LogUnavailable(lumivex::Feature::kMagicEffect);
}
void LumivexSync::setEffectIntensityWithType(LXEffectAdjustType, float) {
  lumivex::LogUnavailable(lumivex::Feature::kMagicEffect);
}
// The caller itself stops handing frames over while a resource of the type kMediaTypeSkipEngine is set.
void LumivexSync::setMediaResource(LXMediaResource resource) {
  if (resource.type == lumivex::kMediaNone || resource.type == kMediaTypeSkipEngine) return;
  lumivex::LogUnavailable(lumivex::Feature::kMedia);
}
void LumivexSync::setBoomGameData(const std::string &) {
  lumivex::LogUnavailable(lumivex::Feature::kGame);
}
void LumivexSync::setMagicCustomImage(const std::vector<std::string> &) {
  lumivex::LogUnavailable(lumivex::Feature::kCustomImage);
}
void LumivexSync::loadInteractiveBoxResource(std::string) {
  lumivex::LogUnavailable(lumivex::Feature::kInteractiveBox);
}
// There is never a resource to unload.
void LumivexSync::unloadInteractiveBoxResource() {}

// Alerts are for the developers of an engine with a screen of its own; this one only logs.
void setDebugAlertMode(int) {}

}  // namespace LX
