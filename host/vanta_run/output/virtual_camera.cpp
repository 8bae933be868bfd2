#include "output/virtual_camera.h"

#include <string>

#include "common/failure.h"
#include "common/video_device.h"

namespace vanta_run {
namespace {

constexpr char kOption[] = "--virtual-camera";
constexpr char kRemedy[] = "load the kernel's module: modprobe v4l2loopback exclusive_caps=1";

}  // namespace

void RequireVirtualCamera() {
  if (!HasLoopDevice()) throw Failure(kExitModule, kOption, "this system has no v4l2loopback device", kRemedy);
}

VirtualCamera::VirtualCamera() : output_(obs_output_create("virtualcam_output", "virtual camera", nullptr, nullptr)) {
  if (output_ == nullptr) {
    throw Failure(kExitModule, kOption, "libobs's plug-in linux-v4l2 has no such output",
                  "install the package obs-plugins");
  }
  obs_output_set_media(output_, obs_get_video(), obs_get_audio());
  if (obs_output_start(output_)) return;
  const char *reason = obs_output_get_last_error(output_);
  throw Failure(kExitModule, kOption, reason != nullptr ? reason : "no v4l2loopback device takes the picture", kRemedy);
}

VirtualCamera::~VirtualCamera() {
  if (obs_output_active(output_)) obs_output_force_stop(output_);
}

}  // namespace vanta_run
