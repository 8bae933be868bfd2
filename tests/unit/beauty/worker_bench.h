// A beauty worker between a scripted engine, a paper host and a clock that stands still.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "beauty/face_beauty_filter_worker.h"
#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"
#include "support/movable_clock.h"
#include "support/scripted_engine.h"
#include "test_frame.h"

namespace vanta_test {

inline constexpr uint32_t kWidth = 64;
inline constexpr uint32_t kHeight = 48;

// Whether a thread of this process sleeps, as one does that waits for a lock.
bool IsAsleep(uint64_t thread);

class WorkerBench : public testing::Test {
 protected:
  WorkerBench();
  ~WorkerBench() override;

  void MakeWorker();
  void StartWorker();  // until it is running
  void StopWorker();   // and joined

  // True when the frame was taken in. The worker has finished the pass over it when this returns.
  bool Feed(uint64_t timestamp = 1, uint32_t width = kWidth, uint32_t height = kHeight, uint8_t fill = 16);
  bool FeedFrame(obs_source_frame *frame);
  // Waits for the worker's passes over frames, counted from its start; nudges it where a wake-up was lost.
  bool WaitForPasses(size_t passes);
  // Sends a frame towards a closed gate and waits until the worker stands there.
  bool HoldAt(Gate gate, uint32_t width = kWidth, uint32_t height = kHeight);
  // Wakes the worker and changes nothing.
  void Nudge();
  int nudges() const { return nudges_; }

  struct Dequeued {
    bool success;
    int32_t type;
    std::shared_ptr<LX::FrameData> bgra;
    TestFrame frame;
  };
  Dequeued Dequeue(uint32_t width = kWidth, uint32_t height = kHeight);

  // Runs the statistics step so often, one second each.
  void Tick(int times);
  // The aggregate that the tenth step hands on.
  StatisticsSample TenSecondReport();

  // What the engine was told since its creation, without the frames: its start-up calls left out.
  std::vector<std::string> CommandsOf(int engine);

  LogCapture log_;
  obs_source parent_;
  obs_source filter_;
  std::shared_ptr<vanta::FaceBeautyFilterWorker> worker_;
  size_t passes_ = 0;

 private:
  // A wake-up that was lost is made good by a nudge.
  bool WaitWithNudge(const std::function<bool()> &condition, const char *what);

  bool first_tick_ = true;
  int entered_ = 0;
  int nudges_ = 0;
};

}  // namespace vanta_test
