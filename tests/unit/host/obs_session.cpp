#include "obs_session.h"

#include <obs-nix-platform.h>

#include "virtual_display.h"

namespace vanta_test {

void OpenDisplay() {
  static vanta_run::VirtualDisplay display;
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(display.connection());
}

bool StartVideo() {
  obs_video_info video{};
  video.graphics_module = "libobs-opengl";
  video.fps_num = 30;
  video.fps_den = 1;
  video.base_width = video.output_width = 64;
  video.base_height = video.output_height = 64;
  video.output_format = VIDEO_FORMAT_NV12;
  video.colorspace = VIDEO_CS_709;
  video.range = VIDEO_RANGE_PARTIAL;
  video.scale_type = OBS_SCALE_BILINEAR;
  return obs_reset_video(&video) == OBS_VIDEO_SUCCESS;
}

}  // namespace vanta_test
