// Plays pictures through filters in real time and says what the process's memory does: once a minute what it holds, at
// the end how fast each part of it grows.
//   --filters LIST   beauty, landmarks, green, joined by commas; "none": none. All at first
//   --minutes N      60 at first
//   --settle N       minutes that do not count, 3 at first
//   --width N --height N    1280 and 720 at first
//   --malloc-info FILE      the C library's own account, once settled (FILE.begin) and at the end
//   --trim 1         gives back what was freed, once settled and at the end: what lies between the two is in use
//   --lives N               in place of that: the filters are made and removed so many times
#include <malloc.h>
#include <util/platform.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "lumivex/lumivex_values.h"
#include "soak/campaign.h"

namespace {

using namespace vanta_integration;
using vanta_soak::Campaign;
using vanta_soak::Footprint;
using Clock = std::chrono::steady_clock;

constexpr uint32_t kRate = 30;
constexpr double kSampleSeconds = 5;
constexpr double kMostGrowth = 20;  // KiB of the heap in a minute, without libobs's cached frames

struct Sample {
  double minute;
  Footprint held;
};

// A slow canvas leaves frames in libobs's cache, each of them two of its blocks: what the heap holds beside them. What
// it keeps moves by megabytes, and hides what grows.
void TakeCachedFramesOut(std::vector<Sample> &samples, uint32_t width, uint32_t height) {
  long least = samples.empty() ? 0 : samples.front().held.libobs_blocks;
  for (const Sample &sample : samples) least = std::min(least, sample.held.libobs_blocks);
  for (Sample &sample : samples)
    sample.held.heap_kib -= (sample.held.libobs_blocks - least) * long{width} * height * 3 / 2 / 2 / 1024;
}

// KiB (or pieces) a minute, by least squares.
double Slope(const std::vector<Sample> &samples, long Footprint::*member) {
  double mean_x = 0, mean_y = 0, above = 0, below = 0;
  for (const Sample &sample : samples) {
    mean_x += sample.minute / static_cast<double>(samples.size());
    mean_y += static_cast<double>(sample.held.*member) / static_cast<double>(samples.size());
  }
  for (const Sample &sample : samples) {
    above += (sample.minute - mean_x) * (static_cast<double>(sample.held.*member) - mean_y);
    below += (sample.minute - mean_x) * (sample.minute - mean_x);
  }
  return below > 0 ? above / below : 0;
}

// From the lowest of the second quarter to the lowest of the last, KiB a minute. On a busy machine pools of frames fill
// in steps, each to its end; and the lowest has the fewest frames that are on their way.
double LowestGrowth(const std::vector<Sample> &samples) {
  const size_t quarter = samples.size() / 4;
  if (quarter == 0) return 0;
  const auto lowest = [&](size_t first) {
    const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(first);
    return std::min_element(begin, begin + static_cast<std::ptrdiff_t>(quarter),
                            [](const Sample &a, const Sample &b) { return a.held.heap_kib < b.held.heap_kib; })
        ->held.heap_kib;
  };
  return static_cast<double>(lowest(3 * quarter) - lowest(quarter)) /
         (samples[3 * quarter].minute - samples[quarter].minute);
}

void Print(const Sample &now, size_t in) {
  std::printf("%6.1f %12ld %13ld %8ld %8ld %7ld %11ld %7ld %9zu\n", now.minute, now.held.resident_kib,
              now.held.anonymous_kib, now.held.heap_kib, now.held.free_kib, now.held.libobs_blocks,
              now.held.descriptors, now.held.threads, in);
  std::fflush(stdout);
}

void WriteMallocInfo(const std::string &path) {
  std::FILE *const out = std::fopen(path.c_str(), "w");
  if (out == nullptr) return;
  malloc_info(0, out);
  std::fclose(out);
}

// What was freed and kept by the C library goes back to the system.
void TellTrim() {
  const Footprint before = vanta_soak::TakeFootprint();
  malloc_trim(0);
  const Footprint after = vanta_soak::TakeFootprint();
  std::printf("malloc_trim: resident %ld KiB, then %ld; heap in use %ld, free %ld\n", before.resident_kib,
              after.resident_kib, after.heap_kib, after.free_kib);
}

// The filters on a source.
struct Filters {
  Filters(obs_source_t *source, const std::string &list) {
    const auto has = [&list](const char *name) { return list.find(name) != std::string::npos; };
    if (has("beauty")) {
      beauty = std::make_unique<BeautyChain>(source);
      for (FrameTap *tap : {&beauty->before, &beauty->behind}) tap->KeepCopies(false);
    }
    if (has("landmarks")) landmarks = std::make_unique<LandmarkFilter>(source, Path::kCpu);
    if (has("green")) green = std::make_unique<GreenScreen>(source);
  }
  std::unique_ptr<BeautyChain> beauty;
  std::unique_ptr<LandmarkFilter> landmarks;
  std::unique_ptr<GreenScreen> green;
};

// What is left after each life.
void PlayLives(FedSource &source, const std::string &list, const FedFrame &frame, int lives) {
  constexpr int kFrames = 40;
  std::printf("  life resident_kib anonymous_kib heap_kib free_kib  blocks descriptors threads    frames   (%s)\n",
              list.c_str());
  for (int life = 0; life < lives && !Campaign::Interrupted(); ++life) {
    {
      const Filters filters(source.Get(), list);
      for (int i = 0; i < kFrames; ++i) {
        frame.Get()->timestamp = os_gettime_ns();
        source.Feed(frame);
        WaitForTicks(1);
      }
    }
    obs_wait_for_destroy_queue();
    WaitForTicks(2);
    if (life % 5 == 4 || life == 0)
      Print({static_cast<double>(life + 1), vanta_soak::TakeFootprint()}, static_cast<size_t>(kFrames));
  }
}

void Play(Campaign &campaign) {
  const auto width = static_cast<uint32_t>(campaign.Number("width", 1280));
  const auto height = static_cast<uint32_t>(campaign.Number("height", 720));
  const double minutes = campaign.Number("minutes", campaign.is_short() ? 0.3 : 60);
  const double settle = campaign.Number("settle", campaign.is_short() ? 0.1 : 3);
  const std::string filters = campaign.Option("filters", "beauty,landmarks,green");
  const std::string malloc_file = campaign.Option("malloc-info", "");
  const bool trims = campaign.Number("trim", 0) != 0;

  const ObsSession session({.width = width, .height = height, .fps = kRate});
  FedSource source;
  source.Show();
  session.Control().SetBeautyIntensityWithType(lumivex::kBeautySmooth, 0.6f);

  const FedFrame frame = MakeFrame(80, VIDEO_FORMAT_NV12, width, height);
  if (const int lives = static_cast<int>(campaign.Number("lives", 0)); lives > 0)
    return PlayLives(source, filters, frame, lives);
  const Filters made(source.Get(), filters);
  std::vector<Sample> samples;
  size_t fed = 0;
  auto next_frame = Clock::now();
  const auto begin = next_frame;
  double next_sample = 0, next_line = 0;
  std::printf(
      "minute resident_kib anonymous_kib heap_kib free_kib  blocks descriptors threads    frames   (%s, %ux%u)\n",
      filters.c_str(), width, height);
  while (!Campaign::Interrupted()) {
    frame.Get()->timestamp = os_gettime_ns();
    source.Feed(frame);
    ++fed;
    next_frame += std::chrono::nanoseconds(1'000'000'000 / kRate);
    std::this_thread::sleep_until(next_frame);
    const double minute = std::chrono::duration<double>(Clock::now() - begin).count() / 60;
    if (minute < next_sample) continue;
    next_sample += kSampleSeconds / 60;
    const Sample now{minute, vanta_soak::TakeFootprint()};
    if (minute >= settle) {
      if (samples.empty() && !malloc_file.empty()) WriteMallocInfo(malloc_file + ".begin");
      if (samples.empty() && trims) TellTrim();
      samples.push_back(now);
    }
    if (minute >= next_line) {
      Print(now, fed);
      next_line += 1;
    }
    if (minute >= minutes) break;
  }
  if (!malloc_file.empty()) WriteMallocInfo(malloc_file);
  if (trims) TellTrim();
  TakeCachedFramesOut(samples, width, height);
  const double heap = Slope(samples, &Footprint::heap_kib), lowest = LowestGrowth(samples);
  const double lasted = samples.empty() ? 0 : samples.back().minute - samples[0].minute;
  if (samples.size() > 24 && lowest > kMostGrowth) campaign.Report("the heap grows");
  std::printf(
      "memory of %s: resident %+.1f (anonymous %+.1f), heap in use %+.1f without cached frames (its lowest %+.1f), "
      "heap free %+.1f KiB a "
      "minute, libobs's blocks %+.2f a minute, over %.1f minutes\n",
      filters.c_str(), Slope(samples, &Footprint::resident_kib), Slope(samples, &Footprint::anonymous_kib), heap,
      lowest, Slope(samples, &Footprint::free_kib), Slope(samples, &Footprint::libobs_blocks), lasted);
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_soak::RunCampaign(argc, argv, Play);
}
