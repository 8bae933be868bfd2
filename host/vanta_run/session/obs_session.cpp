#include "session/obs_session.h"

#include <obs-nix-platform.h>
#include <util/bmem.h>

#include <set>
#include <string>

#include "common/failure.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr char kStockRemedy[] = "install the packages obs-plugins and obs-studio";

void OpenStockModule(void *param, const obs_module_info2 *info) {
  auto *wanted = static_cast<std::set<std::string> *>(param);
  if (wanted->count(info->name) == 0) return;
  obs_module_t *module = nullptr;
  if (obs_open_module(&module, info->bin_path, info->data_path) == MODULE_SUCCESS && obs_init_module(module)) {
    wanted->erase(info->name);
  }
}

}  // namespace

ObsSession::ObsSession(_XDisplay *display, const Input &input, const ModulePaths &filter, bool cameras, bool sound) {
  try {
    Start(display, input, filter, cameras, sound);
  } catch (...) {
    vanta_host_detach();
    obs_shutdown();
    throw;
  }
}

ObsSession::~ObsSession() {
  vanta_host_detach();
  obs_shutdown();
  blog(LOG_INFO, "Number of memory leaks: %ld", bnum_allocs());
}

void ObsSession::Start(_XDisplay *display, const Input &input, const ModulePaths &filter, bool cameras, bool sound) {
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(display);
  if (!obs_startup("en-US", nullptr, nullptr)) {
    throw Failure(kExitModule, "libobs", "does not start", "install the package libobs0");
  }
  ResetVideo(input);
  SetLightLevels();
  if (sound) StartSound();
  vanta_host_attach();
  LoadStockModules(cameras);
  LoadFilter(filter);
  obs_post_load_modules();
}

void ObsSession::StartSound() {
  if (obs_get_audio() != nullptr) return;
  obs_audio_info audio{48000, SPEAKERS_STEREO};
  obs_reset_audio(&audio);
}

void ObsSession::ResetVideo(const Input &input) {
  obs_video_info video{};
  video.graphics_module = "libobs-opengl";
  video.fps_num = input.rate.num;
  video.fps_den = input.rate.den;
  video.base_width = video.output_width = input.canvas.width;
  video.base_height = video.output_height = input.canvas.height;
  video.output_format = VIDEO_FORMAT_NV12;
  video.gpu_conversion = true;
  video.colorspace = VIDEO_CS_709;
  video.range = VIDEO_RANGE_PARTIAL;
  video.scale_type = OBS_SCALE_BICUBIC;
  const int result = obs_reset_video(&video);
  if (result == OBS_VIDEO_MODULE_NOT_FOUND) {
    throw Failure(kExitModule, "libobs-opengl", "not found", "install the package libobs0");
  }
  if (result != OBS_VIDEO_SUCCESS) {
    throw Failure(kExitDisplay, "OpenGL", "libobs gets no graphics on this display (" + std::to_string(result) + ")",
                  "install the packages libgl1-mesa-dri and libegl-mesa0");
  }
}

// libobs has none of its own, and without them HDR pictures are black. These are OBS Studio's.
void ObsSession::SetLightLevels() {
  constexpr float kSdrWhite = 300, kHdrPeak = 1000;  // candela a square metre
  obs_set_video_levels(kSdrWhite, kHdrPeak);
}

void ObsSession::LoadStockModules(bool cameras) {
  std::set<std::string> wanted = {"obs-ffmpeg", "obs-x264"};
  if (cameras) wanted.insert("linux-v4l2");
  obs_find_modules2(OpenStockModule, &wanted);
  if (!wanted.empty()) throw Failure(kExitModule, "libobs's plug-in " + *wanted.begin(), "not found", kStockRemedy);
}

void ObsSession::LoadFilter(const ModulePaths &paths) {
  const int result = obs_open_module(&filter_, paths.binary.c_str(), paths.data.c_str());
  if (result != MODULE_SUCCESS || !obs_init_module(filter_)) {
    throw Failure(kExitModule, paths.binary, "libobs cannot load it",
                  "run again with --verbose; the libraries beside it may be missing");
  }
}

}  // namespace vanta_run
