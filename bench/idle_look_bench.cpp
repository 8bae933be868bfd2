// What beauty filters cost whose values are all off, against the same ones in the jump state: twenty of them on one
// source of small frames, whose own drawing and copying is nothing beside them.
#include <gtest/gtest.h>
#include <util/platform.h>
#include <obs.hpp>

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "fixtures/libobs/fed_source.h"
#include "fixtures/libobs/frame_tap.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"
#include "on_display.h"
#include "ratio.h"
#include "vanta_filter/engine/i_faceless.h"

namespace {

using namespace vanta_integration;

constexpr int kFilters = 20;
constexpr int kTurns = 30;
constexpr int kFrames = 40;     // a turn
constexpr int kDrawings = 400;  // a turn
constexpr double kBar = 1.1;

FedFrame SmallFrame() {
  FedFrame frame(VIDEO_FORMAT_NV12, 16, 16);
  frame.Draw(60);
  return frame;
}

// The filters between two taps, which tell what a frame costs the thread that takes it through them.
class Filters {
 public:
  Filters() {
    obs_source_filter_add(source_.Get(), before_.Get());
    for (int i = 0; i < kFilters; ++i) {
      filters_.emplace_back(
          obs_source_create("face_beauty_filter_v2", ("beauty " + std::to_string(i)).c_str(), nullptr, nullptr));
      obs_source_filter_add(source_.Get(), filters_.back());
    }
    obs_source_filter_add(source_.Get(), behind_.Get());
    for (FrameTap *tap : {&before_, &behind_}) tap->KeepCopies(false);
    before_.OnFrame([this](size_t) { entered_ms_ = vanta_bench::ThreadMilliseconds(); });
    behind_.OnFrame([this](size_t) { spent_ms_ = spent_ms_ + vanta_bench::ThreadMilliseconds() - entered_ms_; });
  }
  ~Filters() {
    obs_enter_graphics();
    for (obs_source_t *filter : filters_) obs_source_filter_remove(source_.Get(), filter);
    for (FrameTap *tap : {&before_, &behind_}) obs_source_filter_remove(source_.Get(), tap->Get());
    obs_leave_graphics();
  }
  Filters(const Filters &) = delete;
  Filters &operator=(const Filters &) = delete;

  void Smooth(int percent) {
    const OBSDataAutoRelease settings = obs_data_create();
    for (const char *name : {"beauty_smooth", "beauty_whiten", "beauty_ruddy"})
      obs_data_set_int(settings, name, percent);
    obs_source_update(filters_.front(), settings);
    WaitForTicks(2);
  }
  // Every filter has passed a frame on, so whatever was under way before is gone.
  void Feed(int frames) {
    for (int i = 0; i < frames; ++i) {
      const size_t before = behind_.Count();
      source_.Feed(SmallFrame());
      vanta_test::WaitUntil([&] { return behind_.Count() > before; }, "the frame behind the filters");
    }
    WaitForTicks(1);
  }
  double FilterMilliseconds() {
    spent_ms_ = 0;
    Feed(kFrames);
    return spent_ms_;
  }
  // Without a picture of the source's own.
  double RenderMilliseconds() {
    obs_source_output_video(source_.Get(), nullptr);
    WaitForTicks(2);
    obs_enter_graphics();
    const double spent = vanta_bench::ProcessorMilliseconds([&] {
      for (int i = 0; i < kDrawings; ++i) obs_source_video_render(source_.Get());
    });
    obs_leave_graphics();
    return spent;
  }

 private:
  FedSource source_;
  FrameTap before_, behind_;
  std::vector<OBSSourceAutoRelease> filters_;
  double entered_ms_ = 0;             // [video]
  std::atomic<double> spent_ms_ = 0;  // since it was last set to 0
};

// As a program gets it that is not the one which drives the filters: to that one frames go through the module always.
ILumivex &Control(obs_module_t *module) {
  const auto find =
      reinterpret_cast<bool (*)(ILumivex **)>(os_dlsym(obs_get_module_lib(module), "FindFacelessInstance"));
  ILumivex *control = nullptr;
  if (!find || !find(&control)) throw std::runtime_error("the module has no control object");
  return *control;
}

struct Costs {
  double filter_ms;
  double render_ms;
};

Costs Measure(Filters &filters, ILumivex &control, bool jump) {
  FacelessJumpInfo info{};
  info.need_jump = jump;
  control.SetFacelessJumpInfo(info);
  filters.Smooth(jump ? 30 : 0);
  filters.Feed(10);
  const double filter_ms = filters.FilterMilliseconds();
  return {filter_ms, filters.RenderMilliseconds()};
}

std::vector<vanta_bench::Row> MeasureAll() {
  const ObsSession session;
  Filters filters;
  ILumivex &control = Control(session.Module());
  vanta_bench::Turns filter_turns, render_turns;
  for (int turn = 0; turn < kTurns; ++turn) {
    const bool jump_first = turn % 2 == 0;
    const Costs first = Measure(filters, control, jump_first);
    const Costs second = Measure(filters, control, !jump_first);
    const Costs &idle = jump_first ? second : first, &jump = jump_first ? first : second;
    filter_turns.Add(idle.filter_ms, jump.filter_ms);
    render_turns.Add(idle.render_ms, jump.render_ms);
  }
  std::vector<vanta_bench::Row> rows = {
      filter_turns.Result("filter_video, 20 looks that are off / 20 in the jump", kBar),
      render_turns.Result("video_render, 20 looks that are off / 20 in the jump", kBar)};
  for (const vanta_bench::Row &row : rows) vanta_bench::PrintRow(row);
  return rows;
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_bench::RunOnDisplay("idle_look_bench",
                                   [&] { return vanta_bench::Finish(MeasureAll(), vanta_bench::OutPath(argc, argv)); });
}
