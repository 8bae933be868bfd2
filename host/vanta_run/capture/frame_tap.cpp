// The two private filters that stand on either side of the beauty filter.
#include <chrono>
#include <obs.hpp>

#include "capture/frame_meter.h"
#include "vanta_linear_light.h"

namespace vanta_run {
namespace {

constexpr char kBeforeId[] = "vanta_run_before";
constexpr char kAfterId[] = "vanta_run_after";
constexpr char kMeterKey[] = "meter";

struct Tap {
  obs_source_t *source;
  FrameMeter *meter;
};

void *Create(obs_data_t *settings, obs_source_t *source) {
  // Private sources of this program only: the settings never leave the process.
  const auto address = static_cast<uintptr_t>(obs_data_get_int(settings, kMeterKey));
  return new Tap{source, reinterpret_cast<FrameMeter *>(address)};
}

void Destroy(void *data) {
  delete static_cast<Tap *>(data);
}

obs_source_frame *Before(void *data, obs_source_frame *frame) {
  static_cast<Tap *>(data)->meter->Enter(frame);
  return frame;
}

obs_source_frame *After(void *data, obs_source_frame *frame) {
  static_cast<Tap *>(data)->meter->Leave(frame);
  return frame;
}

// Times what lies behind it: the beauty filter's own drawing and the source's.
void DrawAfter(void *data, gs_effect_t *) {
  auto *tap = static_cast<Tap *>(data);
  obs_source_t *const parent = obs_filter_get_parent(tap->source);
  if (parent == nullptr) return;
  const vanta_host::LinearLight light(parent);
  const auto start = std::chrono::steady_clock::now();
  obs_source_skip_video_filter(tap->source);
  tap->meter->Drawn(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
}

void RegisterOnce() {
  static const bool registered = [] {
    obs_source_info info{};
    info.type = OBS_SOURCE_TYPE_FILTER;
    info.output_flags = OBS_SOURCE_ASYNC_VIDEO | OBS_SOURCE_CAP_DISABLED;
    info.get_name = [](void *) { return "vanta-run tap"; };
    info.create = Create;
    info.destroy = Destroy;
    info.id = kBeforeId;
    info.filter_video = Before;
    obs_register_source(&info);
    info.id = kAfterId;
    info.filter_video = After;
    info.video_render = DrawAfter;
    obs_register_source(&info);
    return true;
  }();
  static_cast<void>(registered);
}

}  // namespace

obs_source_t *CreateTap(FrameMeter &meter, TapSide side) {
  RegisterOnce();
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_int(settings, kMeterKey, static_cast<long long>(reinterpret_cast<uintptr_t>(&meter)));
  return obs_source_create_private(side == TapSide::kBefore ? kBeforeId : kAfterId, "tap", settings);
}

}  // namespace vanta_run
