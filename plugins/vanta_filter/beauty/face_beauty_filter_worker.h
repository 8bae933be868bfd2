// `FaceBeautyFilterWorker` stands between the filter's host callbacks and the engine: it owns the thread that runs the
// engine, and the parts that carry frames, commands and settings to that thread and back.
#pragma once

#include <cstdint>
#include <memory>
#include <obs.hpp>
#include <string>

#include "beauty/worker/command_forwarder.h"
#include "beauty/worker/delay_reduction.h"
#include "beauty/worker/frame_exchange.h"
#include "beauty/worker/frame_processing.h"
#include "beauty/worker/interop_requests.h"
#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_loop.h"
#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "beauty/worker/worker_statistics.h"
#include "frames/face_beauty_frame_factory.h"
#include "platform/thread.h"
#include "stats/delay_stats.h"
#include "stats/stattistics.h"

namespace vanta {

// Nothing on [video] waits for the engine: EnqueueFrame and DequeueFrame take the factory's short queue locks only.
// Delay is the number of frames standing in the output queue.
// Owns: the thread, the tick and every part. Borrows: the source and its parent.
// Threads: Create, start [control]; EnqueueFrame, DequeueFrame, GetDumpJson [video]; update, stop, commands [any]; the
// last reference may go on any. No two of the parts' locks are ever held together, but settings_mutex, a leaf, under
// render_mutex.
class FaceBeautyFilterWorker final {
 public:
  // When the last reference goes the worker is stopped and its threads are joined, which waits for the frame in
  // progress. Where a NoJoinScope stands, a thread made for it waits instead and the reference goes at once.
  static std::shared_ptr<FaceBeautyFilterWorker> Create(obs_source_t *source);
  FaceBeautyFilterWorker(const FaceBeautyFilterWorker &) = delete;
  FaceBeautyFilterWorker &operator=(const FaceBeautyFilterWorker &) = delete;

  // Always true; throws std::system_error when a thread cannot be made.
  bool start();
  // Joins nothing, may come more than once.
  void stop();
  bool IsRunning() const { return state_.IsRunning(); }
  bool IsUninited() const { return state_.IsUninited(); }

  // Takes a copy of the pixels. False: the frame is not processed.
  bool EnqueueFrame(obs_source_frame *frame) { return exchange_.EnqueueFrame(frame); }
  // The oldest finished frame: its pixels go into `frame` (type 1), or it comes back in `bgra_frame` (types 3, 4, 5).
  // False leaves `type` as it was.
  bool DequeueFrame(obs_source_frame *frame, int32_t *type, std::shared_ptr<LX::FrameData> *bgra_frame);
  // The JSON text of the dumped frame `id`; empty when another one was dumped last.
  std::string &GetDumpJson(std::string &out, uint32_t id) { return exchange_.GetDumpJson(out, id); }

  // As frames/conversion/copy_frame.h has it; the frame path does not use it. Threads: any.
  static bool CopyFrame(obs_source_frame *frame, const LX::FrameData &i420);

  // Null clears the worker's copy.
  void update(obs_data_t *settings);
  CommandReceiver &commands() { return commands_; }

 private:
  explicit FaceBeautyFilterWorker(obs_source_t *source);
  ~FaceBeautyFilterWorker();
  static void EndLife(FaceBeautyFilterWorker *worker) noexcept;  // of the last reference

  obs_source_t *const source_;

  // In the order of construction; backwards that of destruction. The processor goes last, after the engine's window.
  WorkerState state_;
  WorkerSettings settings_;
  ProcessorHolder processor_;
  DelayStats delay_stats_;
  WorkerStatistics statistics_;
  std::shared_ptr<FaceBeautyFrameFactory> frame_factory_;
  FrameExchange exchange_;
  CommandForwarder commands_;
  InteropRequests interop_requests_;
  FrameProcessing processing_;
  DelayReduction delay_reduction_;
  WorkerLoop loop_;

  // Constant after start.
  std::shared_ptr<Stattistics> stattistics_;
  int64_t start_time_us_ = 0;
  WorkerThread thread_;

  bool first_frame_ = true;  // [video]: the first finished frame is still to come
};

}  // namespace vanta
