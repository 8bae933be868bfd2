// More than one eye on the source: screenshots, a second view and a display, while frames flow.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/display.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/wait.h"

// Last: its macros would change the words of the others.
#include <X11/Xlib.h>

namespace vanta_integration {
namespace {

using vanta_test::EngineScript;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr uint32_t kWidth = 64;
constexpr uint32_t kHeight = 48;

void WhitenLuma(LX::FrameData &frame) {
  std::memset(frame.planes[0], 235, static_cast<size_t>(frame.strides[0]) * static_cast<size_t>(frame.height));
  std::memset(frame.planes[1], 128, static_cast<size_t>(frame.strides[1]) * static_cast<size_t>(frame.height / 2));
}

// An engine that gives out pictures of four bytes a pixel: red, green, blue, alpha.
void PaintOrange(LX::FrameData &frame) {
  static std::vector<uint8_t> *const picture = [] {
    auto *made = new std::vector<uint8_t>(size_t{kWidth} * kHeight * 4);
    for (size_t at = 0; at < made->size(); at += 4) {
      const uint8_t orange[4] = {250, 120, 10, 255};
      std::memcpy(made->data() + at, orange, sizeof(orange));
    }
    return made;
  }();
  frame.planes[0] = picture->data();
  frame.strides[0] = static_cast<int32_t>(kWidth) * 4;
}

void ExpectNear(const std::array<int, 4> &pixel, const std::array<int, 3> &wanted, int tolerance) {
  for (size_t channel = 0; channel < 3; ++channel)
    EXPECT_NEAR(pixel[channel], wanted[channel], tolerance) << "channel " << channel;
}

TEST(Screenshot, ShowsTheEnginesPicture) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) { script.on_frame = WhitenLuma; });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  source.Show();
  FeedUntilKept(source, chain);
  FeedThrough(source, chain, MakeFrame(60));
  WaitForTicks(2);
  const Screenshot shot = TakeScreenshot(source.Get());
  ASSERT_EQ(shot.width, kWidth);
  ExpectNear(shot.At(20, 20), {255, 255, 255}, 2);
}

TEST(Screenshot, ShowsAPixelBufferOfTheEngine) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = PaintOrange;
    script.out_format = LX::PixelFormat::kPixelBuffer;
  });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  source.Show();
  FeedUntilKept(source, chain);
  FeedThrough(source, chain, MakeFrame(60));
  WaitForTicks(2);
  const Screenshot shot = TakeScreenshot(source.Get());
  ASSERT_EQ(shot.width, kWidth);
  ExpectNear(shot.At(20, 20), {250, 120, 10}, 2);
}

// Draws the source over and over on another thread until it is stopped.
class ScreenshotThread {
 public:
  explicit ScreenshotThread(obs_source_t *source)
      : thread_([this, source] {
          while (!stop_) {
            if (!TakeScreenshot(source).pixels.empty()) ++taken_;
          }
        }) {}
  ~ScreenshotThread() {
    stop_ = true;
    thread_.join();
  }
  size_t Taken() const { return taken_; }

 private:
  std::atomic<bool> stop_{false};
  std::atomic<size_t> taken_{0};
  std::thread thread_;
};

void FeedBesideScreenshots(FedSource &source, BeautyChain &chain, size_t frames) {
  ScreenshotThread thread(source.Get());
  for (size_t frame = 0; frame < frames; ++frame) FeedThrough(source, chain, MakeFrame(60));
  vanta_test::WaitUntil([&] { return thread.Taken() >= 10; }, "ten screenshots");
}

TEST(Screenshot, TakenFromAnotherThreadLeavesTheFramesAsTheyAre) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) { script.on_frame = WhitenLuma; });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  source.Show();
  FeedUntilKept(source, chain);
  chain.behind.TakeFrames();
  FeedBesideScreenshots(source, chain, 40);
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  EXPECT_EQ(out.size(), 40u);
  for (const FedFrame &frame : out) EXPECT_EQ(frame.Luma(20, 20), 235);
}

TEST(Screenshot, TakenFromAnotherThreadMeetsEachNewPixelBuffer) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = PaintOrange;
    script.out_format = LX::PixelFormat::kPixelBuffer;
  });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  source.Show();
  FeedUntilKept(source, chain);
  FeedBesideScreenshots(source, chain, 40);
  WaitForTicks(2);
  ExpectNear(TakeScreenshot(source.Get()).At(20, 20), {250, 120, 10}, 2);
}

// A second view of the canvas, drawn by libobs in every round like the first.
class SecondView {
 public:
  explicit SecondView(obs_source_t *source) : view_(obs_view_create()) {
    obs_view_set_source(view_, 0, source);
    mix_ = obs_view_add(view_);
  }
  ~SecondView() {
    obs_view_set_source(view_, 0, nullptr);
    obs_view_remove(view_);
    obs_view_destroy(view_);
  }
  bool Runs() const { return mix_ != nullptr; }

 private:
  obs_view_t *view_;
  video_t *mix_ = nullptr;
};

// A window that shows the source.
class Preview {
 public:
  explicit Preview(obs_source_t *source) : source_(source) {
    window_ = XCreateSimpleWindow(Display(), DefaultRootWindow(Display()), 0, 0, 160, 120, 0, 0, 0);
    XMapWindow(Display(), window_);
    XSync(Display(), False);
    gs_init_data init{};
    init.cx = 160;
    init.cy = 120;
    init.format = GS_BGRA;
    init.window.id = static_cast<uint32_t>(window_);
    init.window.display = Display();
    display_ = obs_display_create(&init, 0);
    obs_display_add_draw_callback(display_, Draw, this);
  }
  ~Preview() {
    obs_display_remove_draw_callback(display_, Draw, this);
    obs_display_destroy(display_);
    XDestroyWindow(Display(), window_);
  }
  size_t Drawn() const { return drawn_; }

 private:
  static void Draw(void *param, uint32_t, uint32_t) {
    auto &preview = *static_cast<Preview *>(param);
    obs_source_video_render(preview.source_);
    ++preview.drawn_;
  }

  obs_source_t *source_;
  ::Window window_ = 0;
  obs_display_t *display_ = nullptr;
  std::atomic<size_t> drawn_{0};
};

TEST(Views, ASecondViewAndADisplayShareTheSourceWhileFramesFlow) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) { script.on_frame = WhitenLuma; });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  source.Show();
  FeedUntilKept(source, chain);
  chain.behind.TakeFrames();
  const SecondView view(source.Get());
  ASSERT_TRUE(view.Runs());
  const Preview preview(source.Get());
  for (int frame = 0; frame < 40; ++frame) FeedThrough(source, chain, MakeFrame(60));
  vanta_test::WaitUntil([&] { return preview.Drawn() >= 10; }, "ten drawings of the display");
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  EXPECT_EQ(out.size(), 40u);
  for (const FedFrame &frame : out) EXPECT_EQ(frame.Luma(20, 20), 235);
}

}  // namespace
}  // namespace vanta_integration
