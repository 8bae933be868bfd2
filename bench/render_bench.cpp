// video_render on whole libobs and software GL, at 1920x1080: a shared texture against libobs drawing a texture of its
// own, with and without the upstream chain, and against uploading the same picture. Times are those of a finished
// drawing, since the driver works on threads of its own.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <cstdio>
#include <functional>
#include <vector>

#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"
#include "lumivex/lumivex_control.h"
#include "on_display.h"
#include "ratio.h"
#include "vanta_host.h"

namespace {

using namespace vanta_integration;
using Work = std::function<void()>;

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr int kTurns = 60;

constexpr double kSharedBar = 1.1;
constexpr double kChainBar = 4.0;   // what the chain costs is the host's choice: told, and kept from running away
constexpr double kUploadBar = 1.1;  // on software GL an upload is a copy in memory: little to gain, nothing to lose

// Draws into a target of the frames' size, as a canvas does, and waits for the driver.
class Canvas {
 public:
  Canvas() {
    obs_enter_graphics();
    target_ = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    finish_ = reinterpret_cast<void (*)()>(vanta_host_gl_function("glFinish"));
    obs_leave_graphics();
  }
  ~Canvas() {
    obs_enter_graphics();
    gs_texrender_destroy(target_);
    obs_leave_graphics();
  }
  Canvas(const Canvas &) = delete;
  Canvas &operator=(const Canvas &) = delete;

  double Time(const Work &draw) {
    obs_enter_graphics();
    finish_();
    const double time = vanta_bench::Milliseconds([&] {
      DrawOnce(draw);
      finish_();
    });
    obs_leave_graphics();
    return time;
  }

 private:
  void DrawOnce(const Work &draw) {
    gs_texrender_reset(target_);
    if (!gs_texrender_begin(target_, kWidth, kHeight)) return;
    gs_ortho(0.0f, kWidth, 0.0f, kHeight, -100.0f, 100.0f);
    draw();
    gs_texrender_end(target_);
  }

  gs_texrender_t *target_ = nullptr;
  void (*finish_)() = nullptr;
};

// Each turn times both, in both orders.
vanta_bench::Row Compare(const char *name, double bar, const std::function<double()> &ours,
                         const std::function<double()> &other) {
  vanta_bench::Turns turns;
  for (int turn = 0; turn < kTurns; ++turn) {
    const double first_ours = ours();
    const double first_other = other();
    const double second_other = other();
    const double second_ours = ours();
    turns.Add(first_ours + second_ours, first_other + second_other);
  }
  vanta_bench::Row row = turns.Result(name, bar);
  vanta_bench::PrintRow(row);
  return row;
}

// A filter whose engine has handed out a frame, which stays the one that is drawn.
class DrawnFilter {
 public:
  DrawnFilter(const char *name, bool pixel_buffer) : source_(name), chain_(source_.Get()) {
    lumivex_set_pixel_buffer_output(pixel_buffer ? 3 : 0);
    chain_.before.KeepCopies(false);
    chain_.behind.KeepCopies(false);
    const FedFrame picture = MakeFrame(60, VIDEO_FORMAT_NV12, kWidth, kHeight);
    vanta_test::WaitUntil(
        [&] {
          FeedThrough(source_, chain_, picture);
          return chain_.behind.Count() >= 12 && (pixel_buffer || vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE));
        },
        "frames from the engine");
  }
  // libobs then calls the filter's video_render.
  Work Draw() {
    return [this] { obs_source_video_render(chain_.Filter()); };
  }

 private:
  FedSource source_;
  BeautyChain chain_;
};

class PlainTexture {
 public:
  PlainTexture() {
    std::vector<uint8_t> pixels(size_t{kWidth} * kHeight * 4, 100);
    const uint8_t *data = pixels.data();
    obs_enter_graphics();
    texture_ = gs_texture_create(kWidth, kHeight, GS_RGBA, 1, &data, 0);
    obs_leave_graphics();
  }
  ~PlainTexture() {
    obs_enter_graphics();
    gs_texture_destroy(texture_);
    obs_leave_graphics();
  }
  PlainTexture(const PlainTexture &) = delete;
  PlainTexture &operator=(const PlainTexture &) = delete;

  Work Draw() {
    return [this] {
      gs_effect_t *base = obs_get_base_effect(OBS_EFFECT_DEFAULT);
      while (gs_effect_loop(base, "Draw")) obs_source_draw(texture_, 0, 0, 0, 0, false);
    };
  }

 private:
  gs_texture_t *texture_ = nullptr;
};

std::vector<vanta_bench::Row> Measure() {
  const ObsSession session;
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, true);  // software GL alone would keep frames in memory
  // Sources that nobody shows: the canvas stays out of the way.
  DrawnFilter shared("shared", false);
  DrawnFilter uploaded("uploaded", true);
  PlainTexture plain;
  Canvas canvas;
  const auto time = [&](const Work &draw, bool skip_chain) {
    return [&canvas, draw, skip_chain] {
      vanta_host_set_switch(VANTA_SWITCH_JUMP_TEXTURE_RENDER, skip_chain);
      return canvas.Time(draw);
    };
  };
  return {
      Compare("video_render, shared texture / libobs's own draw", kSharedBar, time(shared.Draw(), true),
              time(plain.Draw(), true)),
      Compare("video_render with the upstream chain / without", kChainBar, time(shared.Draw(), false),
              time(shared.Draw(), true)),
      Compare("video_render, shared texture / upload", kUploadBar, time(shared.Draw(), true),
              time(uploaded.Draw(), true)),
  };
}

}  // namespace

int main(int argc, char **argv) {
  return vanta_bench::RunOnDisplay("render_bench",
                                   [&] { return vanta_bench::Finish(Measure(), vanta_bench::OutPath(argc, argv)); });
}
