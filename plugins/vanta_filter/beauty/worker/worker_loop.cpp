#include "beauty/worker/worker_loop.h"

#include <util/base.h>
#include <util/platform.h>

#include <utility>

#include "beauty/worker/command_forwarder.h"
#include "beauty/worker/delay_reduction.h"
#include "beauty/worker/frame_processing.h"
#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_state.h"
#include "frames/face_beauty_frame_factory.h"
#include "platform/thread.h"
#include "stats/delay_stats.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void WorkerLoop::Run() {
  const NoJoinScope no_join;
  SetCurrentThreadName("FaceBeautyFilterWorker");
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker start");
  const uint64_t id = CurrentThreadId();
  FaceBeautyThreadManagerAddThread(id);
  parts_.processor.CreateFirst();
  while (!parts_.state.StopRequested()) {
    parts_.state.WaitForInput(parts_.frames);
    SetFaceBeautyFilterWorkerThreadId(id, id);
    SetFaceBeautyFilterWorkerThreadTimestamp(id, os_gettime_ns());
    PooledFrameQueue frames;
    if (!parts_.state.StopRequested()) frames = parts_.frames.TakeAllInput();
    if (frames.Empty()) parts_.stats.OnSpuriousWake();
    if (parts_.state.StopRequested()) break;
    ProcessFrames(id, frames);
    // The host's watchdog sees an idle worker as id 0.
    SetFaceBeautyFilterWorkerThreadId(id, 0);
    SetFaceBeautyFilterWorkerThreadTimestamp(id, 0);
  }
  parts_.processor.Release();
  blog(LOG_INFO, "[beauty] FaceBeautyFilterWorker stop");
  SetFaceBeautyFilterWorkerThreadId(id, 0);
  SetFaceBeautyFilterWorkerThreadTimestamp(id, 0);
  FaceBeautyThreadManagerRemoveThread(id);
}

void WorkerLoop::ProcessFrames(uint64_t thread_id, PooledFrameQueue &frames) {
  while (!frames.Empty()) {
    SetFaceBeautyFilterWorkerThreadTimestamp(thread_id, os_gettime_ns());
    PooledFramePtr frame = frames.PopFront();
    parts_.commands.RunTasks();
    if (parts_.processing.Process(*frame)) {
      parts_.frames.PushOutput(std::move(frame));
      parts_.delay_reduction.TestDelay();
    } else {
      parts_.frames.Recycle(std::move(frame));
    }
    PooledFramePtr next = parts_.frames.TakeNextInput();
    if (next) frames.PushBack(std::move(next));
    if (parts_.state.StopRequested()) break;
    FaceBeautyFilterWorkerThreadSleep(thread_id);
  }
}

}  // namespace vanta
