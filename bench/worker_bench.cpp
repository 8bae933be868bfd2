// The 99.9th percentile of filter_video with an engine that takes 200 ms for a frame, against an engine that returns at
// once: the video path must not feel the engine.
#include <obs.h>
#include <util/base.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "beauty/beauty_filter_source.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "lumivex/lumivex_control.h"
#include "ratio.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kWidth = 1280;
constexpr uint32_t kHeight = 720;
constexpr int kRounds = 5;
constexpr int kCallsPerPhase = 1000;
constexpr int kWarmUpCalls = 60;
constexpr std::chrono::milliseconds kFramePeriod{4};
constexpr int kSlowEngineMs = 200;
constexpr double kBar = 1.5;

// Milliseconds of each call, at a steady pace, as a camera delivers.
std::vector<double> MeasurePhase(const HostSourceInfo &record, void *filter, obs_source_frame *frame, int engine_ms) {
  lumivex_set_delay_ms(engine_ms);
  std::vector<double> costs;
  costs.reserve(kCallsPerPhase);
  auto next = Clock::now();
  for (int i = -kWarmUpCalls; i < kCallsPerPhase; ++i) {
    std::this_thread::sleep_until(next);
    next += kFramePeriod;
    frame->timestamp += 4000000;
    const double cost = vanta_bench::Milliseconds([&] { record.filter_video(filter, frame); });
    if (i >= 0) costs.push_back(cost);
  }
  return costs;
}

double Percentile(std::vector<double> values, double share) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(values.size() - 1) * share);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  vanta_test::gs_recorder::Reset();
  vanta_test::gs_recorder::SetModuleFile("vanta_beauty.effect");
  vanta_test::gs_recorder::SetRecording(false);
  vanta_test::host_double::Reset();
  vanta::RegisterBeautyFilter();
  vanta_test::host_double::SetRecording(false);
  const HostSourceInfo record = vanta_test::host_double::Registered("face_beauty_filter_v2");

  obs_source source;
  obs_data_t *settings = obs_data_create();
  void *filter = record.create(settings, &source);
  if (!filter) {
    std::fprintf(stderr, "worker_bench: the filter was not created\n");
    return 1;
  }
  obs_source_frame *frame = obs_source_frame_create(VIDEO_FORMAT_NV12, kWidth, kHeight);
  std::memset(frame->data[0], 128, size_t{frame->linesize[0]} * kHeight);
  std::memset(frame->data[1], 128, size_t{frame->linesize[1]} * kHeight / 2);

  vanta_bench::Turns turns;
  for (int round = 0; round < kRounds; ++round) {
    const double at_once = Percentile(MeasurePhase(record, filter, frame, 0), 0.999);
    turns.Add(Percentile(MeasurePhase(record, filter, frame, kSlowEngineMs), 0.999), at_once);
  }
  lumivex_set_delay_ms(0);
  record.destroy(filter);
  obs_data_release(settings);
  obs_source_frame_destroy(frame);

  const vanta_bench::Row row = turns.Result("filter_video p99.9, engine of 200 ms / at once", kBar);
  vanta_bench::PrintRow(row);
  return vanta_bench::Finish({row}, vanta_bench::OutPath(argc, argv));
}
