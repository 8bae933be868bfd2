// The worker's thread: its loop and the processing of one frame.
#include <util/base.h>
#include <util/platform.h>

#include "beauty/face_beauty_filter_worker.h"
#include "engine/faceless_instance.h"
#include "platform/clock.h"

namespace vanta {
namespace {

constexpr int32_t kFailuresPerLine = 5;
std::atomic<int32_t> render_failures{0};  // shared by all workers of the process

}  // namespace

void FaceBeautyFilterWorker::ThreadMain() {
  const NoJoinScope no_join;
  SetCurrentThreadName("FaceBeautyFilterWorker");
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker start");
  const uint64_t id = CurrentThreadId();
  FaceBeautyThreadManagerAddThread(id);
  CreateFirstProcessor();
  while (!stop_flag_) {
    WaitForInput();
    SetFaceBeautyFilterWorkerThreadId(id, id);
    SetFaceBeautyFilterWorkerThreadTimestamp(id, os_gettime_ns());
    PooledFrameQueue frames;
    if (!stop_flag_) frames = frame_factory_->TakeAllInput();
    if (frames.Empty()) delay_stats_.OnSpuriousWake();
    if (stop_flag_) break;
    ProcessFrames(id, frames);
    // The host's watchdog sees an idle worker as id 0.
    SetFaceBeautyFilterWorkerThreadId(id, 0);
    SetFaceBeautyFilterWorkerThreadTimestamp(id, 0);
  }
  ReleaseProcessor();
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker stop");
  SetFaceBeautyFilterWorkerThreadId(id, 0);
  SetFaceBeautyFilterWorkerThreadTimestamp(id, 0);
  FaceBeautyThreadManagerRemoveThread(id);
}

// The size is still 0 by 0, so no engine starts here: the first real frame brings its size and a recreation.
void FaceBeautyFilterWorker::CreateFirstProcessor() {
  MutexLock lock(render_mutex_);
  delay_stats_.Reset();
  delay_stats_.SetSize(render_width_, render_height_);
  render_ = std::make_shared<LumivexProcessor>();
  if (render_->Initialize(render_width_, render_height_, gl_window_))
    blog(LOG_INFO, "[beauty] LumivexProcessor init successful %u %u", render_width_, render_height_);
  ReplaySnapshot();
  if (const OBSData settings = CurrentSettings()) render_->SetOBSData(settings, parent_);
  state_ = kRunning;
}

void FaceBeautyFilterWorker::WaitForInput() {
  if (stop_flag_ || frame_factory_->HasInput()) return;
  MutexLock lock(wake_mutex_);
  // Tested again under the lock: a stop that falls in between would be lost, and the join would hang.
  if (!stop_flag_) wake_cond_.Wait(wake_mutex_);
}

void FaceBeautyFilterWorker::ProcessFrames(uint64_t thread_id, PooledFrameQueue &frames) {
  while (!frames.Empty()) {
    SetFaceBeautyFilterWorkerThreadTimestamp(thread_id, os_gettime_ns());
    PooledFramePtr frame = frames.PopFront();
    RunTasks();
    if (ProcessTimed(*frame)) {
      frame_factory_->PushOutput(std::move(frame));
      TestDelay();
    } else {
      frame_factory_->Recycle(std::move(frame));
    }
    PooledFramePtr next = frame_factory_->TakeNextInput();
    if (next) frames.PushBack(std::move(next));
    if (stop_flag_) break;
    FaceBeautyFilterWorkerThreadSleep(thread_id);
  }
}

void FaceBeautyFilterWorker::RunTasks() {
  {
    MutexLock lock(tasks_mutex_);
    tasks_.swap(running_tasks_);
  }
  while (!running_tasks_.empty()) {
    running_tasks_.front()();
    running_tasks_.pop_front();
  }
}

bool FaceBeautyFilterWorker::ProcessTimed(PooledFrame &frame) {
  const FrameCostScope cost(process_cost_);
  return ProcessFrame(frame);
}

void FaceBeautyFilterWorker::ReleaseProcessor() {
  MutexLock lock(render_mutex_);
  if (!render_) return;
  blog(LOG_INFO, "[beauty] LumivexProcessor reset");
  render_.reset();
}

bool FaceBeautyFilterWorker::ProcessFrame(PooledFrame &frame) {
  if (!frame.data || frame.data->width < 2 || frame.data->height < 2) return false;
  if (NeedsProcessor(*frame.data) || InteropRequested())
    RecreateProcessor(static_cast<uint32_t>(frame.data->width), static_cast<uint32_t>(frame.data->height));

  const int64_t begin_ns = SteadyClockNs();
  LumivexProcessor::ProcessResult result = LumivexProcessor::kNotProcessed;
  int32_t faces = 0;
  {
    MutexLock lock(render_mutex_);
    if (render_) {
      const FrameOrientation orientation =
          OrientFrame({hor_flip_.load(std::memory_order_relaxed), ver_flip_.load(std::memory_order_relaxed),
                       rot_deg_.load(std::memory_order_relaxed)},
                      frame.flip, EnableOBSFrameFilp());
      frame.data->rotation = orientation.rotation;
      frame.data->flip = orientation.flip;
      result = render_->Process(frame);
      faces = render_->GetFaceCount();
    }
  }
  const float cost_ms = static_cast<float>(static_cast<double>(SteadyClockNs() - begin_ns) / 1e6);
  delay_stats_.OnFrameProcessed(cost_ms, frame.data->tessera_ms, frame.data->beauty_ms, static_cast<uint32_t>(faces));
  if (result == LumivexProcessor::kFinished) return true;
  LogRenderFailure();
  return false;
}

bool FaceBeautyFilterWorker::NeedsProcessor(const LX::FrameData &data) {
  MutexLock lock(render_mutex_);
  return state_ != kRunning || !render_ || render_->width() != static_cast<uint32_t>(data.width) ||
         render_->height() != static_cast<uint32_t>(data.height);
}

// Asked only when no recreation is due anyway, so that a request waits for a frame that it can be judged by.
bool FaceBeautyFilterWorker::InteropRequested() {
  const OpenTask task = TakeOpenTask();
  if (!task.pending) return false;
  const bool current = IsBeautySharedTexture();
  blog(LOG_INFO, "[lx_enable_nvdx_interop] cur [%d] target [%d]", current, task.wish);
  if (current == task.wish) return false;
  blog(LOG_INFO, "[lx_enable_nvdx_interop] LumivexProcessor recreate because of LX AB change");
  return true;
}

void FaceBeautyFilterWorker::RecreateProcessor(uint32_t width, uint32_t height) {
  MutexLock lock(render_mutex_);
  if (render_) {
    blog(LOG_INFO, "[beauty] LumivexProcessor recreate, reset previous");
    render_.reset();
  }
  render_width_ = width;
  render_height_ = height;
  render_ = std::make_shared<LumivexProcessor>();
  delay_stats_.Reset();
  delay_stats_.SetSize(render_width_, render_height_);
  if (render_->Initialize(render_width_, render_height_, gl_window_)) {
    blog(LOG_INFO, "[beauty] LumivexProcessor init ");
    ReplaySnapshot();
  }
  const OBSData settings = CurrentSettings();
  if (!settings) return;
  render_->SetOBSData(settings, parent_);
  const InteractiveBoxInfo box = FacelessInstance::GetInstance()->GetInteractiveBoxInfo();
  if (box.loaded) render_->LoadInteractiveBoxResource(box.path);
}

// A new engine knows nothing. The order is fixed: a preset before what refines it.
void FaceBeautyFilterWorker::ReplaySnapshot() {
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

void FaceBeautyFilterWorker::LogRenderFailure() {
  const int32_t failures = render_failures.load(std::memory_order_relaxed) + 1;
  const bool due = failures >= kFailuresPerLine;
  render_failures.store(due ? 0 : failures, std::memory_order_relaxed);
  if (due) blog(LOG_INFO, "[beauty] render failed");
}

}  // namespace vanta
