// A host that knows libobs and nothing else: opens the installed filter, plays pictures through it and shuts down.
// Usage: plain_host MODULE DATA. Prints what it found as "name=value" lines; 0 when all went well.
#include <X11/Xlib.h>
#include <obs-nix-platform.h>
#include <obs.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

namespace {

constexpr char kCamera[] = "plain_camera";
constexpr char kCounter[] = "plain_counter";
constexpr int kWantedFrames = 20;
constexpr std::chrono::seconds kLongest{60};

std::atomic<int> processed{0};

void RegisterCamera() {
  obs_source_info info{};
  info.id = kCamera;
  info.type = OBS_SOURCE_TYPE_INPUT;
  info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  info.get_name = [](void *) { return "Camera"; };
  info.create = [](obs_data_t *, obs_source_t *source) { return static_cast<void *>(source); };
  info.destroy = [](void *) {};
  obs_register_source(&info);
}

void RegisterCounter() {
  obs_source_info info{};
  info.id = kCounter;
  info.type = OBS_SOURCE_TYPE_FILTER;
  info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  info.get_name = [](void *) { return "Counter"; };
  info.create = [](obs_data_t *, obs_source_t *source) { return static_cast<void *>(source); };
  info.destroy = [](void *) {};
  info.filter_video = [](void *, obs_source_frame *frame) {
    ++processed;
    return frame;
  };
  obs_register_source(&info);
}

bool StartVideo(::Display *display) {
  obs_set_nix_platform(OBS_NIX_PLATFORM_X11_EGL);
  obs_set_nix_platform_display(display);
  if (!obs_startup("en-US", nullptr, nullptr)) return false;
  obs_video_info video{};
  video.graphics_module = "libobs-opengl";
  video.fps_num = 100;
  video.fps_den = 1;
  video.base_width = video.output_width = 320;
  video.base_height = video.output_height = 240;
  video.output_format = VIDEO_FORMAT_NV12;
  video.colorspace = VIDEO_CS_709;
  video.range = VIDEO_RANGE_PARTIAL;
  video.gpu_conversion = true;
  return obs_reset_video(&video) == OBS_VIDEO_SUCCESS;
}

bool OpenFilter(const char *binary, const char *data) {
  obs_module_t *module = nullptr;
  const bool opened = obs_open_module(&module, binary, data) == MODULE_SUCCESS && obs_init_module(module);
  const char *name = opened ? obs_source_get_display_name("face_beauty_filter_v2") : nullptr;
  std::printf("display_name=%s\n", name ? name : "");
  return name != nullptr;
}

// Where the libraries that the plug-in needs were really loaded from.
void PrintLibraries() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  std::string last;
  while (std::getline(maps, line)) {
    const size_t at = line.find('/');
    if (at == std::string::npos) continue;
    const std::string path = line.substr(at);
    if (path == last ||
        (path.find("libvanta_host") == std::string::npos && path.find("libLumivex") == std::string::npos))
      continue;
    last = path;
    std::printf("library=%s\n", path.c_str());
  }
}

bool PlayPictures(obs_source_t *camera) {
  obs_source_frame *frame = obs_source_frame_create(VIDEO_FORMAT_NV12, 64, 48);
  std::memset(frame->data[0], 100, size_t{frame->linesize[0]} * 48);
  std::memset(frame->data[1], 128, size_t{frame->linesize[1]} * 24);
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (processed < kWantedFrames && std::chrono::steady_clock::now() < end) {
    frame->timestamp = os_gettime_ns();
    obs_source_output_video(camera, frame);
    std::this_thread::yield();
  }
  obs_source_frame_destroy(frame);
  std::printf("frames=%d\n", processed >= kWantedFrames ? kWantedFrames : processed.load());
  return processed >= kWantedFrames;
}

bool FilterPictures() {
  obs_source_t *camera = obs_source_create(kCamera, "camera", nullptr, nullptr);
  obs_source_t *filter = obs_source_create("face_beauty_filter_v2", "beauty", nullptr, nullptr);
  obs_source_t *counter = obs_source_create(kCounter, "counter", nullptr, nullptr);
  obs_source_set_async_unbuffered(camera, true);
  obs_source_filter_add(camera, filter);
  obs_source_filter_add(camera, counter);
  obs_set_output_source(0, camera);
  const bool played = filter && PlayPictures(camera);
  obs_set_output_source(0, nullptr);
  obs_enter_graphics();
  obs_source_filter_remove(camera, filter);
  obs_source_filter_remove(camera, counter);
  obs_leave_graphics();
  obs_source_release(counter);
  obs_source_release(filter);
  obs_source_release(camera);
  return played;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  ::Display *display = XOpenDisplay(nullptr);
  if (!display) return 3;
  bool well = StartVideo(display);
  if (well) {
    RegisterCamera();
    RegisterCounter();
    well = OpenFilter(argv[1], argv[2]);
    PrintLibraries();
    obs_post_load_modules();
    well = well && FilterPictures();
    obs_wait_for_destroy_queue();
  }
  obs_shutdown();
  std::printf("leaks=%ld\n", bnum_allocs());
  XCloseDisplay(display);
  return well && bnum_allocs() == 0 ? 0 : 1;
}
