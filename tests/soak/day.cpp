// A day of all three filters on a clock that is held: 30 small frames a second through beauty, landmarks and the green
// screen; another size and format each minute; commands and settings at random. The module's own clock goes along, so
// its minutes and seconds are those of the day. At each minute's end everything is as it was at the beginning, and what
// the process holds is noted.
//   --hours N    24 at first
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <random>
#include <vector>

#include "clock/step_clock.h"
#include "clock/worker_gate.h"
#include "fakes/clock/movable_clock.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/portrait/portrait.h"
#include "lumivex/lumivex_values.h"
#include "soak/campaign.h"
#include "vanta_host.h"

namespace {

using namespace vanta_integration;
using std::chrono::duration;
using std::chrono::steady_clock;
using vanta_soak::Campaign;
using vanta_soak::Footprint;
using vanta_test::MovableClock;

constexpr uint32_t kWidth = 64, kHeight = 36, kRate = 30;
constexpr std::chrono::nanoseconds kFrameTime{1'000'000'000 / kRate};
constexpr int kIdleReminders = 10;      // 0.2 s without a busy worker: it never saw that frame
constexpr int kMostStartFrames = 5000;  // of a worker whose engine starts in the machine's time
constexpr long kSettlingMinutes = 10;   // until caches and pools have their sizes
constexpr double kMostHeapGrowth = 60;  // KiB of the heap in a simulated hour
constexpr video_format kFormats[] = {VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_BGRA,
                                     VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_I422};
// The module's steady clock begins a little before a counter of its microseconds or milliseconds would overflow.
constexpr int64_t kClockEdgesNs[] = {(int64_t{1} << 31) * 1'000, (int64_t{1} << 32) * 1'000,
                                     (int64_t{1} << 31) * 1'000'000, (int64_t{1} << 32) * 1'000'000};

class Dice {
 public:
  explicit Dice(uint64_t seed) : engine_(seed) {}
  int Below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(engine_); }
  float Between(float low, float high) { return std::uniform_real_distribution<float>(low, high)(engine_); }
  bool Coin() { return Below(2) == 1; }

 private:
  std::mt19937_64 engine_;
};

// ---- Pictures ----

// A person before a green backing.
FedFrame PortraitFrame(const cv::Mat &portrait, uint32_t width, uint32_t height) {
  vanta_test::PortraitSetup setup;
  setup.size = cv::Size(static_cast<int>(width), static_cast<int>(height));
  setup.middle = cv::Point2f(static_cast<float>(width) / 2, static_cast<float>(height) / 2);
  setup.eye_distance = static_cast<float>(height) / 6;
  cv::Mat bgr = vanta_test::PlacePortrait(portrait, setup).bgr;
  const int side = static_cast<int>(width) / 5;
  for (const int left : {0, static_cast<int>(width) - side})
    bgr(cv::Rect(left, 0, side, static_cast<int>(height))).setTo(cv::Scalar(70, 180, 40));
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  FedFrame frame = MakeFrame(0, VIDEO_FORMAT_I420, width, height);
  const uint8_t *from = i420.ptr();
  for (const int plane : {0, 1, 2}) {
    const uint32_t plane_width = plane == 0 ? width : width / 2, plane_height = plane == 0 ? height : height / 2;
    for (uint32_t y = 0; y < plane_height; ++y, from += plane_width)
      std::memcpy(frame.Get()->data[plane] + size_t{y} * frame.Get()->linesize[plane], from, plane_width);
  }
  return frame;
}

// The minute's pictures, one after the other.
std::vector<FedFrame> MinuteFrames(Dice &dice, const cv::Mat &portrait, std::string &what) {
  std::vector<FedFrame> frames;
  if (dice.Below(4) == 0) {
    const uint32_t height = 90 + 2 * static_cast<uint32_t>(dice.Below(30)), width = height / 9 * 16;
    frames.push_back(PortraitFrame(portrait, width, height));
    what = "a portrait";
  } else {
    const auto width = static_cast<uint32_t>(2 + dice.Below(100)), height = static_cast<uint32_t>(2 + dice.Below(60));
    const video_format format = kFormats[dice.Below(std::size(kFormats))];
    for (int i = 0; i < 4; ++i) frames.push_back(MakeFrame(60 + i * 10, format, width, height));
    what = get_video_format_name(format);
  }
  what += " " + std::to_string(frames[0].Width()) + "x" + std::to_string(frames[0].Height());
  return frames;
}

// ---- The three filters on a source ----

void WakeWorker(ILumivex &control) {
  control.BeginBatchCommand();
  control.EndBatchCommand();
}

class Stage {
 public:
  explicit Stage(const ObsSession &session)
      : control_(session.Control()), gate_(vanta_run::WorkerKind::kBeauty, [this] { Remind(); }) {
    source_.Show();
    AddBeauty();
    AddLandmarks(Path::kCpu);
    AddGreenScreen();
  }
  ~Stage() {
    landmarks_.reset();
    green_.reset();
    beauty_.reset();
  }

  ILumivex &control() { return control_; }
  obs_source_t *beauty() { return beauty_->Filter(); }
  GreenScreen &green() { return *green_; }
  obs_source_t *landmarks() { return landmarks_->Get(); }
  bool works() const { return works_; }  // beauty's worker, on each frame
  long frames_in() const { return frames_in_; }
  long frames_out() const { return frames_out_; }
  long forgotten() const { return forgotten_; }

  void AddBeauty() {
    beauty_.reset();
    gate_.StartOver();
    works_ = false;
    beauty_ = std::make_unique<BeautyChain>(source_.Get());
    for (FrameTap *tap : {&beauty_->before, &beauty_->behind}) tap->KeepCopies(false);
    beauty_->before.OnFrame([this](size_t) { Enter(); });
    beauty_->behind.OnFrame([this](size_t) { ++frames_out_; });
  }
  void AddLandmarks(Path path) {
    landmarks_.reset();
    landmarks_ = std::make_unique<LandmarkFilter>(source_.Get(), path);
  }
  void AddGreenScreen() {
    green_.reset();
    green_ = std::make_unique<GreenScreen>(source_.Get(), R"({"keyColor":[0.157,0.706,0.275]})");
  }
  void Show(bool shown) { shown ? source_.Show() : source_.Hide(); }

  void Feed(const FedFrame &frame) {
    // A worker that has begun answers for every frame; before that, frames pass it by.
    if (!works_ && vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty) > sleeps_before_) {
      gate_.StartOver();
      works_ = true;
    }
    frame.Get()->timestamp = vanta_run::StepClock::Get().Now();
    source_.Feed(frame);
    MovableClock::Advance(kFrameTime);
    WaitForTicks(1);
  }

 private:
  void Enter() {
    ++frames_in_;
    reminders_ = 0;
    if (!works_) {
      sleeps_before_ = vanta_run::WorkerSleeps(vanta_run::WorkerKind::kBeauty);
      return;
    }
    if (obs_source_enabled(beauty_->Filter()) && !vanta_host_is_passing_through() &&
        !control_.GetFacelessJumpInfo().need_jump)
      gate_.Expect();
  }
  void Remind() {
    if (vanta_run::WorkerIsBusy(vanta_run::WorkerKind::kBeauty)) {
      reminders_ = 0;
    } else if (++reminders_ > kIdleReminders) {
      reminders_ = 0;
      ++forgotten_;
      gate_.Forget();
    } else {
      WakeWorker(control_);
    }
  }

  ILumivex &control_;
  FedSource source_;
  vanta_run::WorkerGate gate_;
  bool works_ = false;
  std::atomic<uint64_t> sleeps_before_{0};
  int reminders_ = 0;
  std::atomic<long> frames_in_{0}, frames_out_{0};
  long forgotten_ = 0;  // frames that the worker never saw
  std::unique_ptr<BeautyChain> beauty_;
  std::unique_ptr<LandmarkFilter> landmarks_;
  std::unique_ptr<GreenScreen> green_;
};

// ---- What is done at random ----

template <size_t N>
void SetText(char (&target)[N], const std::string &text) {
  std::memset(target, 0, N);
  text.copy(target, N - 1);
}

std::string ColourTable(Dice &dice) {
  const std::string folder = VANTA_TEST_DATA "/faceless_builtin/lookups/";
  const char *const files[] = {"", "nuan.cube", "leng.cube", "none.cube"};
  const std::string file = files[dice.Below(4)];
  return file.empty() ? file : folder + file;
}

std::string GreenScreenConfig(Dice &dice) {
  char text[512];
  std::snprintf(text, sizeof(text),
                R"({"similarity":%.3f,"alphaShrink":%.2f,"spillSupEnabled":%s,"denoiseEnabled":%s,)"
                R"("keyColor":[%.2f,%.2f,%.2f],"other":%d})",
                dice.Between(-0.5f, 1.5f), dice.Between(-1, 2), dice.Coin() ? "true" : "false",
                dice.Coin() ? "true" : "false", dice.Between(0, 1), dice.Between(0, 1), dice.Between(0, 1),
                dice.Below(1000));
  return dice.Below(8) == 0 ? std::string(text).substr(0, static_cast<size_t>(dice.Below(60))) : text;
}

void UpdateBeauty(Stage &stage, Dice &dice) {
  const OBSDataAutoRelease settings = obs_data_create();
  for (const char *name : {"beauty_smooth", "beauty_whiten", "beauty_slim_face", "beauty_body_waist"})
    if (dice.Coin()) obs_data_set_int(settings, name, dice.Below(101));
  if (dice.Coin()) {
    const OBSDataAutoRelease orientation = obs_data_create();
    obs_data_set_bool(orientation, "hor_flip", dice.Coin());
    obs_data_set_bool(orientation, "ver_flip", dice.Coin());
    obs_data_set_int(orientation, "rot_deg", dice.Below(4) * 90);
    obs_data_set_obj(settings, "sceneitem_orientation_info", orientation);
  }
  if (dice.Coin()) obs_data_set_bool(settings, "no_green_matting", dice.Coin());
  obs_source_update(stage.beauty(), settings);
}

void SetSnapshot(ILumivex &control, Dice &dice) {
  FacelessEngineSnapshot snapshot;
  snapshot.beauty[lumivex::kBeautySmooth] = dice.Between(0, 1);
  snapshot.deform[lumivex::kDeformSlimFace] = dice.Between(0, 1);
  if (dice.Coin()) SetText(snapshot.lookup.emplace().path, ColourTable(dice));
  if (dice.Coin()) snapshot.boom_game_data = R"({"level":3})";
  control.SetEngineSnapshot(snapshot);
}

void SetGroup(ILumivex &control, Dice &dice) {
  LXGroupConfig group{};
  const char *const names[] = {"jingdian", "ziran", "baixi", "hongrun", "yuantu", "none"};
  SetText(group.path, names[dice.Below(6)]);
  control.SetBeautyGroupPath(group);
}

void SetLookup(ILumivex &control, Dice &dice) {
  LXLookupInfo info{};
  SetText(info.path, ColourTable(dice));
  info.intensity = dice.Between(0, 1);
  control.SetLookupInfo(info);
}

void ActAtRandom(Stage &stage, Dice &dice) {
  ILumivex &control = stage.control();
  using Effect = LXEffectType;
  const std::function<void()> acts[] = {
      [&] { control.SetBeautyIntensityWithType(LXBeautyType(dice.Below(14)), dice.Between(-1.5f, 1.5f)); },
      [&] { control.SetEffectEnabledWithEffectType(Effect(dice.Below(10)), dice.Coin()); },
      [&] { SetLookup(control, dice); },
      [&] { control.SetLookupIntensity(dice.Between(0, 1)); },
      [&] { control.SetNaturalityIntensity(dice.Between(0, 1)); },
      [&] { control.SetDeformIntensityWithMode(dice.Below(12), dice.Between(-1, 1)); },
      [&] { control.SetBodySlimmingIntensityWithType(LXBodySlimmingType(dice.Below(8)), dice.Between(0, 1)); },
      [&] { control.SetBodySlimmingManualLegHeightRangeAndDir(dice.Between(0, 0.5f), dice.Between(0.5f, 1), 0); },
      [&] { SetGroup(control, dice); },
      [&] { control.SetMagicEffectWithPath("/nowhere", LXEffectSlot(dice.Below(4)), dice.Coin()); },
      [&] { control.CancelMagicEffect(); },
      [&] { control.SetEffectStateWithState(LXEffectState(dice.Below(3))); },
      [&] { control.SetBoomGameData(dice.Coin() ? R"({"score":1})" : "{"); },
      [&] { control.UpdateTesseraParams(dice.Coin() ? R"({"max_face_num":2})" : R"({"max_face_num":"99"})"); },
      [&] { SetSnapshot(control, dice); },
      [&] {
        control.SetFacelessJumpInfo({dice.Below(4) == 0, 1});
      },
      [&] { control.GetBeautyStatistics(); },
      [&] { UpdateBeauty(stage, dice); },
      [&] { UpdateBeauty(stage, dice); },
      [&] { stage.green().Configure(GreenScreenConfig(dice)); },
      [&] { stage.green().Configure(GreenScreenConfig(dice)); },
      [&] { obs_source_set_enabled(stage.beauty(), dice.Coin()); },
      [&] { obs_source_set_enabled(stage.landmarks(), dice.Coin()); },
      [&] { obs_source_set_enabled(stage.green().Filter(), dice.Coin()); },
      [&] { vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, dice.Coin()); },
      [&] { stage.AddBeauty(); },
      [&] { stage.AddLandmarks(dice.Coin() ? Path::kCpu : Path::kGpu); },
      [&] { stage.AddGreenScreen(); },
      [&] { stage.Show(dice.Coin()); },
  };
  acts[dice.Below(std::size(acts))]();
}

// New filters on a source that is shown, with no command left over: what each minute ends with.
void StartAnew(Stage &stage, const FedFrame &frame) {
  ILumivex &control = stage.control();
  control.SetFacelessJumpInfo({false, 0});
  control.SetEngineSnapshot({});
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
  stage.Show(true);
  stage.AddBeauty();
  stage.AddLandmarks(Path::kCpu);
  stage.AddGreenScreen();
  for (int i = 0; i < kMostStartFrames && !stage.works(); ++i) stage.Feed(frame);
  for (uint32_t i = 0; i < kRate; ++i) stage.Feed(frame);
  obs_wait_for_destroy_queue();
}

// ---- What must stay flat ----

struct Figures {
  long minute;
  Footprint held;
};

// KiB of the heap in an hour: the least of the last third of the minutes against the least of the first third.
double HeapGrowth(const std::vector<Figures> &figures) {
  const size_t third = figures.size() / 3;
  if (third == 0) return 0;
  const auto less = [](const Figures &a, const Figures &b) { return a.held.heap_kib < b.held.heap_kib; };
  const auto first = std::min_element(figures.begin(), figures.begin() + static_cast<ptrdiff_t>(third), less);
  const auto last = std::min_element(figures.end() - static_cast<ptrdiff_t>(third), figures.end(), less);
  const double hours = static_cast<double>(last->minute - first->minute) / 60;
  return static_cast<double>(last->held.heap_kib - first->held.heap_kib) / std::max(hours, 1.0 / 60);
}

void Print(const Figures &now, const Stage &stage, const std::string &what) {
  std::printf("%7ld %12ld %8ld %8ld %7ld %11ld %7ld %9ld %9ld  %s\n", now.minute, now.held.resident_kib,
              now.held.heap_kib, now.held.free_kib, now.held.libobs_blocks, now.held.descriptors, now.held.threads,
              stage.frames_in(), stage.frames_out(), what.c_str());
  std::fflush(stdout);
}

void CheckFlat(Campaign &campaign, const std::vector<Figures> &figures) {
  if (figures.empty()) return;
  const auto compare = [&](const char *what, long Footprint::*member, long most) {
    const long first = figures.front().held.*member, last = figures.back().held.*member;
    if (last > first + most) {
      campaign.Report(std::string(what) + " rose from " + std::to_string(first) + " to " + std::to_string(last));
    }
  };
  compare("open descriptors", &Footprint::descriptors, 0);
  compare("threads", &Footprint::threads, 0);
  compare("libobs's memory blocks", &Footprint::libobs_blocks, 40);
  const double growth = HeapGrowth(figures);
  if (figures.size() >= 60 && growth > kMostHeapGrowth)
    campaign.Report("the heap grows by " + std::to_string(growth) + " KiB in a simulated hour");
}

void Play(Campaign &campaign) {
  long &minutes = campaign.Count("minutes"), &frames = campaign.Count("frames");
  const long wanted = campaign.is_short() ? 3 : static_cast<long>(campaign.Number("hours", 24) * 60);
  const int minute_frames = campaign.is_short() ? 90 : 60 * static_cast<int>(kRate);
  const int act_frames = campaign.is_short() ? 6 : 45;  // between two things that are done
  const long begun = minutes;
  Dice clock_dice(campaign.seed() + static_cast<uint64_t>(minutes));
  const int64_t before_edge_s = campaign.is_short() ? 4 : 60;
  MovableClock::SetSteadyNs(kClockEdgesNs[clock_dice.Below(std::size(kClockEdgesNs))] - before_edge_s * 1'000'000'000);

  const ObsSession session(
      {.width = kWidth, .height = kHeight, .fps = kRate, .module = VANTA_TEST_CLOCK_MODULE, .held_clock = true});
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  const auto start = steady_clock::now();
  const double processor = vanta_soak::ProcessorSeconds();
  std::vector<Figures> figures;
  {
    Stage stage(session);
    const FedFrame still = MakeFrame(60, VIDEO_FORMAT_NV12, kWidth, kHeight);
    std::printf(" minute resident_kib heap_kib free_kib  blocks descriptors threads frames_in frames_out\n");
    while (minutes < wanted && !Campaign::Interrupted()) {
      Dice dice(campaign.seed() * 1'000'003 + static_cast<uint64_t>(minutes));
      std::string what;
      const std::vector<FedFrame> pictures = MinuteFrames(dice, portrait, what);
      const long in = stage.frames_in(), out = stage.frames_out();
      for (int frame = 0; frame < minute_frames && !Campaign::Interrupted(); ++frame) {
        stage.Feed(pictures[static_cast<size_t>(frame) % pictures.size()]);
        if (frame % act_frames == 0) ActAtRandom(stage, dice);
      }
      if (Campaign::Interrupted()) break;
      StartAnew(stage, still);
      ++minutes;
      frames += stage.frames_in() - in;
      if (stage.frames_out() - out < static_cast<long>(kRate)) campaign.Report("no pictures in a minute of " + what);
      const Figures now{minutes, vanta_soak::TakeFootprint()};
      if (minutes - begun > (campaign.is_short() ? 0 : kSettlingMinutes)) figures.push_back(now);
      if (campaign.is_short() || minutes % 10 == 0) Print(now, stage, what);
      campaign.Save();
    }
    std::printf("frames that the worker never saw: %ld\n", stage.forgotten());
  }
  CheckFlat(campaign, figures);
  const double real = duration<double>(steady_clock::now() - start).count();
  const double simulated = static_cast<double>(minutes - begun) * minute_frames / kRate;
  std::printf(
      "day: %.2f simulated hours in all, %ld frames; this call %.2f hours in %.0f s (%.1f times as fast as time, "
      "%.0f s of processor time); heap %+.1f KiB an hour\n",
      static_cast<double>(minutes) * minute_frames / kRate / 3600, frames, simulated / 3600, real, simulated / real,
      vanta_soak::ProcessorSeconds() - processor, HeapGrowth(figures));
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_soak::RunCampaign(argc, argv, Play);
}
