// What a frame pays for its statistics, against an empty callback: everything that is counted, timed and kept on its
// way through filter, worker and drawing. The once-a-second sample is not part of it.
#include <util/base.h>

#include <cstdarg>
#include <memory>

#include "comparison.h"
#include "stats/delay_stats.h"
#include "stats/frame_cost_recorder.h"
#include "stats/stattistics.h"

namespace {

constexpr int kFrames = 1000;
constexpr int kFramesPerInterval = 60;  // a second's worth at the fastest usual rate
constexpr int kTurns = 60;
constexpr double kMeterBar = 100;
constexpr double kFrameBar = 400;

using Callback = void (*)();

void Empty() {}

// Read at each call, so that the call stays a call.
Callback volatile callback = Empty;

void CallEmpty() {
  for (int i = 0; i < kFrames; ++i) callback();
}

struct FrameStatistics {
  vanta::DelayStats delay;
  vanta::Stattistics tick{[](bool, float, float) {}};
  vanta::FrameCostRecorder filter_cost{"filter"};
  vanta::FrameCostRecorder process_cost{"process"};
  vanta::FrameCostRecorder render_cost{"render"};

  void Frame() {
    {
      const vanta::FrameCostScope cost(filter_cost);
      ++tick.in_count;
      delay.OnFrameArrived();
      delay.OnFrameTaken();
      ++tick.out_count;
      delay.OnFrameOut(33);
      delay.OnFrameDataOut(33);
      callback();
    }
    {
      const vanta::FrameCostScope cost(process_cost);
      delay.OnFrameProcessed(4.0F, 1.0F, 2.0F, 1);
    }
    const vanta::FrameCostScope cost(render_cost);
  }
};

vanta_bench::Pair MakeMeter() {
  const auto recorder = std::make_shared<vanta::FrameCostRecorder>("meter");
  const auto ours = [recorder] {
    for (int i = 0; i < kFrames; ++i) {
      const vanta::FrameCostScope cost(*recorder);
      callback();
    }
  };
  return {ours, CallEmpty};
}

vanta_bench::Pair MakeFrame() {
  const auto statistics = std::make_shared<FrameStatistics>();
  const auto ours = [statistics] {
    for (int i = 0; i < kFrames; ++i) {
      if (i % kFramesPerInterval == 0) statistics->delay.Reset();
      statistics->Frame();
    }
  };
  return {ours, CallEmpty};
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  vanta_bench::Compare("1,000 callbacks with a cost meter / empty ones", kMeterBar, kTurns, MakeMeter);
  vanta_bench::Compare("statistics of 1,000 frames / empty callbacks", kFrameBar, kTurns, MakeFrame);
  return vanta_bench::RunComparisons(argc, argv);
}
