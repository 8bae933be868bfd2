#include "capture/frame_dump.h"

#include <utility>

#include "capture/frame_picture.h"

namespace vanta_run {
namespace {

void WritePicture(PendingFile &file, const obs_source_frame &frame) {
  const cv::Mat picture = ToPicture(frame);
  if (picture.empty()) {
    throw Failure(kExitOutput, file.final_path(), "libobs has no conversion from the frame's format",
                  "give another input");
  }
  WritePng(file, picture);
}

}  // namespace

FrameDump::FrameDump(const DumpOption &option)
    : frame_(option.frame),
      before_(option.prefix + "-before.png"),
      after_(option.prefix + "-after.png"),
      json_(option.prefix + ".json") {}

void FrameDump::Take(FrameMeter &meter) {
  FramePair pair = meter.TakeDump();
  if (pair.after != nullptr) pair_ = std::move(pair);
}

void FrameDump::Write(uint64_t entered, Failures &failures) {
  if (entered < frame_) {
    throw Failure(kExitOutput, "--dump-frame",
                  "only " + std::to_string(entered) + " frames entered the filter, not " + std::to_string(frame_),
                  "run longer, or give a smaller number");
  }
  if (pair_.after == nullptr) {
    throw Failure(kExitOutput, "--dump-frame", "frame " + std::to_string(frame_) + " did not come back from the filter",
                  "run longer, or give a smaller number");
  }
  failures.Try([this] { WritePicture(before_, *pair_.before); });
  failures.Try([this] { WritePicture(after_, *pair_.after); });
  failures.Try([this] {
    const std::string text = (pair_.applied.empty() ? "{}" : pair_.applied) + "\n";
    json_.Write(text.data(), text.size());
    json_.Commit();
  });
}

}  // namespace vanta_run
