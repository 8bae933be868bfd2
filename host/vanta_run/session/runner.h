// Plays the stage from warm-up to the last frame, and measures.
#pragma once

#include <cstdint>
#include <functional>

#include "capture/frame_dump.h"
#include "capture/frame_meter.h"
#include "common/failures.h"
#include "common/interrupt.h"
#include "common/options.h"
#include "faces/face_file.h"
#include "input/input.h"
#include "monitor/live_monitor.h"
#include "output/log_sink.h"
#include "output/pictures.h"
#include "output/recorder.h"
#include "output/run_figures.h"
#include "output/second_log.h"
#include "session/beauty_control.h"
#include "session/command_player.h"
#include "session/progress.h"
#include "session/run_limits.h"
#include "session/stage.h"
#include "session/step_run.h"

namespace vanta_run {

// Everything that a run works with; all of it outlives the runner.
struct RunParts {
  const Options &options;
  const Input &input;
  const RunLimits &limits;
  Interrupt &interrupt;
  Progress &progress;
  Failures &failures;  // of what the run is to leave
  LogSink &log;
  BeautyControl &control;
  FrameMeter &meter;
  Stage &stage;
  AbilityHandler &abilities;
  CommandPlayer &commands;
  Pictures &pictures;
  FrameDump *dump;       // null: no frame is dumped
  Recorder *recorder;    // null: nothing is recorded
  FaceFile *faces;       // null: no faces are looked for
  LiveMonitor *monitor;  // null: not wanted
  Pace &pace;
  StepRun *step;                      // null: the run is live
  std::function<void()> start_sound;  // in step
};

// Threads: [control].
class Runner {
 public:
  explicit Runner(const RunParts &parts);

  // False: interrupted before anything was recorded. Throws Failure.
  bool Go(RunFigures &figures);

 private:
  bool WarmUp(RunFigures &figures);
  bool WarmUpLive();
  bool GiveFirstFramesSingly();
  void Begin();
  void BeginLive();
  const char *Play(RunFigures &figures);  // what ended it
  void End(RunFigures &figures);
  bool Drained(double elapsed, uint64_t entered);
  bool LoadsAreShown();
  void PutOffPictures(double elapsed);
  bool AwaitLoads();
  void AwaitRefusals();
  void MarkWhenDue(double elapsed);
  uint64_t FramesIn() const;
  void WaitForALook();
  void TakeLast(RunFigures &figures);
  void TakePair(RunFigures &figures);
  void TakeAggregates(double elapsed, RunFigures &figures);
  void TellLostDisplay();
  void ShowMonitor();
  void Show(double elapsed, const RunFigures &figures);

  const RunParts p_;
  const bool loads_;  // files are read beside the frames; in step frames wait for them
  double at_;  // seconds into the run at which pictures are taken; live, put off until what is asked for is loaded
  const double latest_at_;
  bool loads_shown_;             // what was loaded has been through the filter
  uint64_t out_with_loads_ = 0;  // frames that will have left the filter by then; 0: not known yet

  FrameCounts counts_at_start_;
  SecondLog seconds_;
  LineCounts lines_at_start_;
  uint32_t canvas_at_start_ = 0, lagged_at_start_ = 0;
  double next_mark_ = 0;  // seconds into the run
  double next_look_ = 0;  // likewise, at the ten-second records
  bool marked_at_ = false;
  bool lost_display_told_ = false;
  uint64_t last_entered_ = 0;
  double last_entered_time_ = 0;  // seconds into the run
};

}  // namespace vanta_run
