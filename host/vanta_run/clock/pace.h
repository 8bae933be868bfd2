// How the control thread goes through a run: at the machine's pace, or from tick to tick of the clock that is held.
#pragma once

#include <cstdint>

#include "common/interrupt.h"
#include "common/options.h"

namespace vanta_run {

// Live it looks every 20 ms. In step it looks once for each tick, right before the tick begins: what has arrived by
// then is in that tick's picture. Threads: [control].
class Pace {
 public:
  Pace(bool in_step, FrameRate rate, Interrupt &interrupt) : in_step_(in_step), rate_(rate), interrupt_(interrupt) {}

  bool in_step() const { return in_step_; }
  // The run begins: seconds count from that time of the clock. In step the first look is at second 0.
  void StartRun(uint64_t start_ns);
  // Until the next look. True as soon as the run has been interrupted.
  bool Wait();
  // Into the run, as of the last look in step, else of now.
  double Elapsed() const;
  // Into the run, as the machine counts.
  double RealElapsed() const;
  // Ticks since the run began; in step only.
  uint64_t ticks() const { return ticks_; }
  // os_gettime_ns() of second 0.
  uint64_t start_ns() const { return start_ns_; }

 private:
  const bool in_step_;
  const FrameRate rate_;
  Interrupt &interrupt_;
  uint64_t start_ns_ = 0;
  double real_start_ = 0;
  uint64_t looks_ = 0, ticks_ = 0;
};

}  // namespace vanta_run
