#include "filter_life.h"

#include <memory>
#include <obs.hpp>

#include "module/host_frame.h"
#include "support/host_double.h"
#include "support/wait.h"

namespace vanta_test {
namespace {

constexpr char kFilterId[] = "face_beauty_filter_v2";

struct FrameDeleter {
  void operator()(obs_source_frame *frame) const {
    bfree(frame->data[0]);
    bfree(frame);
  }
};
using Frame = std::unique_ptr<obs_source_frame, FrameDeleter>;

Frame MakeFrame(uint32_t width, uint32_t height, video_format format) {
  Frame frame(static_cast<obs_source_frame *>(bzalloc(vanta::kHostFrameSize)));
  obs_source_frame_init(frame.get(), format, width, height);
  frame->refs = 2;  // the filter's release leaves it alive
  return frame;
}

}  // namespace

Life::Life() : callbacks_(host_double::Registered(kFilterId)) {
  parent_.width = 64;
  parent_.height = 48;
  filter_.id = kFilterId;
  const OBSDataAutoRelease settings = obs_data_create();
  data_ = callbacks_.create(settings, &filter_);
  filter_.parent = filter_.target = &parent_;
}

Life::~Life() {
  if (end_.joinable()) end_.join();
}

bool Life::Feed(uint32_t width, uint32_t height, video_format format, uint64_t timestamp) {
  const Frame frame = MakeFrame(width, height, format);
  frame->timestamp = timestamp;
  obs_source_frame *out = callbacks_.filter_video(data_, frame.get());
  return out == nullptr;
}

void Life::FeedUntilAt(Gate gate, uint32_t width, uint32_t height) {
  WaitUntil(
      [&] {
        Feed(width, height);
        return scripted_engine::Waiting(gate) > 0;
      },
      "a call at the engine's gate");
}

void Life::Update(int rot_deg, const char *interop) {
  const OBSDataAutoRelease settings = obs_data_create();
  const OBSDataAutoRelease orientation = obs_data_create();
  obs_data_set_int(orientation, "rot_deg", rot_deg);
  obs_data_set_obj(settings, "sceneitem_orientation_info", orientation);
  if (interop) obs_data_set_string(settings, "lx_enable_nvdx_interop", interop);
  callbacks_.update(data_, settings);
}

void Life::Render() {
  const gs_recorder::InGraphics graphics;
  callbacks_.video_render(data_, nullptr);
}

void Life::Remove() {
  callbacks_.filter_remove(data_, &parent_);
}

void Life::BeginEnd() {
  end_ = std::thread([this] { callbacks_.destroy(data_); });
}

}  // namespace vanta_test
