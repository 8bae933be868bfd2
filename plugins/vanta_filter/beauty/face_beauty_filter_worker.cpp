#include "beauty/face_beauty_filter_worker.h"

#include <util/base.h>

#include <system_error>
#include <thread>

#include "engine/faceless_instance.h"
#include "frames/conversion/copy_frame.h"
#include "platform/clock.h"

namespace vanta {
namespace {

// The factory logs its size: the worker's own line and its name come before that.
std::shared_ptr<FaceBeautyFrameFactory> MakeFactory(DelayStats &stats, obs_source_t *source) {
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker created");
  stats.SetSourceId(obs_source_get_id(source));
  return std::make_shared<FaceBeautyFrameFactory>();
}

}  // namespace

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
    : source_(source),
      settings_(obs_filter_get_parent(source)),
      processor_(settings_, delay_stats_, state_),
      statistics_(source, delay_stats_, processor_),
      frame_factory_(MakeFactory(delay_stats_, source)),
      exchange_(*frame_factory_, delay_stats_, state_),
      commands_(processor_, state_),
      processing_(processor_, interop_requests_, delay_stats_),
      delay_reduction_(*frame_factory_, delay_stats_),
      loop_({state_, *frame_factory_, commands_, processing_, delay_reduction_, processor_, delay_stats_}) {
  processor_.CreateGlWindow();
}

bool FaceBeautyFilterWorker::start() {
  start_time_us_ = SteadyClockUs();
  thread_.Start([this] { loop_.Run(); });
  const int result = thread_.SetPriority(kThreadPriorityHighest);
  blog(LOG_INFO, "[beauty] SetThreadPriority %d,%d", result, kThreadPriorityHighest);
  stattistics_ = std::make_shared<Stattistics>([this](bool, float, float) {
    const NoJoinScope no_join;
    statistics_.Collect();
  });
  exchange_.SetTick(stattistics_.get());
  return true;
}

void FaceBeautyFilterWorker::stop() {
  if (stattistics_) stattistics_->RequestStop();
  state_.Stop();
}

FaceBeautyFilterWorker::~FaceBeautyFilterWorker() {
  // A start that threw half-way has left a running thread that nobody stopped: joining it would never end.
  stop();
  stattistics_.reset();
  if (thread_.Joinable()) thread_.Join();
  FacelessInstance::GetInstance()->RemoveStatistics(source_);
  settings_.Clear();
}

bool FaceBeautyFilterWorker::DequeueFrame(obs_source_frame *frame, int32_t *type,
                                          std::shared_ptr<LX::FrameData> *bgra_frame) {
  const bool delivered = exchange_.DequeueFrame(frame, type, bgra_frame);
  if (delivered && first_frame_) {
    first_frame_ = false;
    blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker first frame dequeue success cost [%lld]",
         static_cast<long long>(SteadyClockUs() - start_time_us_));
  }
  return delivered;
}

void FaceBeautyFilterWorker::update(obs_data_t *settings) {
  settings_.Clear();
  if (!settings) return;
  settings_.Update(settings, commands_);
  interop_requests_.Request(settings);
}

CommandReceiver &ReceiverOf(FaceBeautyFilterWorker &worker) {
  return worker.commands();
}

bool FaceBeautyFilterWorker::CopyFrame(obs_source_frame *frame, const LX::FrameData &i420) {
  return CopyI420ToHostFrame(frame, i420);
}

}  // namespace vanta
