// A run on the clock that is held: every frame of the input goes through the filters and into the recording once.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "capture/frame_meter.h"
#include "clock/pace.h"
#include "clock/worker_gate.h"
#include "common/interrupt.h"
#include "input/input.h"
#include "output/recorder.h"
#include "session/progress.h"
#include "session/stage.h"

namespace vanta_run {

// Holds a tick until the faces are found in the picture that the landmark filter took in it. A picture whose signal the
// worker missed is done without: it is not at work then.
class LandmarkGate {
 public:
  explicit LandmarkGate(WorkerKind kind) : gate_(kind, [this] { LookForWorker(); }) {}
  uint64_t given_up() const { return gate_.given_up(); }
  // What it has answered until now is not of the run.
  void StartOver() { gate_.StartOver(); }

 private:
  void LookForWorker();

  int idle_reminders_ = 0;
  WorkerGate gate_;
};

// The beauty filter keeps a frame back while its worker has the next one, so a frame is drawn in the tick in which the
// one behind it enters. Frames of our own go first, while the engine starts, and one goes last, to bring the last one
// out; nobody sees them.
// Threads: [control], except where told.
class StepRun {
 public:
  // All must outlive it. `recorder` may be null.
  StepRun(const Input &input, Stage &stage, FrameMeter &meter, Recorder *recorder, Pace &pace, Interrupt &interrupt,
          Progress &progress);
  ~StepRun();
  StepRun(const StepRun &) = delete;
  StepRun &operator=(const StepRun &) = delete;

  // Until the engine has answered and one frame is kept back; the clock is running. False: interrupted.
  bool WarmUp();
  // Holds the clock, starts the sound, and shows the stage; the first frame arrives with the first look. Throws
  // Failure.
  void Begin(const std::function<void()> &start_sound);
  // After each look: starts the recording right before the first frame is drawn. Throws Failure.
  void Look();
  // The input has ended, and its frames have entered. Throws Failure when there were none.
  bool Drained();
  // Brings the frame out that is kept back, and ends the recording behind it.
  void FinishFrames();
  // Until the muxer has all of it; then the clock runs again.
  void LetGo();

  // Of the input, until FinishFrames.
  uint64_t frames_in() const;
  uint64_t frames_out() const;
  // Frames that the filter's worker did not finish in a minute.
  uint64_t given_up() const { return gate_.given_up() + landmarks_.given_up() + landmarks_on_gpu_.given_up(); }

 private:
  bool WarmUpEngine();
  bool WarmUpLandmarks();
  bool PushAndWait();
  bool AwaitReal(const std::function<bool()> &condition, double seconds);
  bool GoesToWorker() const;
  void OnEnter();  // [tick]
  bool FrameComesNext() const;

  const Input &input_;
  Stage &stage_;
  FrameMeter &meter_;
  Recorder *const recorder_;
  Pace &pace_;
  Interrupt &interrupt_;
  Progress &progress_;
  WorkerGate gate_;
  LandmarkGate landmarks_{WorkerKind::kLandmark}, landmarks_on_gpu_{WorkerKind::kLandmarkGpu};
  bool worker_runs_ = false;     // it has taken a frame
  bool last_to_worker_ = false;  // the last frame that entered went to it
  bool keeps_one_ = false;       // the filter keeps a frame back
  bool interrupted_ = false;
  uint64_t entered_before_ = 0, left_before_ = 0;  // when the run began
  std::optional<uint64_t> frames_in_;              // once it has ended
  std::optional<double> ended_at_;                 // seconds into the run at which the input ended
};

}  // namespace vanta_run
