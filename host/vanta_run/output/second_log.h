// What went through the filter, second by second.
#pragma once

#include <utility>
#include <vector>

#include "capture/frame_meter.h"

namespace vanta_run {

// A record covers one second, or as many as passed without a look: then nobody knows in which of them it was.
struct SecondFigures {
  double start = 0, end = 0;  // seconds into the run
  FrameCounts frames;
};

// Threads: confined by the owner.
class SecondLog {
 public:
  // From here on `counts` count.
  void Start(const FrameCounts &counts);
  // At any time, often. `elapsed`: seconds since the start.
  void Look(double elapsed, const FrameCounts &counts);
  std::vector<SecondFigures> Take() { return std::move(records_); }

 private:
  FrameCounts last_;
  double start_ = 0;  // of the record that is open
  std::vector<SecondFigures> records_;
};

}  // namespace vanta_run
