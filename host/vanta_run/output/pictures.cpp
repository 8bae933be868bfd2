#include "output/pictures.h"

#include "capture/frame_picture.h"

namespace vanta_run {

Pictures::Pictures(const Options &options) {
  if (!options.snapshot.empty()) snapshot_.emplace(options.snapshot);
  if (!options.matte.empty()) matte_.emplace(options.matte);
  if (!options.compare.empty()) compare_.emplace(options.compare);
}

void Pictures::TakeCanvasWhenDue(double elapsed, double at, obs_sceneitem_t *input) {
  if (grab_ && grab_->Came()) {
    canvas_ = grab_->Taken();
    grab_.reset();
  }
  if ((!snapshot_ && !matte_) || grab_ || !canvas_.picture.empty() || elapsed < at) return;
  grab_.emplace(matte_ ? input : nullptr);
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

void Pictures::Write(Failures &failures) {
  const auto write = [](std::optional<PendingFile> &file, const cv::Mat &picture) {
    if (!file) return;
    if (picture.empty()) {
      throw Failure(kExitOutput, file->final_path(), "libobs delivered no picture", "run longer, or at a lower --fps");
    }
    WritePng(*file, picture);
  };
  failures.Try([&] { write(snapshot_, canvas_.picture); });
  failures.Try([&] { write(matte_, canvas_.matte); });
  failures.Try([this] { WriteComparison(); });
}

void Pictures::WriteComparison() {
  if (!compare_) return;
  if (before_.empty() || after_.empty()) {
    throw Failure(kExitOutput, compare_->final_path(), "no marked frame came back from the filter",
                  "run longer, or with a lower --engine-delay");
  }
  WritePng(*compare_, SideBySide(before_, "before", after_, untouched_ ? "after (passed untouched)" : "after"));
}

}  // namespace vanta_run
