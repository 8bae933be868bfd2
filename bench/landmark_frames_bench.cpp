// The pictures that a canvas of 1280x720 loses at 30 a second on software GL, with the landmark filter and without, in
// turns. The vision runner is the open one, and its worker is batch work; the picture without a face is the harder one,
// since the runner then searches each.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <thread>

#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/portrait/portrait.h"
#include "on_display.h"
#include "vanta_host.h"

namespace {

using namespace vanta_integration;

constexpr uint32_t kWidth = 1280;
constexpr uint32_t kHeight = 720;
constexpr int kRounds = 4;  // of each kind
constexpr std::chrono::seconds kRound{4};
constexpr std::chrono::seconds kSettling{1};  // not counted: a filter that begins makes textures and reads its cascades
constexpr double kMoreLost = 0.01;            // of all pictures: what two runs of one kind may differ by

struct Pictures {
  uint32_t all = 0;
  uint32_t lost = 0;

  double Share() const { return all == 0 ? 0 : static_cast<double>(lost) / all; }
};

Picture NoFace() {
  Picture picture(kWidth, kHeight);
  for (size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = static_cast<uint8_t>(i * 7 >> 4);
  return picture;
}

Picture Portrait() {
  cv::Mat sized, rgba;
  cv::resize(vanta_test::ReadPortrait(VANTA_PORTRAIT), sized, cv::Size(kHeight, kHeight));
  cv::cvtColor(sized, rgba, cv::COLOR_BGR2RGBA);
  Picture picture(kWidth, kHeight);
  for (uint32_t row = 0; row < kHeight; ++row) {
    std::copy_n(rgba.ptr(static_cast<int>(row)), size_t{kHeight} * 4,
                picture.pixels.data() + (size_t{row} * kWidth + (kWidth - kHeight) / 2) * 4);
  }
  return picture;
}

void Play(const PaintedSource &source, bool filtered, Pictures &pictures) {
  std::unique_ptr<LandmarkFilter> filter;
  if (filtered) filter = std::make_unique<LandmarkFilter>(source.Get(), Path::kGpu);
  std::this_thread::sleep_for(kSettling);
  const uint32_t all = obs_get_total_frames();
  const uint32_t lost = obs_get_lagged_frames();
  std::this_thread::sleep_for(kRound);
  pictures.all += obs_get_total_frames() - all;
  pictures.lost += obs_get_lagged_frames() - lost;
}

bool LosesNoMore(const char *name, const Picture &picture) {
  const ObsSession session({kWidth, kHeight, 30, false});
  RegisterPaintedSource();
  PaintedSource source;
  source.Paint(picture);
  obs_set_output_source(0, source.Get());
  Pictures with, without;
  for (int round = 0; round < kRounds; ++round) {
    Play(source, round % 2 == 0, round % 2 == 0 ? with : without);
    Play(source, round % 2 != 0, round % 2 != 0 ? with : without);
  }
  obs_set_output_source(0, nullptr);
  const bool good = with.Share() <= without.Share() + kMoreLost;
  std::printf("landmark filter, %s: %u of %u pictures lost at 30 a second, %u of %u without it%s\n", name, with.lost,
              with.all, without.lost, without.all, good ? "" : "  MISSED");
  return good;
}

}  // namespace

int main() {
  vanta_host_set_landmark_in_background(true);
  return vanta_bench::RunOnDisplay("landmark_frames_bench", [] {
    const bool portrait = LosesNoMore("portrait", Portrait());
    const bool no_face = LosesNoMore("no face", NoFace());
    return portrait && no_face ? 0 : 1;
  });
}
