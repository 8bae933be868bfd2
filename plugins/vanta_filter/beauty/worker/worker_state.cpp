#include "beauty/worker/worker_state.h"

#include "frames/face_beauty_frame_factory.h"

namespace vanta {

void WorkerState::Stop() {
  uint32_t state = state_.load();
  while (state != kUninitialised && !state_.compare_exchange_weak(state, kStopped)) {
  }
  stop_flag_ = true;
  MutexLock lock(wake_mutex_);
  wake_cond_.NotifyAll();
}

void WorkerState::WaitForInput(const FaceBeautyFrameFactory &frames) {
  if (stop_flag_ || frames.HasInput()) return;
  MutexLock lock(wake_mutex_);
  // Tested again under the lock: a stop that falls in between would be lost, and the join would hang.
  if (!stop_flag_) wake_cond_.Wait(wake_mutex_);
}

}  // namespace vanta
