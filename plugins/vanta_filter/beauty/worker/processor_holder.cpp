#include "beauty/worker/processor_holder.h"

#include <util/base.h>

#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "engine/faceless_instance.h"
#include "stats/delay_stats.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void ProcessorHolder::CreateGlWindow() {
  if (!EnableCreateLXGLContext()) {
    blog(LOG_INFO, "[beauty] EnableCreateLXGLContext is false");
    return;
  }
  GLFWwindow *window = Lumivex::createGLFWWindow(1, 1, false);
  if (!window) {
    blog(LOG_ERROR, "[beauty] createGLFWWindow failed");
    return;
  }
  gl_window_ = std::shared_ptr<GLFWwindow>(window, [](GLFWwindow *owned) {
    blog(LOG_INFO, "[beauty] destroyGLFWWindow");
    if (!EnableDestroyGLFWWindow()) return;
    blog(LOG_INFO, "[beauty] destroyGLFWWindow");
    Lumivex::destroyGLFWWindow(owned);
  });
  blog(LOG_INFO, "[beauty] createGLFWWindow success");
}

void ProcessorHolder::CreateFirst() {
  MutexLock lock(render_mutex_);
  stats_.Reset();
  stats_.SetSize(render_width_, render_height_);
  render_ = std::make_shared<LumivexProcessor>();
  if (render_->Initialize(render_width_, render_height_, gl_window_))
    blog(LOG_INFO, "[beauty] LumivexProcessor init successful %u %u", render_width_, render_height_);
  ReplaySnapshot();
  if (const OBSData settings = settings_.Current()) render_->SetOBSData(settings, settings_.parent());
  state_.SetRunning();
}

bool ProcessorHolder::Fits(uint32_t width, uint32_t height) {
  MutexLock lock(render_mutex_);
  return state_.IsRunning() && render_ && render_->width() == width && render_->height() == height;
}

void ProcessorHolder::Recreate(uint32_t width, uint32_t height) {
  MutexLock lock(render_mutex_);
  if (render_) {
    blog(LOG_INFO, "[beauty] LumivexProcessor recreate, reset previous");
    render_.reset();
  }
  render_width_ = width;
  render_height_ = height;
  render_ = std::make_shared<LumivexProcessor>();
  stats_.Reset();
  stats_.SetSize(render_width_, render_height_);
  if (render_->Initialize(render_width_, render_height_, gl_window_)) {
    blog(LOG_INFO, "[beauty] LumivexProcessor init ");
    ReplaySnapshot();
  }
  const OBSData settings = settings_.Current();
  if (!settings) return;
  render_->SetOBSData(settings, settings_.parent());
  const InteractiveBoxInfo box = FacelessInstance::GetInstance()->GetInteractiveBoxInfo();
  if (box.loaded) render_->LoadInteractiveBoxResource(box.path);
}

// A new engine knows nothing. The order is fixed: a preset before what refines it.
void ProcessorHolder::ReplaySnapshot() {
  const FacelessEngineSnapshot snapshot = FacelessInstance::GetInstance()->GetEngineSnapshot();
  if (snapshot.tessera_params) render_->UpdateTesseraParams(*snapshot.tessera_params);
  if (snapshot.group) render_->SetBeautyGroupPath(*snapshot.group);
  if (!snapshot.model_root_path.empty()) render_->SetModelRootPath(snapshot.model_root_path);
  for (const auto &[type, enabled] : snapshot.effect_enabled) render_->SetEffectEnabledWithEffectType(type, enabled);
  if (snapshot.lookup) render_->SetLookupInfo(*snapshot.lookup);
  if (!snapshot.makeup.empty()) render_->SetMakeupInfo(snapshot.makeup);
  for (const auto &[type, intensity] : snapshot.beauty) render_->SetBeautyIntensityWithType(type, intensity);
  for (const auto &[mode, intensity] : snapshot.deform) render_->SetDeformIntensityWithMode(mode, intensity);
  for (const auto &[type, intensity] : snapshot.body_slimming)
    render_->SetBodySlimmingIntensityWithType(type, intensity);
  for (const auto &[type, intensity] : snapshot.basic_adjust) render_->SetBasicAdjustIntensity(type, intensity);
  if (snapshot.magic_path) render_->SetMagicEffectWithPath(*snapshot.magic_path, kMainEffectSlot, false);
  if (snapshot.boom_game_data) render_->SetBoomGameData(*snapshot.boom_game_data);
}

ProcessorHolder::Processed ProcessorHolder::Process(PooledFrame &frame) {
  MutexLock lock(render_mutex_);
  if (!render_) return {};
  const FrameOrientation orientation = OrientFrame(settings_.Orientation(), frame.flip, EnableOBSFrameFilp());
  frame.data->rotation = orientation.rotation;
  frame.data->flip = orientation.flip;
  Processed done;
  done.result = render_->Process(frame);
  done.faces = render_->GetFaceCount();
  return done;
}

void ProcessorHolder::Release() {
  MutexLock lock(render_mutex_);
  if (!render_) return;
  blog(LOG_INFO, "[beauty] LumivexProcessor reset");
  render_.reset();
}

void ProcessorHolder::Call(const CommandReceiver::EngineCall &call) {
  MutexLock lock(render_mutex_);
  if (render_) call(*render_);
}

std::optional<std::string> ProcessorHolder::TakeStats() {
  MutexLock lock(render_mutex_);
  if (!render_) return std::nullopt;
  std::string text = render_->GetStats();
  render_->ClearStats();
  return text;
}

}  // namespace vanta
