// How a host application uses the control object of vanta_filter: a complete program without a window.
//
//   control_object MODULE DATA      the plug-in's file and its data folder; DISPLAY must name an X display
//
// It plays a grey picture through the beauty filter and prints how bright the picture comes out after each step. The
// same steps hold for a camera: all that the control object asks for is that its commands come on the thread that makes
// and removes the filters.
#include <X11/Xlib.h>
#include <obs-nix-platform.h>
#include <obs.h>
#include <util/platform.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>

#include "vanta_filter/engine/i_faceless.h"  // from plugins/vanta_filter/include
#include "vanta_host.h"                      // from host/vanta_host/include

namespace {

constexpr LXBeautyType kBrightness{4};  // engines/lumivex/include/lumivex/lumivex_values.h
constexpr int kGrey = 100;

// ---- Something to play, and something that looks at what comes out: plain libobs ----

std::atomic<int> luma{0};  // of the last frame behind the filter

void RegisterSources() {
  obs_source_info camera{};
  camera.id = "example_camera";
  camera.type = OBS_SOURCE_TYPE_INPUT;
  camera.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  camera.get_name = [](void *) { return "Camera"; };
  camera.create = [](obs_data_t *, obs_source_t *source) { return static_cast<void *>(source); };
  camera.destroy = [](void *) {};
  obs_register_source(&camera);

  obs_source_info gauge = camera;
  gauge.id = "example_gauge";
  gauge.type = OBS_SOURCE_TYPE_FILTER;
  gauge.filter_video = [](void *, obs_source_frame *frame) {
    luma = frame->data[0][0];
    return frame;
  };
  obs_register_source(&gauge);
}

// Sends frames until `reached`, for half a minute at most.
bool PlayUntil(obs_source_t *camera, const std::function<bool()> &reached) {
  obs_source_frame *frame = obs_source_frame_create(VIDEO_FORMAT_NV12, 320, 240);
  std::memset(frame->data[0], kGrey, size_t{frame->linesize[0]} * 240);
  std::memset(frame->data[1], 128, size_t{frame->linesize[1]} * 120);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!reached() && std::chrono::steady_clock::now() < end) {
    frame->timestamp = os_gettime_ns();
    obs_source_output_video(camera, frame);
    os_sleep_ms(10);
  }
  obs_source_frame_destroy(frame);
  return reached();
}

bool StartLibobs(::Display *display) {
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(display);
  if (!obs_startup("en-US", nullptr, nullptr)) return false;
  obs_video_info video{};
  video.graphics_module = "libobs-opengl";
  video.fps_num = 30;
  video.fps_den = 1;
  video.base_width = video.output_width = 320;
  video.base_height = video.output_height = 240;
  video.output_format = VIDEO_FORMAT_NV12;
  video.gpu_conversion = true;
  return obs_reset_video(&video) == OBS_VIDEO_SUCCESS;
}

// ---- The control object ----

// The plug-in exports one function for it. The address stays good to the end of the process.
ILumivex *FindControlObject(obs_module_t *module) {
  using Find = bool (*)(ILumivex **);
  const auto find = reinterpret_cast<Find>(os_dlsym(obs_get_module_lib(module), "FindFacelessInstance"));
  ILumivex *control = nullptr;
  return find != nullptr && find(&control) ? control : nullptr;
}

bool Step(const char *name, bool reached) {
  std::printf("%s: brightness %d\n", name, luma.load());
  return reached;
}

bool UseControlObject(ILumivex &control, obs_source_t *camera) {
  // The snapshot is the whole of what the user has set. Every engine that starts later is given it, so an application
  // sends it before it makes filters, and again whenever the user has changed something. It changes no running engine.
  FacelessEngineSnapshot snapshot;
  snapshot.beauty[kBrightness] = 0.3f;
  control.SetEngineSnapshot(snapshot);

  obs_source_t *filter = obs_source_create("face_beauty_filter_v2", "beauty", nullptr, nullptr);
  obs_source_t *gauge = obs_source_create("example_gauge", "gauge", nullptr, nullptr);
  obs_source_filter_add(camera, filter);
  obs_source_filter_add(camera, gauge);
  bool well = Step("snapshot", PlayUntil(camera, [] { return luma > kGrey; }));
  const int after_snapshot = luma;

  // Commands go to the engines that run. What lies between Begin and End is applied as one change.
  control.BeginBatchCommand();
  control.SetBeautyIntensityWithType(kBrightness, 0.8f);
  control.EndBatchCommand();
  well &= Step("command", PlayUntil(camera, [&] { return luma > after_snapshot; }));

  // The jump lets every filter's frames pass untouched; the number is the application's own reason, for the log.
  control.SetFacelessJumpInfo({true, 7});
  well &= Step("jump", PlayUntil(camera, [] { return luma == kGrey; }));
  control.SetFacelessJumpInfo({false, 0});
  well &= Step("no jump", PlayUntil(camera, [] { return luma > kGrey; }));

  // One record for each filter, renewed every ten seconds: the first comes later than this program runs.
  std::printf("statistics of %zu filters\n", control.GetBeautyStatistics().size());

  // libobs draws filters without a lock on their list: remove them inside its graphics lock.
  obs_enter_graphics();
  obs_source_filter_remove(camera, filter);
  obs_source_filter_remove(camera, gauge);
  obs_leave_graphics();
  obs_source_release(gauge);
  obs_source_release(filter);
  return well;
}

}  // namespace

int main(int argc, char **argv) {
  ::Display *display = XOpenDisplay(nullptr);
  if (argc != 3 || display == nullptr) {
    std::fprintf(stderr, "usage: control_object MODULE DATA, with DISPLAY set to an X display\n");
    return 2;
  }
  bool well = StartLibobs(display);
  vanta_host_attach();
  // The gauge looks at frames in memory. An application that only shows them leaves this switch alone, and they may
  // stay on the GPU.
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, false);
  obs_module_t *module = nullptr;
  well = well && obs_open_module(&module, argv[1], argv[2]) == MODULE_SUCCESS && obs_init_module(module);
  ILumivex *control = well ? FindControlObject(module) : nullptr;
  well = control != nullptr;
  if (well) {
    RegisterSources();
    obs_source_t *camera = obs_source_create("example_camera", "camera", nullptr, nullptr);
    obs_source_set_async_unbuffered(camera, true);
    obs_set_output_source(0, camera);
    well = UseControlObject(*control, camera);
    obs_set_output_source(0, nullptr);
    obs_source_release(camera);
    while (obs_wait_for_destroy_queue()) {
    }
  }
  vanta_host_detach();
  obs_shutdown();
  XCloseDisplay(display);
  return well ? 0 : 1;
}
