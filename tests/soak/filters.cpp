// Cameras with filters in real time, and what they take: processor time by thread, frames, delay, memory. Prints one
// line of JSON. Each camera has one filter of a kind at most: with 16, 8 and 4, four cameras have all three.
//   --beauty N --green N --landmarks N    0 at first; --cameras N: so many at least, without a filter where there is
//   none
//   --width N --height N --rate N         640, 360, 30
//   --seconds N                           10; --settle N before them, 5
//   --ticks N                             on a clock that is held, so many pictures: what they cost whoever else is at
//   work
#include <util/platform.h>
#include <obs.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "clock/worker_gate.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/portrait/portrait.h"
#include "soak/campaign.h"

namespace {

using namespace vanta_integration;
using vanta_soak::Campaign;
using vanta_soak::Footprint;
using Clock = std::chrono::steady_clock;

constexpr int kHeldSettle = 20;

// A person before a green backing, moved a little from picture to picture.
FedFrame Person(const cv::Mat &portrait, int width, int height, int shift) {
  vanta_test::PortraitSetup setup;
  setup.size = cv::Size(width, height);
  setup.middle = cv::Point2f(static_cast<float>(width / 2 + shift), static_cast<float>(height) / 2);
  setup.eye_distance = static_cast<float>(height) / 7;
  cv::Mat bgr = vanta_test::PlacePortrait(portrait, setup).bgr;
  const int side = width / 5;
  for (const int left : {0, width - side}) bgr(cv::Rect(left, 0, side, height)).setTo(cv::Scalar(70, 180, 40));
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  const auto w = static_cast<uint32_t>(width), h = static_cast<uint32_t>(height);
  FedFrame frame = MakeFrame(0, VIDEO_FORMAT_I420, w, h);
  const uint8_t *from = i420.ptr();
  for (const int plane : {0, 1, 2}) {
    const uint32_t plane_width = plane == 0 ? w : w / 2, plane_height = plane == 0 ? h : h / 2;
    for (uint32_t y = 0; y < plane_height; ++y, from += plane_width)
      std::memcpy(frame.Get()->data[plane] + size_t{y} * frame.Get()->linesize[plane], from, plane_width);
  }
  return frame;
}

struct Camera {
  explicit Camera(const std::string &name) : source(name.c_str()) {}
  FedSource source;
  std::unique_ptr<BeautyChain> beauty;
  std::unique_ptr<LandmarkFilter> landmarks;
  std::unique_ptr<GreenScreen> green;
};

struct Totals {
  size_t in = 0, out = 0;
};

Totals Count(const std::vector<std::unique_ptr<Camera>> &cameras) {
  Totals totals;
  for (const auto &camera : cameras) {
    if (!camera->beauty) continue;
    totals.in += camera->beauty->before.Count();
    totals.out += camera->beauty->behind.Count();
  }
  return totals;
}

// Each beauty filter keeps a frame back, as it does when its worker has begun; its engine has done some, and faces have
// been looked for in as many pictures as there are landmark filters.
bool AllWork(const std::vector<std::unique_ptr<Camera>> &cameras, int beauty, int landmarks) {
  constexpr uint64_t kFrames = 5;
  if (vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty) < kFrames * static_cast<uint64_t>(beauty)) return false;
  if (vanta_run::WorkerSleeps(vanta_run::WorkerKind::kLandmark) < static_cast<uint64_t>(landmarks)) return false;
  return std::all_of(cameras.begin(), cameras.end(), [](const auto &camera) {
    return !camera->beauty || camera->beauty->before.Count() > camera->beauty->behind.Count();
  });
}

// One that has missed its frame's signal finds it then.
void WakeWorkers(ILumivex &control) {
  control.BeginBatchCommand();
  control.EndBatchCommand();
}

void Play(Campaign &campaign) {
  const auto count = [&campaign](const char *name, double otherwise) {
    return static_cast<int>(campaign.Number(name, otherwise));
  };
  const int beauty = count("beauty", 0), green = count("green", 0), landmarks = count("landmarks", 0);
  const int width = count("width", 640), height = count("height", 360), rate = count("rate", 30);
  const double seconds = campaign.Number("seconds", 10), settle = campaign.Number("settle", 5);

  const int wanted = count("ticks", 0);
  const bool held = wanted > 0;
  const ObsSession session({.width = static_cast<uint32_t>(width),
                            .height = static_cast<uint32_t>(height),
                            .fps = static_cast<uint32_t>(rate),
                            .held_clock = held});
  std::vector<std::unique_ptr<Camera>> cameras;
  const OBSSceneAutoRelease scene = obs_scene_create("scene");
  const int most = std::max({beauty, green, landmarks, count("cameras", 1)});
  for (int i = 0; i < most; ++i) {
    Camera &camera = *cameras.emplace_back(std::make_unique<Camera>("camera " + std::to_string(i)));
    if (i < beauty) {
      camera.beauty = std::make_unique<BeautyChain>(camera.source.Get());
      for (FrameTap *tap : {&camera.beauty->before, &camera.beauty->behind}) tap->KeepCopies(false);
    }
    if (i < landmarks) camera.landmarks = std::make_unique<LandmarkFilter>(camera.source.Get(), Path::kCpu);
    if (i < green)
      camera.green = std::make_unique<GreenScreen>(camera.source.Get(), R"({"keyColor":[0.157,0.706,0.275]})");
    obs_scene_add(scene, camera.source.Get());
  }
  obs_set_output_source(0, obs_scene_get_source(scene));
  session.Control();  // the host's own: frames go through the module whatever the values are

  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  std::vector<FedFrame> pictures;
  for (const int shift : {0, 2, 4, 2}) pictures.push_back(Person(portrait, width, height, shift));

  std::optional<vanta_run::WorkerGate> gate;
  if (held) gate.emplace(vanta_run::WorkerKind::kBeauty, [&session] { WakeWorkers(session.Control()); });

  Totals before{};
  double processor = 0;
  uint32_t ticks = 0, late = 0;
  std::map<std::string, double> threads;
  bool measured = false;
  size_t fed = 0;
  auto next_frame = Clock::now();
  auto begin = next_frame;
  const auto start = next_frame;
  int left = kHeldSettle;  // pictures until the next step, on the held clock
  bool expected = false;   // the gate waits for every picture
  while (!Campaign::Interrupted()) {
    const FedFrame &frame = pictures[fed++ % pictures.size()];
    frame.Get()->timestamp = os_gettime_ns();
    for (const auto &camera : cameras) camera->source.Feed(frame);
    next_frame += std::chrono::nanoseconds(1'000'000'000 / rate);
    if (held) {
      WaitForTicks(1);
      if (!expected && AllWork(cameras, beauty, landmarks)) {
        gate->StartOver();
        for (const auto &camera : cameras)
          if (camera->beauty) camera->beauty->before.OnFrame([&gate](size_t) { gate->Expect(); });
        expected = true;
      }
      if (expected) --left;
    } else {
      std::this_thread::sleep_until(next_frame);
    }
    const auto now = Clock::now();
    if (!measured && (held ? left == 0 : now - start > std::chrono::duration<double>(settle))) {
      left = wanted;
      measured = true;
      before = Count(cameras);
      processor = vanta_soak::ProcessorSeconds();
      threads = vanta_soak::ProcessorSecondsOfThreads();
      ticks = obs_get_total_frames();
      late = obs_get_lagged_frames();
      begin = now;
    }
    if (measured && (held ? left == 0 : now - begin > std::chrono::duration<double>(seconds))) break;
  }
  const double real = std::chrono::duration<double>(Clock::now() - begin).count();
  const Totals after = Count(cameras);
  const Footprint footprint = vanta_soak::TakeFootprint();
  nlohmann::ordered_json line = {{"beauty", beauty}, {"green", green}, {"landmarks", landmarks}, {"width", width},
                                 {"height", height}, {"rate", rate},   {"seconds", real}};
  line["processor"] = vanta_soak::ProcessorSeconds() - processor;
  line["ticks"] = obs_get_total_frames() - ticks;
  line["late"] = obs_get_lagged_frames() - late;
  line["in"] = after.in - before.in;
  line["out"] = after.out - before.out;
  for (const auto &[name, spent] : vanta_soak::ProcessorSecondsOfThreads())
    if (const double since = spent - threads[name]; since > 0.005 * real) line["threads"][name] = since;
  line["resident_kib"] = footprint.resident_kib;
  line["heap_kib"] = footprint.heap_kib;
  line["thread_count"] = footprint.threads;
  double delay = 0, work = 0, slowest = 0, processed = 0;
  const std::vector<StatisticsSample> samples = session.Control().GetBeautyStatistics();
  for (const StatisticsSample &sample : samples) {
    delay += sample.whole_avg / static_cast<float>(samples.size());
    work += sample.beauty_avg / static_cast<float>(samples.size());
    processed += sample.render_fps / static_cast<float>(samples.size());
    slowest = std::max(slowest, static_cast<double>(sample.beauty_p95));
  }
  line["delay_ms"] = delay;
  line["work_ms"] = work;
  line["work_p95_ms"] = slowest;
  line["processed_fps"] = processed;
  std::printf("%s\n", line.dump().c_str());
  obs_set_output_source(0, nullptr);
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_soak::RunCampaign(argc, argv, Play);
}
