// Tells how far a run is: a bar on a terminal, plain lines elsewhere.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "monitor/live_region.h"

namespace vanta_run {

struct ProgressState {
  double elapsed = 0;  // seconds
  double total = 0;    // seconds; 0: no known end
  double part = 0;     // 0 to 1, of what ends the run
  uint64_t in = 0, out = 0;
  int64_t delay_ms = -1;    // negative: not known yet
  double real_elapsed = 0;  // seconds of the machine's time
  double left = -1;         // likewise, until the end; negative: not told
};

// Writes to standard error. Threads: [control].
class Progress {
 public:
  // `showing`: tell how far the run is. Somebody who types would have it written over his line.
  Progress(bool quiet, bool showing);
  // A line of its own, above the bar.
  void Say(const std::string &line);
  // The same for what went wrong: quiet or not.
  void Complain(const std::string &line);
  // Rate-limited by itself.
  void Show(const ProgressState &state);
  // The monitor's picture, above the bar from now on. On a terminal only; elsewhere its lines are given to Complain.
  void ShowAbove(std::vector<std::string> lines);
  bool on_terminal() const { return terminal_ && showing_; }
  // Ends the bar's line.
  void End();

 private:
  const bool quiet_;
  const bool showing_;
  const bool terminal_;
  LiveRegion region_{stderr};
  std::vector<std::string> above_;
  double last_ = -1;  // of the machine's time, at the last showing
};

}  // namespace vanta_run
