// The cost meter of one timed callback.
#pragma once

#include <atomic>
#include <cstdint>

namespace vanta {

// Measures each frame between Start and Stop, warns of those above a tenth of a second, and once a minute writes a line
// with count, cost and rate. The observers of FrameRateCalcCenter are told of frames above half a second, and of the
// minute's average unless every frame took less than a millisecond.
// Threads: the one that runs the timed callback.
class FrameCostRecorder {
 public:
  // `name` opens every line and must outlive the recorder.
  explicit FrameCostRecorder(const char *name) : name_(name) {}

  // At the top of the callback; the first one begins the first minute.
  void Start();
  // At the end, on every way out.
  void Stop();
  // At its owner's end, where the last figures are wanted: the minute so far is reported as a whole one is, to the log
  // and to the observers.
  void Close() { Report(); }

 private:
  void Report();

  const char *const name_;
  int64_t period_start_us_ = 0;  // 0 until the first frame
  int64_t frame_start_us_ = 0;
  int64_t total_cost_us_ = 0;  // these three over the period
  int64_t max_cost_us_ = 0;
  int64_t frame_count_ = 0;
  std::atomic<uint32_t> frames_seen_{0};  // since construction, for a debugger
};

// Stops a recorder on every way out of the scope.
class FrameCostScope {
 public:
  explicit FrameCostScope(FrameCostRecorder &recorder) : recorder_(recorder) { recorder_.Start(); }
  ~FrameCostScope() { recorder_.Stop(); }
  FrameCostScope(const FrameCostScope &) = delete;
  FrameCostScope &operator=(const FrameCostScope &) = delete;

 private:
  FrameCostRecorder &recorder_;
};

}  // namespace vanta
