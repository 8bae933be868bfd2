// Takes the snapshot and the comparison at their time and writes them when the run is over.
#pragma once

#include <optional>
#include <string>

#include <opencv2/core.hpp>

#include "frame_meter.h"
#include "options.h"
#include "pending_file.h"

namespace vanta_run {

// Threads: [control].
class Pictures {
 public:
  // Creates the files. Throws Failure(kExitOutput).
  explicit Pictures(const Options &options);

  bool wants_pairs() const { return compare_.has_value(); }
  // `at`: seconds into the run at which pictures are wanted.
  void TakeSnapshotWhenDue(double elapsed, double at);
  // Keeps the newest pair that entered before `at`, or the first one after it.
  void Offer(const FramePair &pair, double entered, double at);
  // Takes what has not been taken yet: the run is about to end.
  void TakeLast();
  // Throws Failure(kExitOutput).
  void Write();

 private:
  std::optional<PendingFile> snapshot_, compare_;
  cv::Mat canvas_, before_, after_;
  bool untouched_ = false;
  bool pair_is_late_ = false;
};

}  // namespace vanta_run
