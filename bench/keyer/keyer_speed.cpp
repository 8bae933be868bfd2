#include "keyer_speed.h"

#include <graphics/vec4.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "pass_times.h"
#include "ratio.h"
#include "stock_key.h"

namespace keyer_bench {
namespace {

using vanta_integration::GreenScreen;
using vanta_integration::PaintedSource;
using vanta_integration::Picture;

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr int kTurns = 5;
constexpr int kTicks = 4;  // a turn: not every tick has a map of the backing drawn

// Draws sources as a canvas does and waits for the pixels.
class Target {
 public:
  Target() {
    obs_enter_graphics();
    target_ = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    stage_ = gs_stagesurface_create(kWidth, kHeight, GS_RGBA);
    obs_leave_graphics();
  }
  ~Target() {
    obs_enter_graphics();
    gs_stagesurface_destroy(stage_);
    gs_texrender_destroy(target_);
    obs_leave_graphics();
  }
  Target(const Target &) = delete;
  Target &operator=(const Target &) = delete;

  // Process time of one draw. Inside graphics.
  double Draw(obs_source_t *source) {
    const double start = ProcessMilliseconds();
    gs_texrender_reset(target_);
    if (gs_texrender_begin(target_, kWidth, kHeight)) {
      vec4 clear;
      vec4_zero(&clear);
      gs_clear(GS_CLEAR_COLOR, &clear, 0.0f, 0);
      gs_ortho(0.0f, static_cast<float>(kWidth), 0.0f, static_cast<float>(kHeight), -100.0f, 100.0f);
      obs_source_video_render(source);
      gs_texrender_end(target_);
    }
    gs_stage_texture(stage_, gs_texrender_get_texture(target_));
    uint8_t *data = nullptr;
    uint32_t pitch = 0;
    if (gs_stagesurface_map(stage_, &data, &pitch)) gs_stagesurface_unmap(stage_);
    return ProcessMilliseconds() - start;
  }

 private:
  gs_texrender_t *target_ = nullptr;
  gs_stagesurf_t *stage_ = nullptr;
};

Picture TakeAtFullSize(const Scene &scene) {
  Picture picture(kWidth, kHeight);
  picture.pixels = scene.Frame(0).rgba;
  return picture;
}

struct Times {
  double bare, ours, cached, stock;
};

// One draw of each, on a tick of its own; the cached one behind ours in the same tick.
Times Turn(Target &target, obs_source_t *bare, obs_source_t *ours, obs_source_t *stock) {
  Times times{};
  vanta_integration::WaitForTicks(1);
  obs_enter_graphics();
  times.bare = target.Draw(bare);
  times.ours = target.Draw(ours);
  times.cached = target.Draw(ours);
  times.stock = target.Draw(stock);
  obs_leave_graphics();
  return times;
}

struct Chain {
  const char *name;
  const char *config;
};

constexpr Chain kChains[] = {
    {"key and spill alone", R"({"denoiseEnabled":false})"},
    {"with denoise (default)", R"({"denoiseEnabled":true})"},
    {"with denoise, shrink 2", R"({"alphaShrink":2})"},
    {"with denoise, blur of 1 level", R"({"alphaShrink":0,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})"},
    {"with denoise, blur of 3 levels", R"({"fgAlphaBlurIntensity":1})"},
};

// Of the default chain: the host's copy of the source, the map of the backing, the key, the draw on the host's target.
// "Draw" is the host's technique.
constexpr const char *kDefaultPasses[] = {"Draw",   "BackingCells", "BackingMap", "FineMap",         "MixingCells",
                                          "Mixing", "LutApply",     "Denoise",    "SpillSuppression"};
// What the other settings add: shrink has two draws, the blur three down and three up.
constexpr const char *kOtherPasses[] = {"KeyLut", "AlphaShrink", "BlurDown", "BlurUp", "BlurStep"};

// Each pass by itself. With `anew` the key table is made anew each time.
template <size_t kCount>
void MeasurePasses(Target &target, GreenScreen &filter, const char *config, const char *const (&names)[kCount],
                   bool anew, const PaintedSource (&sources)[3], std::vector<vanta_bench::Row> &rows) {
  const auto &[bare, ours, stock] = sources;
  filter.Configure(config);
  std::map<std::string, vanta_bench::Turns> passes;
  for (int turn = 0; turn <= kTurns; ++turn) {
    std::map<std::string, double> sums;
    double stock_ms = 0;
    for (int tick = 0; tick < kTicks; ++tick) {
      if (anew) filter.Configure(tick % 2 == 0 ? R"({"similarity":0.6})" : R"({"similarity":0.667})");
      vanta_integration::WaitForTicks(1);
      obs_enter_graphics();
      stock_ms += target.Draw(stock.Get()) - target.Draw(bare.Get());
      {
        PassTimes times;
        target.Draw(ours.Get());
        for (const auto &[name, ms] : times.Result()) sums[name] += ms;
      }
      obs_leave_graphics();
    }
    for (const char *name : names)
      if (turn > 0) passes[name].Add(sums[name] / kTicks, stock_ms / kTicks);
  }
  for (const char *name : names) {
    rows.push_back(passes[name].Result(std::string("green screen 1080p, pass ") + name, 99));
    vanta_bench::PrintRow(rows.back());
  }
}

}  // namespace

int MeasureSpeed(int argc, char **argv) {
  SceneOptions options;
  options.width = kWidth;
  options.height = kHeight;
  const Scene scene(options);
  const Picture picture = TakeAtFullSize(scene);
  PaintedSource sources[3];
  for (PaintedSource &source : sources) source.Paint(picture);
  const auto &[bare, ours, stock] = sources;
  GreenScreen filter(ours.Get(), R"({"keyColor":[0.2,0.68,0.28]})");
  const StockKey stock_filter(stock.Get(), scene, {});
  Target target;

  std::vector<vanta_bench::Row> rows;
  // --quick: the default chain alone.
  const bool quick = std::any_of(argv, argv + argc, [](const char *arg) { return std::strcmp(arg, "--quick") == 0; });
  for (const Chain &chain : kChains) {
    const bool is_default = &chain == &kChains[1];
    if (quick && !is_default) continue;
    filter.Configure(chain.config);
    Turn(target, bare.Get(), ours.Get(), stock.Get());
    vanta_bench::Turns whole, cached;
    for (int turn = 0; turn < kTurns; ++turn) {
      Times sum{};
      for (int tick = 0; tick < kTicks; ++tick) {
        const Times t = Turn(target, bare.Get(), ours.Get(), stock.Get());
        sum.bare += t.bare;
        sum.ours += t.ours;
        sum.cached += t.cached;
        sum.stock += t.stock;
      }
      whole.Add((sum.ours - sum.bare) / kTicks, (sum.stock - sum.bare) / kTicks);
      cached.Add((sum.cached - sum.bare) / kTicks, (sum.stock - sum.bare) / kTicks);
    }
    rows.push_back(whole.Result(std::string("green screen 1080p, ") + chain.name, is_default ? 2.0 : 99));
    vanta_bench::PrintRow(rows.back());
    if (!is_default) continue;
    rows.push_back(cached.Result("green screen 1080p, second render in a tick", 0.15));
    vanta_bench::PrintRow(rows.back());
    MeasurePasses(target, filter, chain.config, kDefaultPasses, false, sources, rows);
  }
  if (quick) return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
  vanta_bench::Turns table;
  for (int turn = 0; turn < 6; ++turn) {
    filter.Configure(turn % 2 == 0 ? R"({"similarity":0.6,"fgAlphaBlurEnabled":false})" : R"({"similarity":0.667})");
    const Times first = Turn(target, bare.Get(), ours.Get(), stock.Get());
    const Times second = Turn(target, bare.Get(), ours.Get(), stock.Get());
    table.Add(first.ours - second.ours, second.stock - second.bare);
  }
  rows.push_back(table.Result("green screen, key table made anew", 99));
  vanta_bench::PrintRow(rows.back());
  MeasurePasses(target, filter, R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})", kOtherPasses,
                true, sources, rows);
  return vanta_bench::Finish(rows, vanta_bench::OutPath(argc, argv));
}

}  // namespace keyer_bench
