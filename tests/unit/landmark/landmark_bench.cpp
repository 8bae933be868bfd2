#include "landmark_bench.h"

#include <callback/signal.h>

#include <dlfcn.h>

#include <atomic>
#include <cstdio>

#include "landmark/rgba_to_i420.h"
#include "support/movable_clock.h"
#include "support/wait.h"

namespace {

constexpr char kConfigFolder[] = "/config";

std::string config_folder = kConfigFolder;  // set before the worker's thread reads it
std::atomic<bool> hold{false};
std::atomic<bool> fail_conversion{false};

}  // namespace

extern "C" int os_get_config_path(char *path, size_t size, const char *name) {
  while (hold) std::this_thread::yield();
  return config_folder.empty() ? -1 : std::snprintf(path, size, "%s/%s", config_folder.c_str(), name);
}

// libyuv's own, unless it is to fail.
extern "C" int ABGRToI420(const uint8_t *pixels, int stride, uint8_t *y, int stride_y, uint8_t *u, int stride_u,
                          uint8_t *v, int stride_v, int width, int height) {
  static const auto convert = reinterpret_cast<decltype(&ABGRToI420)>(dlsym(RTLD_NEXT, "ABGRToI420"));
  if (fail_conversion) return -1;
  return convert(pixels, stride, y, stride_y, u, stride_u, v, stride_v, width, height);
}

namespace vanta_test {

LandmarkBench::LandmarkBench() {
  MovableClock::Reset();
  gs_recorder::Reset();
  host_double::Reset();
  gl_host_double::Reset();
  scripted_runner::Reset();
  UseGpuRoad(false);
  FacesFound(1);
  signal_handler_connect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this);
}

LandmarkBench::~LandmarkBench() {
  HoldInConfigFolder(false);
  ConfigFolder(kConfigFolder);
  FailConversion(false);
  signal_handler_disconnect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this);
  EXPECT_EQ(gs_recorder::Misuse(), std::vector<std::string>{});
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
  EXPECT_EQ(scripted_runner::Alive(), 0);
  EXPECT_EQ(gl_host_double::ContextsAlive(), 0);
  for (const std::thread::id thread : gs_recorder::ThreadsInGraphics()) EXPECT_EQ(thread, std::this_thread::get_id());
  for (const Message &message : Messages()) {
    EXPECT_NE(message.thread, std::this_thread::get_id());
    EXPECT_EQ(message.graphics_depth, 0) << "a receiver would have to enter graphics";
  }
}

void LandmarkBench::UseGpuRoad(bool on) {
  host_double::Change([on](HostSwitches &switches) { switches.async_gpu_map = on; });
}

void LandmarkBench::FacesFound(size_t count) {
  RunnerScript script;
  script.tree = [count] { return FaceTree(std::vector<ScriptedFace>(count)); };
  scripted_runner::SetScript(script);
}

void LandmarkBench::ConfigFolder(const std::string &path) {
  config_folder = path;
}

void LandmarkBench::FailConversion(bool fail) {
  fail_conversion = fail;
}

void LandmarkBench::HoldInConfigFolder(bool on) {
  hold = on;
}

std::vector<LandmarkBench::Message> LandmarkBench::Messages() {
  std::lock_guard<std::mutex> lock(mutex_);
  return messages_;
}

void LandmarkBench::WaitForMessages(size_t count) {
  WaitUntil([&] { return Messages().size() >= count; }, "messages");
}

uint8_t LandmarkBench::Luma(uint8_t grey) {
  const std::vector<uint8_t> pixels(16, grey);
  const vanta::OwnedFrame frame = vanta::MakeI420Frame(2, 2);
  EXPECT_TRUE(vanta::RGBAtoI420(pixels.data(), 8, frame.get()));
  return frame->data[0][0];
}

void LandmarkBench::Receive(void *param, calldata_t *data) {
  auto *bench = static_cast<LandmarkBench *>(param);
  Message message;
  message.data = static_cast<obs_data_t *>(calldata_ptr(data, "face_point"));
  message.thread = std::this_thread::get_id();
  message.graphics_depth = gs_recorder::GraphicsDepth();
  std::lock_guard<std::mutex> lock(bench->mutex_);
  bench->messages_.push_back(std::move(message));
}

}  // namespace vanta_test
