#include "landmark_bench.h"

#include <callback/signal.h>

#include <atomic>
#include <cstdio>

#include "landmark/rgba_to_i420.h"
#include "support/movable_clock.h"
#include "support/wait.h"

namespace {

std::atomic<bool> config_folder{true};
std::atomic<bool> hold{false};

}  // namespace

extern "C" int os_get_config_path(char *path, size_t size, const char *name) {
  while (hold) std::this_thread::yield();
  return config_folder ? std::snprintf(path, size, "/config/%s", name) : -1;
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
  ConfigFolder(true);
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

void LandmarkBench::ConfigFolder(bool exists) {
  config_folder = exists;
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
