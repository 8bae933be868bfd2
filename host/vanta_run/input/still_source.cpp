#include "input/still_source.h"

#include <media-io/video-scaler.h>
#include <util/platform.h>

#include "common/failure.h"

namespace vanta_run {
namespace {

constexpr char kSourceId[] = "vanta_run_still";

void RegisterOnce() {
  static const bool registered = [] {
    obs_source_info info{};
    info.id = kSourceId;
    info.type = OBS_SOURCE_TYPE_INPUT;
    info.output_flags = OBS_SOURCE_ASYNC_VIDEO | OBS_SOURCE_CAP_DISABLED;
    info.get_name = [](void *) { return "vanta-run picture"; };
    info.create = [](obs_data_t *, obs_source_t *source) -> void * { return source; };
    info.destroy = [](void *) {};
    obs_register_source(&info);
    return true;
  }();
  static_cast<void>(registered);
}

// Camera colours: BT.709, limited range.
std::vector<uint8_t> ToNv12(const Input &input) {
  const uint32_t width = input.size.width, height = input.size.height;
  video_scale_info from{VIDEO_FORMAT_BGRA, width, height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  video_scale_info to{VIDEO_FORMAT_NV12, width, height, VIDEO_RANGE_PARTIAL, VIDEO_CS_709};
  video_scaler_t *scaler = nullptr;
  if (video_scaler_create(&scaler, &to, &from, VIDEO_SCALE_BICUBIC) != VIDEO_SCALER_SUCCESS) {
    throw Failure(kExitInput, input.path, "its size suits no camera", "give another --size");
  }
  std::vector<uint8_t> nv12(size_t{width} * height * 3 / 2);
  uint8_t *planes[MAX_AV_PLANES] = {nv12.data(), nv12.data() + size_t{width} * height};
  const uint32_t pitches[MAX_AV_PLANES] = {width, width};
  const uint8_t *source[MAX_AV_PLANES] = {input.pixels.data()};
  const uint32_t source_pitches[MAX_AV_PLANES] = {width * 4};
  video_scaler_scale(scaler, planes, pitches, source, source_pitches);
  video_scaler_destroy(scaler);
  return nv12;
}

}  // namespace

StillSource::StillSource(const Input &input, bool playing) : playing_(playing), nv12_(ToNv12(input)) {
  RegisterOnce();
  frame_.format = VIDEO_FORMAT_NV12;
  frame_.width = input.size.width;
  frame_.height = input.size.height;
  frame_.data[0] = nv12_.data();
  frame_.data[1] = nv12_.data() + size_t{input.size.width} * input.size.height;
  frame_.linesize[0] = frame_.linesize[1] = input.size.width;
  video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, frame_.format, frame_.color_matrix,
                                         frame_.color_range_min, frame_.color_range_max);
  source_ = obs_source_create_private(kSourceId, "picture", nullptr);
  obs_source_set_async_unbuffered(source_, true);
  obs_add_tick_callback(OnTick, this);
}

StillSource::~StillSource() {
  obs_remove_tick_callback(OnTick, this);
}

void StillSource::OnTick(void *param, float) {
  auto *self = static_cast<StillSource *>(param);
  if (self->playing_) self->Deliver();
}

void StillSource::Deliver() {
  frame_.timestamp = os_gettime_ns();
  obs_source_output_video(source_, &frame_);
}

}  // namespace vanta_run
