#include "pictures.h"

#include "canvas_grab.h"
#include "failure.h"
#include "frame_picture.h"

namespace vanta_run {

Pictures::Pictures(const Options &options) {
  if (!options.snapshot.empty()) snapshot_.emplace(options.snapshot);
  if (!options.compare.empty()) compare_.emplace(options.compare);
}

void Pictures::TakeSnapshotWhenDue(double elapsed, double at) {
  if (snapshot_ && canvas_.empty() && elapsed >= at) canvas_ = GrabCanvas();
}

void Pictures::Offer(const FramePair &pair, double entered, double at) {
  if (!compare_ || pair.after == nullptr) return;
  const bool late = entered > at;
  if (!after_.empty() && late && (pair_is_late_ || entered > at + 0.5)) return;
  before_ = ToPicture(*pair.before);
  after_ = ToPicture(*pair.after);
  untouched_ = pair.untouched;
  pair_is_late_ = late;
}

void Pictures::TakeLast() {
  TakeSnapshotWhenDue(0, 0);
}

void Pictures::Write() {
  if (snapshot_) {
    if (canvas_.empty()) {
      throw Failure(kExitOutput, snapshot_->final_path(), "libobs delivered no picture",
                    "run longer, or at a lower --fps");
    }
    WritePng(*snapshot_, canvas_);
  }
  if (!compare_) return;
  if (before_.empty() || after_.empty()) {
    throw Failure(kExitOutput, compare_->final_path(), "no marked frame came back from the filter",
                  "run longer, or with a lower --engine-delay");
  }
  WritePng(*compare_, SideBySide(before_, "before", after_, untouched_ ? "after (passed untouched)" : "after"));
}

}  // namespace vanta_run
