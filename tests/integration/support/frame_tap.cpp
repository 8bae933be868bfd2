#include "integration/support/frame_tap.h"

#include <utility>

namespace vanta_integration {
namespace {

constexpr char kId[] = "test_frame_tap";

}  // namespace

void RegisterFrameTap() {
  obs_source_info info{};
  info.id = kId;
  info.type = OBS_SOURCE_TYPE_FILTER;
  info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  info.get_name = [](void *) { return "Frame tap"; };
  info.create = [](obs_data_t *settings, obs_source_t *) {
    return reinterpret_cast<void *>(static_cast<uintptr_t>(obs_data_get_int(settings, "tap")));
  };
  info.destroy = [](void *) {};
  info.filter_video = [](void *tap, obs_source_frame *frame) { return static_cast<FrameTap *>(tap)->Pass(frame); };
  obs_register_source(&info);
}

FrameTap::FrameTap() {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_int(settings, "tap", static_cast<long long>(reinterpret_cast<uintptr_t>(this)));
  filter_ = obs_source_create(kId, "tap", settings, nullptr);
}

FrameTap::~FrameTap() = default;

std::vector<HostFrame> FrameTap::TakeFrames() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(frames_, {});
}

HostFrame FrameTap::Last() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return HostFrame(*frames_.back().Get());
}

obs_source_frame *FrameTap::Pass(obs_source_frame *frame) {
  if (on_frame_) on_frame_(count_);
  if (keep_) {
    HostFrame copy(*frame);
    const std::lock_guard<std::mutex> lock(mutex_);
    frames_.push_back(std::move(copy));
  }
  ++count_;
  return frame;
}

}  // namespace vanta_integration
