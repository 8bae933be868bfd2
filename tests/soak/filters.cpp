// Cameras with filters in real time, and what they take: processor time by thread, frames, delay, memory. Prints one
// line of JSON. Each camera has one filter of a kind at most: with 16, 8 and 4, four cameras have all three.
//   --beauty N --green N --landmarks N    0 at first; --cameras N: so many at least, without a filter where there is
//   none
//   --width N --height N --rate N         640, 360, 30
//   --seconds N                           10; --settle N before them, 5
//   --ticks N                             on a clock that is held: the filters are on for so many pictures, off for as
//   many, and so on, eight times. What they cost is what a picture takes more than without, whoever else is at work
#include <util/platform.h>
#include <obs.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <thread>
#include <vector>

#include "clock/worker_gate.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/portrait/portrait.h"
#include "soak/campaign.h"

namespace {

using namespace vanta_integration;
using vanta_soak::Campaign;
using vanta_soak::Footprint;
using Clock = std::chrono::steady_clock;

constexpr int kHeldSettle = 20;   // pictures, once all filters work
constexpr int kMostStart = 3000;  // pictures until then
constexpr int kSwitchSettle = 6;  // pictures behind each switch that do not count
constexpr int kTimesOn = 8;
constexpr double kLeastWork = 0.9;  // of the pictures that a filter should have worked on

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

struct Options {
  int beauty, green, landmarks, cameras;
  int width, height, rate;
};

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

// Messages of the landmark filters, from construction to destruction, and how many of them have a face.
class FaceCount {
 public:
  FaceCount() { signal_handler_connect(obs_get_signal_handler(), kSignal, Receive, this); }
  ~FaceCount() { signal_handler_disconnect(obs_get_signal_handler(), kSignal, Receive, this); }
  FaceCount(const FaceCount &) = delete;
  FaceCount &operator=(const FaceCount &) = delete;

  std::atomic<size_t> messages{0}, with_face{0};

 private:
  static constexpr char kSignal[] = "TesseraFacePointRet";
  static void Receive(void *param, calldata_t *data) {
    auto *const count = static_cast<FaceCount *>(param);
    ++count->messages;
    if (obs_data_get_int(static_cast<obs_data_t *>(calldata_ptr(data, "face_point")), "face_cont") > 0)
      ++count->with_face;
  }
};

// The cameras with their filters, on a canvas of their size.
class Stage {
 public:
  explicit Stage(const Options &options);
  ~Stage() { obs_set_output_source(0, nullptr); }

  // To every camera; the next of a few pictures, or that one.
  void Feed() { Feed(fed_++ % pictures_.size()); }
  void Feed(size_t picture);
  void Switch(bool on);
  bool AllWork() const;
  Totals Count() const;
  size_t messages() const { return faces_.messages; }
  size_t messages_with_face() const { return faces_.with_face; }
  // Called for each frame that enters a beauty filter that is on.
  void OnBeautyFrame(const std::function<void()> &call);
  // What the filters should have done to the picture and have not; empty: all is done. `step` feeds that picture and
  // draws it.
  std::string PictureFault(const std::function<void(size_t)> &step);

 private:
  const Options options_;
  FaceCount faces_;
  std::vector<std::unique_ptr<Camera>> cameras_;
  OBSSceneAutoRelease scene_ = obs_scene_create("scene");
  std::vector<FedFrame> pictures_;
  size_t fed_ = 0;
  std::atomic<bool> on_{true};
};

Stage::Stage(const Options &options) : options_(options) {
  const int most = std::max({options.beauty, options.green, options.landmarks, options.cameras});
  for (int i = 0; i < most; ++i) {
    Camera &camera = *cameras_.emplace_back(std::make_unique<Camera>("camera " + std::to_string(i)));
    if (i < options.beauty) {
      camera.beauty = std::make_unique<BeautyChain>(camera.source.Get());
      for (FrameTap *tap : {&camera.beauty->before, &camera.beauty->behind}) tap->KeepCopies(false);
    }
    if (i < options.landmarks) camera.landmarks = std::make_unique<LandmarkFilter>(camera.source.Get(), Path::kCpu);
    if (i < options.green)
      camera.green = std::make_unique<GreenScreen>(camera.source.Get(), R"({"keyColor":[0.157,0.706,0.275]})");
    obs_scene_add(scene_, camera.source.Get());
  }
  obs_set_output_source(0, obs_scene_get_source(scene_));
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  for (const int shift : {0, 2, 4, 2}) pictures_.push_back(Person(portrait, options.width, options.height, shift));
}

void Stage::Feed(size_t picture) {
  const FedFrame &frame = pictures_[picture];
  frame.Get()->timestamp = os_gettime_ns();
  for (const auto &camera : cameras_) camera->source.Feed(frame);
}

void Stage::Switch(bool on) {
  on_ = on;
  for (const auto &camera : cameras_) {
    if (camera->beauty) obs_source_set_enabled(camera->beauty->Filter(), on);
    if (camera->landmarks) obs_source_set_enabled(camera->landmarks->Get(), on);
    if (camera->green) obs_source_set_enabled(camera->green->Filter(), on);
  }
}

// Each beauty filter keeps a frame back, as it does when its worker has begun; its engine has done some, and as many
// faces have been found as there are landmark filters.
bool Stage::AllWork() const {
  constexpr uint64_t kFrames = 5;
  if (vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty) < kFrames * static_cast<uint64_t>(options_.beauty))
    return false;
  if (faces_.with_face < static_cast<size_t>(options_.landmarks)) return false;
  return std::all_of(cameras_.begin(), cameras_.end(), [](const auto &camera) {
    return !camera->beauty || camera->beauty->before.Count() > camera->beauty->behind.Count();
  });
}

Totals Stage::Count() const {
  Totals totals;
  for (const auto &camera : cameras_) {
    if (!camera->beauty) continue;
    totals.in += camera->beauty->before.Count();
    totals.out += camera->beauty->behind.Count();
  }
  return totals;
}

void Stage::OnBeautyFrame(const std::function<void()> &call) {
  for (const auto &camera : cameras_)
    if (camera->beauty)
      camera->beauty->before.OnFrame([this, call](size_t) {
        if (on_) call();
      });
}

// Levels, over colours.
double MeanDifference(const Screenshot &a, const Screenshot &b) {
  if (a.pixels.empty() || a.pixels.size() != b.pixels.size()) return 0;
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i)
    if (i % 4 != 3) sum += std::abs(a.pixels[i] - b.pixels[i]);
  return sum / (static_cast<double>(a.pixels.size()) / 4 * 3);
}

std::string Stage::PictureFault(const std::function<void(size_t)> &step) {
  constexpr int kPictures = 6;
  constexpr double kLeastDifference = 0.3;
  const auto shots = [&](bool on) {
    Switch(on);
    for (int i = 0; i < kPictures; ++i) step(0);
    std::vector<Screenshot> taken;
    for (const auto &camera : cameras_) taken.push_back(TakeScreenshot(camera->source.Get()));
    return taken;
  };
  const std::vector<Screenshot> with = shots(true), without = shots(false);
  const auto x = static_cast<uint32_t>(options_.width), y = static_cast<uint32_t>(options_.height) / 2;
  for (size_t i = 0; i < cameras_.size(); ++i) {
    if (with[i].pixels.empty() || without[i].pixels.empty()) return "a camera has no picture";
    if (cameras_[i]->green && (with[i].At(x / 20, y)[3] > 40 || with[i].At(x / 2, y)[3] < 200))
      return "the green screen does not key";
    if (cameras_[i]->beauty && MeanDifference(with[i], without[i]) < kLeastDifference)
      return "beauty does not change the picture";
  }
  return {};
}

// One that has missed its frame's signal finds it then.
void WakeWorkers(ILumivex &control) {
  control.BeginBatchCommand();
  control.EndBatchCommand();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

void AddMemory(nlohmann::ordered_json &line) {
  const Footprint footprint = vanta_soak::TakeFootprint();
  line["resident_kib"] = footprint.resident_kib;
  line["heap_kib"] = footprint.heap_kib;
  line["thread_count"] = footprint.threads;
}

// ms of processor time a picture.
struct Cost {
  double draw = 0;  // of the software renderer's own threads
  double own = 0;   // of all others
};

Cost operator-(const Cost &a, const Cost &b) {
  return {a.draw - b.draw, a.own - b.own};
}

// Of the process so far, in ms.
Cost Spent() {
  Cost spent{0, vanta_soak::ProcessorSeconds() * 1000};
  for (const auto &[name, seconds] : vanta_soak::ProcessorSecondsOfThreads())
    if (name.starts_with("llvmpipe")) spent.draw += seconds * 1000;
  spent.own -= spent.draw;
  return spent;
}

// On a clock that is held.
class HeldRun {
 public:
  HeldRun(Campaign &campaign, const ObsSession &session, Stage &stage, const Options &options)
      : campaign_(campaign),
        stage_(stage),
        options_(options),
        gate_(vanta_run::WorkerKind::kBeauty, [&session] { WakeWorkers(session.Control()); }) {}

  void Play(int ticks, nlohmann::ordered_json &line);

 private:
  void Step() {
    Step([this] { stage_.Feed(); });
  }
  template <typename Feed>
  void Step(Feed feed);
  bool Start();
  void PlayBlock(bool on, int ticks);
  void CheckWork(int ticks);

  Campaign &campaign_;
  Stage &stage_;
  const Options options_;
  vanta_run::WorkerGate gate_;
  std::vector<Cost> on_, off_;
  uint64_t worked_ = 0;  // frames that beauty's engines did while the filters were on
  size_t entered_ = 0, messages_ = 0, with_face_ = 0;
};

template <typename Feed>
void HeldRun::Step(Feed feed) {
  feed();
  WaitForTicks(1);
}

// Until all filters work; from then on each tick waits for the engines.
bool HeldRun::Start() {
  for (int i = 0; !stage_.AllWork(); ++i) {
    if (i == kMostStart) campaign_.Report("not all filters have begun to work");
    if (i == kMostStart || Campaign::Interrupted()) return false;
    Step();
  }
  gate_.StartOver();
  stage_.OnBeautyFrame([this] { gate_.Expect(); });
  for (int i = 0; i < kHeldSettle; ++i) Step();
  return true;
}

void HeldRun::PlayBlock(bool on, int ticks) {
  stage_.Switch(on);
  for (int i = 0; i < kSwitchSettle; ++i) Step();
  const uint64_t sleeps = vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty);
  const size_t in = stage_.Count().in, messages = stage_.messages(), with_face = stage_.messages_with_face();
  const Cost before = Spent();
  for (int i = 0; i < ticks; ++i) Step();
  const Cost spent = Spent() - before;
  (on ? on_ : off_).push_back({spent.draw / ticks, spent.own / ticks});
  if (!on) return;
  worked_ += vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty) - sleeps;
  entered_ += stage_.Count().in - in;
  messages_ += stage_.messages() - messages;
  with_face_ += stage_.messages_with_face() - with_face;
}

void HeldRun::CheckWork(int ticks) {
  constexpr double kLeastSearches = 5;  // a second; the filter makes 10 to 15
  const double pictures = static_cast<double>(ticks) * kTimesOn;
  if (static_cast<double>(worked_) < kLeastWork * pictures * options_.beauty)
    campaign_.Report("beauty's engines did " + std::to_string(worked_) + " of " + std::to_string(entered_) + " frames");
  if (static_cast<double>(messages_) < kLeastSearches * pictures / options_.rate * options_.landmarks ||
      static_cast<double>(with_face_) < kLeastWork * static_cast<double>(messages_))
    campaign_.Report("a face in " + std::to_string(with_face_) + " of " + std::to_string(messages_) + " searches");
  const std::string fault = stage_.PictureFault([this](size_t picture) { Step([&] { stage_.Feed(picture); }); });
  if (!fault.empty()) campaign_.Report(fault);
}

// Each time that the filters are on is held against those before and behind, which takes out what drifts.
void HeldRun::Play(int ticks, nlohmann::ordered_json &line) {
  if (!Start()) return;
  PlayBlock(false, ticks);
  for (int i = 0; i < kTimesOn && !Campaign::Interrupted(); ++i) {
    PlayBlock(true, ticks);
    PlayBlock(false, ticks);
  }
  AddMemory(line);
  std::vector<double> own, draw, plain;
  for (size_t i = 0; i < on_.size(); ++i) {
    own.push_back(on_[i].own - (off_[i].own + off_[i + 1].own) / 2);
    draw.push_back(on_[i].draw - (off_[i].draw + off_[i + 1].draw) / 2);
  }
  for (const Cost &cost : off_) plain.push_back(cost.own + cost.draw);
  line["plain_ms"] = Median(plain);
  line["own_ms"] = Median(own);
  line["draw_ms"] = Median(draw);
  line["own_each_ms"] = own;
  line["beauty_frames"] = worked_;
  line["searches"] = messages_;
  line["faces"] = with_face_;
  CheckWork(ticks);
}

void AddStatistics(const ObsSession &session, nlohmann::ordered_json &line) {
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
}

void PlayInTime(Campaign &campaign, const ObsSession &session, Stage &stage, const Options &options,
                nlohmann::ordered_json &line) {
  const std::chrono::duration<double> wanted(campaign.Number("seconds", 10)), settle(campaign.Number("settle", 5));
  auto next = Clock::now();
  const auto play = [&](std::chrono::duration<double> time) {
    for (const auto end = next + time; next < end && !Campaign::Interrupted();) {
      stage.Feed();
      next += std::chrono::nanoseconds(1'000'000'000 / options.rate);
      std::this_thread::sleep_until(next);
    }
  };
  play(settle);
  const Totals before = stage.Count();
  const size_t messages = stage.messages(), with_face = stage.messages_with_face();
  const double processor = vanta_soak::ProcessorSeconds();
  std::map<std::string, double> threads = vanta_soak::ProcessorSecondsOfThreads();
  const uint32_t ticks = obs_get_total_frames(), late = obs_get_lagged_frames();
  const auto begin = Clock::now();
  play(wanted);
  const double real = std::chrono::duration<double>(Clock::now() - begin).count();
  const Totals after = stage.Count();
  line["seconds"] = real;
  line["processor"] = vanta_soak::ProcessorSeconds() - processor;
  line["ticks"] = obs_get_total_frames() - ticks;
  line["late"] = obs_get_lagged_frames() - late;
  line["in"] = after.in - before.in;
  line["out"] = after.out - before.out;
  line["searches"] = stage.messages() - messages;
  line["faces"] = stage.messages_with_face() - with_face;
  for (const auto &[name, spent] : vanta_soak::ProcessorSecondsOfThreads())
    if (const double since = spent - threads[name]; since > 0.005 * real) line["threads"][name] = since;
  AddMemory(line);
  AddStatistics(session, line);
}

void Play(Campaign &campaign) {
  const auto count = [&campaign](const char *name, double otherwise) {
    return static_cast<int>(campaign.Number(name, otherwise));
  };
  const Options options{count("beauty", 0),  count("green", 0),    count("landmarks", 0), count("cameras", 1),
                        count("width", 640), count("height", 360), count("rate", 30)};
  const int ticks = count("ticks", 0);
  const ObsSession session({.width = static_cast<uint32_t>(options.width),
                            .height = static_cast<uint32_t>(options.height),
                            .fps = static_cast<uint32_t>(options.rate),
                            .held_clock = ticks > 0});
  // The host's own: frames go through the module, and an engine has the look that it starts with.
  session.Control();
  Stage stage(options);
  nlohmann::ordered_json line = {{"beauty", options.beauty},       {"green", options.green},
                                 {"landmarks", options.landmarks}, {"width", options.width},
                                 {"height", options.height},       {"rate", options.rate}};
  if (ticks > 0) {
    HeldRun(campaign, session, stage, options).Play(ticks, line);
  } else {
    PlayInTime(campaign, session, stage, options, line);
  }
  std::printf("%s\n", line.dump().c_str());
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_soak::RunCampaign(argc, argv, Play);
}
