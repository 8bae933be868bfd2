// `FaceBeautyFilterWorker` stands between the filter's host callbacks and the engine: it owns the thread that runs the
// engine and the factory whose queues carry frames to it and back.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <obs.hpp>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "beauty/frame_orientation.h"
#include "engine/command_receiver.h"
#include "engine/lumivex_processor.h"
#include "frames/face_beauty_frame_factory.h"
#include "platform/cond_var.h"
#include "platform/thread.h"
#include "stats/delay_stats.h"
#include "stats/frame_cost_recorder.h"
#include "stats/stattistics.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

// Nothing on [video] waits for the engine: EnqueueFrame and DequeueFrame take the factory's short queue locks only.
// Delay is the number of frames standing in the output queue.
// Owns: the thread, the processor, the factory, a copy of the settings. Borrows: the source and its parent.
// Threads: Create, start [control]; EnqueueFrame, DequeueFrame, GetDumpJson [video]; update, stop, Command [any]; the
// last reference may go on any. render_mutex and tasks_mutex are never held together, wake_mutex never under
// render_mutex.
class FaceBeautyFilterWorker final : public CommandReceiver {
 public:
  // When the last reference goes the worker is stopped and its threads are joined, which waits for the frame in
  // progress. Where a NoJoinScope stands, a thread made for it waits instead and the reference goes at once.
  static std::shared_ptr<FaceBeautyFilterWorker> Create(obs_source_t *source);
  FaceBeautyFilterWorker(const FaceBeautyFilterWorker &) = delete;
  FaceBeautyFilterWorker &operator=(const FaceBeautyFilterWorker &) = delete;

  // Always true; throws std::system_error when a thread cannot be made.
  bool start();
  // Joins nothing, may come more than once.
  void stop() VANTA_EXCLUDES(wake_mutex_);
  bool IsRunning() const { return state_.load() == kRunning; }
  bool IsUninited() const { return state_.load() == kUninitialised; }

  // Takes a copy of the pixels. False: the frame is not processed.
  bool EnqueueFrame(obs_source_frame *frame);
  // The oldest finished frame: its pixels go into `frame` (type 1), or it comes back in `bgra_frame` (types 3, 4, 5).
  // False leaves `type` as it was.
  bool DequeueFrame(obs_source_frame *frame, int32_t *type, std::shared_ptr<LX::FrameData> *bgra_frame);
  // The JSON text of the dumped frame `id`; empty when another one was dumped last.
  std::string &GetDumpJson(std::string &out, uint32_t id);

  // As frames/conversion/copy_frame.h has it; the frame path does not use it. Threads: any.
  static bool CopyFrame(obs_source_frame *frame, const LX::FrameData &i420);

  // Null clears the worker's copy.
  void update(obs_data_t *settings);

 private:
  enum State : uint32_t { kUninitialised = 0, kStopped = 1, kRunning = 2 };

  // Construction and end.
  explicit FaceBeautyFilterWorker(obs_source_t *source);
  ~FaceBeautyFilterWorker();
  void CreateGlWindow();
  static void EndLife(FaceBeautyFilterWorker *worker) noexcept;  // of the last reference

  // The thread, in the order of its life.
  void ThreadMain();
  void CreateFirstProcessor() VANTA_EXCLUDES(render_mutex_);
  void WaitForInput() VANTA_EXCLUDES(wake_mutex_);
  void ProcessFrames(uint64_t thread_id, PooledFrameQueue &frames);
  void RunTasks() VANTA_EXCLUDES(tasks_mutex_);
  bool ProcessTimed(PooledFrame &frame);
  void ReleaseProcessor() VANTA_EXCLUDES(render_mutex_);

  // One processing step.
  bool ProcessFrame(PooledFrame &frame);
  bool NeedsProcessor(const LX::FrameData &data) VANTA_EXCLUDES(render_mutex_);
  bool InteropRequested();
  void RecreateProcessor(uint32_t width, uint32_t height) VANTA_EXCLUDES(render_mutex_);
  void ReplaySnapshot() VANTA_REQUIRES(render_mutex_);
  void LogRenderFailure();

  // Delay reduction, on the worker thread.
  void TestDelay();
  void DoReduceBeautyDelay();
  void DoneReduceBeautyDelay();

  // Statistics, on the tick's thread.
  void CollectStatistics();
  void RefreshAbilityText() VANTA_EXCLUDES(render_mutex_);

  // Dequeue.
  bool DequeueFinishedFrame(obs_source_frame *frame, int32_t *type, std::shared_ptr<LX::FrameData> *bgra_frame);
  void KeepDump(const LX::FrameData &data, obs_source_frame *frame);

  // Settings.
  void Forward(EngineCall call) override;
  void CallEngine(const EngineCall &call) VANTA_EXCLUDES(render_mutex_);
  OBSData CurrentSettings() VANTA_EXCLUDES(settings_mutex_);
  void UpdateOrientation(obs_data_t *orientation);
  void RequestInterop(obs_data_t *settings) VANTA_EXCLUDES(open_tasks_mutex_);
  struct OpenTask {
    bool pending;
    bool wish;  // meaningful when pending
  };
  OpenTask TakeOpenTask() VANTA_EXCLUDES(open_tasks_mutex_);

  // Constant after construction or start.
  obs_source_t *const source_;
  obs_source_t *const parent_;
  std::shared_ptr<GLFWwindow> gl_window_;  // the engine's hidden GL context; may be empty
  std::shared_ptr<FaceBeautyFrameFactory> frame_factory_;
  std::shared_ptr<Stattistics> stattistics_;
  int64_t start_time_us_ = 0;
  WorkerThread thread_;

  // Any thread.
  std::atomic<uint32_t> state_{kUninitialised};
  std::atomic<bool> stop_flag_{false};
  DelayStats delay_stats_;
  // Written by update, read for each frame. A frame may see part of an update: nothing but one picture depends on it.
  std::atomic<uint32_t> rotate_type_{0};
  std::atomic<bool> hor_flip_{false};
  std::atomic<bool> ver_flip_{false};
  std::atomic<int32_t> rot_deg_{0};

  // [worker].
  uint32_t render_width_ = 0;   // pixels; size the engine was last initialised with
  uint32_t render_height_ = 0;  // pixels
  FrameCostRecorder process_cost_{"beauty_process"};
  std::deque<std::function<void()>> running_tasks_;  // kept between frames: an empty deque costs two allocations
  bool reduce_delay_ = false;
  int64_t last_delay_check_ms_ = 0;  // 0 until the first test
  int32_t reduce_drop_count_ = 0;

  // [video].
  bool first_frame_ = true;  // the first finished frame is still to come
  int32_t dump_id_ = 0;      // of the last dumped frame delivered
  std::string dump_json_;

  // [tick-1s].
  std::vector<StatisticsSample> stat_samples_;  // since the last aggregate
  int32_t stat_batch_count_ = 0;
  int32_t stat_ability_count_ = 0;  // samples since the ability text was last read
  std::string ability_text_;

  Mutex wake_mutex_;  // guards the wait alone
  CondVar wake_cond_;

  Mutex render_mutex_;
  std::shared_ptr<LumivexProcessor> render_ VANTA_GUARDED_BY(render_mutex_);

  Mutex tasks_mutex_;
  std::deque<std::function<void()>> tasks_ VANTA_GUARDED_BY(tasks_mutex_);

  Mutex open_tasks_mutex_;
  std::vector<std::string> open_tasks_ VANTA_GUARDED_BY(open_tasks_mutex_);

  Mutex settings_mutex_;  // a leaf: the worker reads the reference that update swaps
  OBSData settings_ VANTA_GUARDED_BY(settings_mutex_);
};

}  // namespace vanta
