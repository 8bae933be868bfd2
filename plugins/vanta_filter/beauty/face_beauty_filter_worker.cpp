// Life of the worker and its host-side operations.
#include "beauty/face_beauty_filter_worker.h"

#include <util/base.h>

#include <system_error>
#include <thread>

#include "engine/faceless_instance.h"
#include "frames/conversion/copy_frame.h"
#include "platform/clock.h"
#include "vanta_filter/module/host_frame.h"

namespace vanta {

std::shared_ptr<FaceBeautyFilterWorker> FaceBeautyFilterWorker::Create(obs_source_t *source) {
  return std::shared_ptr<FaceBeautyFilterWorker>(new FaceBeautyFilterWorker(source), EndLife);
}

void FaceBeautyFilterWorker::EndLife(FaceBeautyFilterWorker *worker) noexcept {
  if (!NoJoinScope::Stands()) {
    delete worker;
    return;
  }
  try {
    std::thread([worker] { delete worker; }).detach();
  } catch (const std::system_error &) {
    worker->stop();  // without a thread that waits the object stays, but its threads and the engine go
  }
}

FaceBeautyFilterWorker::FaceBeautyFilterWorker(obs_source_t *source)
    : source_(source), parent_(obs_filter_get_parent(source)) {
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker created");
  delay_stats_.SetSourceId(obs_source_get_id(source_));
  frame_factory_ = std::make_shared<FaceBeautyFrameFactory>();
  if (EnableCreateLXGLContext())
    CreateGlWindow();
  else
    blog(LOG_INFO, "[beauty] EnableCreateLXGLContext is false");
}

void FaceBeautyFilterWorker::CreateGlWindow() {
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

bool FaceBeautyFilterWorker::start() {
  start_time_us_ = SteadyClockUs();
  thread_.Start([this] { ThreadMain(); });
  const int result = thread_.SetPriority(kThreadPriorityHighest);
  blog(LOG_INFO, "[beauty] SetThreadPriority %d,%d", result, kThreadPriorityHighest);
  stattistics_ = std::make_shared<Stattistics>([this](bool, float, float) { CollectStatistics(); });
  return true;
}

void FaceBeautyFilterWorker::stop() {
  if (stattistics_) stattistics_->RequestStop();
  uint32_t state = state_.load();
  while (state != kUninitialised && !state_.compare_exchange_weak(state, kStopped)) {
  }
  stop_flag_ = true;
  MutexLock lock(wake_mutex_);
  wake_cond_.NotifyAll();
}

FaceBeautyFilterWorker::~FaceBeautyFilterWorker() {
  // A start that threw half-way has left a running thread that nobody stopped: joining it would never end.
  stop();
  stattistics_.reset();
  if (thread_.Joinable()) thread_.Join();
  FacelessInstance::GetInstance()->RemoveStatistics(source_);
  MutexLock lock(settings_mutex_);
  settings_ = nullptr;
}

bool FaceBeautyFilterWorker::EnqueueFrame(obs_source_frame *frame) {
  if (stattistics_) ++stattistics_->in_count;
  delay_stats_.OnFrameArrived();
  const uint32_t dump_id = vanta::GetDumpId(frame);
  PooledFramePtr pooled;
  if (dump_id != 0) {
    blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:%ld timestamp:%lld",
         static_cast<long>(dump_id), static_cast<long long>(frame->timestamp));
    pooled = frame_factory_->TakeDumpFrame(dump_id, frame->width, frame->height, frame->timestamp);
  } else {
    pooled = frame_factory_->TakeFreeFrame(frame->width, frame->height);
  }
  if (!pooled) {
    delay_stats_.OnEnqueueFailed();
    wake_cond_.NotifyAll();
    return false;
  }
  if (pooled->data && (static_cast<uint32_t>(pooled->data->width) != frame->width ||
                       static_cast<uint32_t>(pooled->data->height) != frame->height))
    blog(LOG_WARNING, "[beauty] intput frame size != need size!");
  pooled->created_ms = static_cast<uint64_t>(SystemTickMs());
  if (pooled->data) {
    pooled->data->timestamp = frame->timestamp;
    pooled->data->stamp = pooled->created_ms;
    pooled->data->color_code = 3;
  }
  pooled->flip = frame->flip;
  frame_factory_->PutInput(std::move(pooled), frame);
  // Without wake_mutex: a wake-up that falls between the thread's test and its wait is repaired by the next frame.
  wake_cond_.NotifyAll();
  return true;
}

bool FaceBeautyFilterWorker::DequeueFrame(obs_source_frame *frame, int32_t *type,
                                          std::shared_ptr<LX::FrameData> *bgra_frame) {
  const bool delivered = DequeueFinishedFrame(frame, type, bgra_frame);
  if (delivered && first_frame_) {
    first_frame_ = false;
    blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker first frame dequeue success cost [%lld]",
         static_cast<long long>(SteadyClockUs() - start_time_us_));
  }
  return delivered;
}

bool FaceBeautyFilterWorker::DequeueFinishedFrame(obs_source_frame *frame, int32_t *type,
                                                  std::shared_ptr<LX::FrameData> *bgra_frame) {
  PooledFramePtr pooled = frame_factory_->TakeOutput(frame->width, frame->height);
  if (!pooled) {
    delay_stats_.OnEmptyDequeue();
    return false;
  }
  delay_stats_.OnFrameTaken();
  const std::shared_ptr<LX::FrameData> &data = pooled->data;
  const int32_t pixel_format = data ? data->pixel_format : -1;
  bool delivered;
  int32_t delivered_type = 1;
  if (pixel_format >= 3 && pixel_format <= 5) {
    *bgra_frame = data;
    delivered_type = pixel_format;
    delivered = true;
  } else {
    delivered = frame_factory_->CopyToObsFrame(*pooled, frame);
  }
  uint64_t frame_age = 0;
  uint64_t data_age = 0;
  if (delivered) {
    *type = delivered_type;
    const auto now = static_cast<uint64_t>(SystemTickMs());
    frame_age = FrameAgeMs(*pooled, now);
    data_age = FrameDataAgeMs(*pooled, now);
  }
  if (stattistics_) ++stattistics_->out_count;
  delay_stats_.OnFrameOut(static_cast<uint32_t>(frame_age));
  delay_stats_.OnFrameDataOut(static_cast<uint32_t>(data_age));
  if (data && data->dump_flag != 0) KeepDump(*data, frame);
  frame_factory_->Recycle(std::move(pooled));
  return delivered;
}

void FaceBeautyFilterWorker::KeepDump(const LX::FrameData &data, obs_source_frame *frame) {
  blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:%lld ",
       static_cast<long long>(data.timestamp));
  const uint32_t id = frame_factory_->GetDumpId(data.timestamp);
  SetDumpId(frame, id);
  if (id == 0) return;
  dump_id_ = static_cast<int32_t>(id);
  dump_json_ = data.dump_text;
}

std::string &FaceBeautyFilterWorker::GetDumpJson(std::string &out, uint32_t id) {
  if (static_cast<int32_t>(id) == dump_id_) {
    blog(LOG_WARNING, "[beauty][DumpImage] beauty_fiter, get dump json for %d", static_cast<int>(id));
    out = dump_json_;
  } else {
    blog(LOG_WARNING, "[beauty][DumpImage] beauty_fiter, can not get dump json for %d(%d)", static_cast<int>(id),
         dump_id_);
    out.clear();
  }
  return out;
}

void FaceBeautyFilterWorker::CollectStatistics() {
  const NoJoinScope no_join;
  stat_samples_.push_back(delay_stats_.MakeSample());
  ++stat_batch_count_;
  ++stat_ability_count_;
  if (stat_batch_count_ < 10) return;
  stat_batch_count_ = 0;
  StatisticsSample report = DelayStats::Aggregate(stat_samples_);
  stat_samples_.clear();
  if (stat_ability_count_ >= 300) RefreshAbilityText();
  report.ability_text = ability_text_;
  FacelessInstance::GetInstance()->UpdateStatistics(source_, report);
}

void FaceBeautyFilterWorker::RefreshAbilityText() {
  stat_ability_count_ = 0;
  MutexLock lock(render_mutex_);
  if (!render_) return;
  ability_text_ = render_->GetStats();
  render_->ClearStats();
}

bool FaceBeautyFilterWorker::CopyFrame(obs_source_frame *frame, const LX::FrameData &i420) {
  return CopyI420ToHostFrame(frame, i420);
}

}  // namespace vanta
