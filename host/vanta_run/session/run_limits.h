// What ends a run, and how long it will take.
#pragma once

#include <cstdint>

#include "common/options.h"
#include "input/input.h"

namespace vanta_run {

struct RunLimits {
  double seconds = 0;   // 0: none
  uint64_t frames = 0;  // 0: none
  double expected = 0;  // seconds that the run will take; 0: no known end

  // `script_end`: seconds into the run at which the last command of a script is due; 0 without one.
  RunLimits(const Options &options, const Input &input, double script_end);
  bool Reached(double elapsed, uint64_t entered) const {
    return (seconds > 0 && elapsed >= seconds) || (frames > 0 && entered >= frames);
  }
};

}  // namespace vanta_run
