// Takes the snapshot, its matte and the comparison at their time and writes them when the run is over.
#pragma once

#include <obs.h>

#include <opencv2/core.hpp>
#include <optional>

#include "capture/canvas_grab.h"
#include "capture/frame_meter.h"
#include "common/failures.h"
#include "common/options.h"
#include "common/pending_file.h"

namespace vanta_run {

// Threads: [control].
class Pictures {
 public:
  // Creates the files. Throws Failure(kExitOutput).
  explicit Pictures(const Options &options);

  bool wanted() const { return snapshot_ || matte_ || compare_; }
  bool wants_pairs() const { return compare_.has_value(); }
  // `at`: seconds into the run at which pictures are wanted. `input`: the input's place on the canvas.
  // Asks for the next picture, and takes it at one of the next calls.
  void TakeCanvasWhenDue(double elapsed, double at, obs_sceneitem_t *input);
  // It has been asked for and has not come yet.
  bool awaits_canvas() const { return grab_.has_value(); }
  // Keeps the newest pair that entered before `at`, or the first one after it.
  void Offer(const FramePair &pair, double entered, double at);
  // Each picture by itself: one that fails does not keep the others from being written.
  void Write(Failures &failures);

 private:
  void WriteComparison();

  std::optional<PendingFile> snapshot_, matte_, compare_;
  std::optional<CanvasGrab> grab_;
  CanvasPicture canvas_;
  cv::Mat before_, after_;
  bool untouched_ = false;
  bool pair_is_late_ = false;
};

}  // namespace vanta_run
