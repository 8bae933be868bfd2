// `DelayReduction` takes a standing delay away by dropping finished frames.
#pragma once

#include <cstdint>

namespace vanta {

class DelayStats;
class FaceBeautyFrameFactory;

// A delay once built up stays, since enqueue and dequeue are paired, until frames are dropped here: one for each frame
// processed, four at most, when the test of each minute finds two or more in the output queue.
// Borrows: the factory and the statistics. Threads: [worker].
class DelayReduction {
 public:
  DelayReduction(FaceBeautyFrameFactory &frames, DelayStats &stats) : frames_(frames), stats_(stats) {}
  DelayReduction(const DelayReduction &) = delete;
  DelayReduction &operator=(const DelayReduction &) = delete;

  // After each frame that went to the output queue.
  void TestDelay();

 private:
  void DoReduceBeautyDelay();
  void DoneReduceBeautyDelay();

  FaceBeautyFrameFactory &frames_;
  DelayStats &stats_;
  bool reduce_delay_ = false;
  int64_t last_delay_check_ms_ = 0;  // 0 until the first test
  int32_t reduce_drop_count_ = 0;
};

}  // namespace vanta
