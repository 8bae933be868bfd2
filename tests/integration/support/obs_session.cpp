#include "integration/support/obs_session.h"

#include <gtest/gtest.h>
#include <obs-nix-platform.h>
#include <util/bmem.h>

#include <atomic>

#include "integration/support/display.h"
#include "integration/support/fed_source.h"
#include "integration/support/frame_tap.h"
#include "support/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

std::atomic<uint64_t> ticks{0};

void CountTick(void *, float) {
  ++ticks;
}

bool ResetVideo(const SessionOptions &options) {
  obs_video_info video{};
  video.graphics_module = "libobs-opengl";
  video.fps_num = options.fps;
  video.fps_den = 1;
  video.base_width = video.output_width = options.width;
  video.base_height = video.output_height = options.height;
  video.output_format = VIDEO_FORMAT_NV12;
  video.colorspace = VIDEO_CS_709;
  video.range = VIDEO_RANGE_PARTIAL;
  video.scale_type = OBS_SCALE_BILINEAR;
  video.gpu_conversion = true;
  return obs_reset_video(&video) == OBS_VIDEO_SUCCESS;
}

obs_module_t *OpenModule(const std::string &binary, const std::string &data) {
  obs_module_t *module = nullptr;
  if (obs_open_module(&module, binary.c_str(), data.c_str()) != MODULE_SUCCESS) return nullptr;
  return obs_init_module(module) ? module : nullptr;
}

}  // namespace

ObsSession::ObsSession(const SessionOptions &options) {
  if (!Start(options)) ADD_FAILURE() << "libobs does not start";
}

bool ObsSession::Start(const SessionOptions &options) {
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(Display());
  if (!obs_startup("en-US", nullptr, nullptr) || !ResetVideo(options)) return false;
  const obs_audio_info audio{48000, SPEAKERS_STEREO};
  if (!obs_reset_audio(&audio)) return false;
  vanta_host_attach();
  RegisterFedSource();
  RegisterFrameTap();
  obs_add_tick_callback(CountTick, nullptr);
  const std::string stock = VANTA_TEST_STOCK_LIBRARIES "/obs-plugins/obs-ffmpeg.so";
  if (options.stock_media && !OpenModule(stock, VANTA_TEST_STOCK_DATA "/obs-plugins/obs-ffmpeg")) return false;
  module_ = OpenModule(options.module, VANTA_TEST_DATA);
  if (!module_) return false;
  obs_post_load_modules();
  return true;
}

ObsSession::~ObsSession() {
  obs_set_output_source(0, nullptr);
  obs_wait_for_destroy_queue();
  obs_remove_tick_callback(CountTick, nullptr);
  vanta_host_detach();
  obs_shutdown();
  EXPECT_EQ(bnum_allocs(), 0) << "memory of libobs left over";
}

ILumivex &ObsSession::Control() const {
  return *static_cast<ILumivex *>(vanta_host_get_faceless());
}

bool WaitForTicks(int count) {
  const uint64_t until = ticks + static_cast<uint64_t>(count);
  return vanta_test::WaitUntil([&] { return ticks >= until; }, "a round of the graphics thread");
}

size_t CountReports(int32_t id, const std::string &body) {
  size_t count = 0;
  int32_t found_id = 0;
  char found[1024];
  uint64_t time = 0;
  for (size_t index = 0; vanta_host_get_report(index, &found_id, found, sizeof(found), &time); ++index)
    if (found_id == id && body == found) ++count;
  return count;
}

}  // namespace vanta_integration
