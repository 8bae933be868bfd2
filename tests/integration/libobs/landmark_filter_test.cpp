// The landmark filter on whole libobs, with a scripted runner: from the picture to the signal.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "fakes/runner/scripted_runner.h"
#include "fixtures/libobs/graphics_watch.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using vanta_test::RunnerPicture;
using vanta_test::RunnerScript;
namespace scripted_runner = vanta_test::scripted_runner;

Picture Grey(uint32_t width, uint32_t height, uint8_t grey) {
  Picture picture(width, height);
  picture.Fill(grey, grey, grey);
  return picture;
}

// Full-range grey as a limited-range luma.
int Luma(int grey) {
  return 16 + (grey * 219 + 127) / 255;
}

// On a clock that is held: a capture's faces are there in its own tick.
class LandmarkPath : public testing::TestWithParam<Path> {
 protected:
  explicit LandmarkPath(bool held_clock = true) : session_(SessionOptions{.held_clock = held_clock}) {
    vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
    RunnerScript script;
    script.tree = [] { return vanta_test::FaceTree({{}}); };
    scripted_runner::SetScript(script);
    RegisterPaintedSource();
    graphics_watch::Clear();
  }
  ~LandmarkPath() override {
    obs_wait_for_destroy_queue();
    EXPECT_EQ(scripted_runner::Alive(), 0);
  }

  // Until the runner gets a picture of this size whose middle is this grey.
  static bool WaitForPicture(uint32_t width, uint32_t height, uint8_t grey) {
    return WaitInStep(
        [&] {
          const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
          if (pictures.empty()) return false;
          const RunnerPicture &newest = pictures.back();
          return newest.width == static_cast<int>(width) && newest.height == static_cast<int>(height) &&
                 std::abs(newest.y[newest.y.size() / 2] - Luma(grey)) <= 2;
        },
        "the picture at the runner");
  }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

class Shown {
 public:
  explicit Shown(obs_source_t *source) { obs_set_output_source(0, source); }
  ~Shown() { obs_set_output_source(0, nullptr); }
  Shown(const Shown &) = delete;
  Shown &operator=(const Shown &) = delete;
};

TEST_P(LandmarkPath, PictureReachesTheRunnerAndItsFacesTheHost) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  FaceReceiver receiver;
  {
    const LandmarkFilter filter(source.Get(), GetParam());
    const Shown shown(source.Get());
    ASSERT_TRUE(WaitForPicture(64, 48, 200));
    receiver.WaitForNext(2);
  }
  const FaceMessage message = receiver.Messages().back();
  EXPECT_EQ(message.faces, 1);
  EXPECT_EQ(message.width, 64);
  EXPECT_EQ(message.height, 48);
  EXPECT_EQ(message.points.size(), 5u);
}

TEST_P(LandmarkPath, EachNewPictureIsSeen) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 10));
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  for (const uint8_t grey : {30, 230, 90, 160}) {
    source.Paint(Grey(64, 48, grey));
    ASSERT_TRUE(WaitForPicture(64, 48, grey));
  }
}

TEST_P(LandmarkPath, TopOfThePictureIsTopAtTheRunner) {
  PaintedSource source;
  Picture picture = Grey(64, 48, 40);
  for (uint32_t x = 0; x < 64; ++x)
    for (uint32_t y = 0; y < 8; ++y)
      for (int channel = 0; channel < 3; ++channel) picture.At(x, y)[channel] = 240;
  source.Paint(picture);
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  ASSERT_TRUE(WaitForPicture(64, 48, 40));
  const RunnerPicture seen = scripted_runner::Pictures().back();
  EXPECT_NEAR(seen.y[64 * 3 + 32], Luma(240), 2);
  EXPECT_NEAR(seen.y[64 * 44 + 32], Luma(40), 2);
}

TEST_P(LandmarkPath, ChangeOfSizeIsFollowed) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  for (const auto &[width, height, grey] :
       {std::tuple{64u, 48u, 50}, {320u, 180u, 220}, {31u, 17u, 120}, {64u, 48u, 80}}) {
    source.Paint(Grey(width, height, static_cast<uint8_t>(grey)));
    ASSERT_TRUE(WaitForPicture(width, height, static_cast<uint8_t>(grey)));
  }
}

TEST_P(LandmarkPath, VideoPassesUntouched) {
  PaintedSource source;
  Picture picture(64, 48);
  for (size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = static_cast<uint8_t>(i % 4 == 3 ? 255 : i * 7);
  source.Paint(picture);
  const Shown shown(source.Get());
  WaitForTicks(3);
  const Screenshot plain = TakeScreenshot(source.Get());
  const LandmarkFilter filter(source.Get(), GetParam());
  const auto runs = scripted_runner::Runs();
  ASSERT_TRUE(WaitInStep([&] { return scripted_runner::Runs() >= runs + 2; }, "two runs"));
  for (int i = 0; i < 20; ++i) {
    WaitForTicks(1);
    EXPECT_EQ(TakeScreenshot(source.Get()).pixels, plain.pixels);
  }
}

TEST_P(LandmarkPath, EngineThatSuppliesTheFacesStopsTheCaptures) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  ASSERT_TRUE(WaitForPicture(64, 48, 200));
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, true);
  WaitForTicks(2);
  graphics_watch::Clear();
  WaitForTicks(30);
  EXPECT_TRUE(graphics_watch::CaptureTimes().empty());
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
  source.Paint(Grey(64, 48, 60));
  EXPECT_TRUE(WaitForPicture(64, 48, 60));
}

TEST_P(LandmarkPath, CapturesKeepTheirInterval) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  ASSERT_TRUE(WaitInStep([] { return graphics_watch::CaptureTimes().size() >= 12; }, "captures"));
  const std::vector<uint64_t> times = graphics_watch::CaptureTimes();
  // Ticks come each 10 ms: the first one that is 66 ms later.
  for (size_t i = 1; i < times.size(); ++i) EXPECT_EQ(times[i] - times[i - 1], 70'000'000u) << i;
}

TEST_P(LandmarkPath, NoThreadOfTheWorkerAndNoReceiverEntersGraphics) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  FaceReceiver receiver;
  {
    const LandmarkFilter filter(source.Get(), GetParam());
    const Shown shown(source.Get());
    ASSERT_TRUE(WaitForPicture(64, 48, 200));
    source.Paint(Grey(32, 24, 200));
    ASSERT_TRUE(WaitForPicture(32, 24, 200));
  }
  obs_wait_for_destroy_queue();
  const std::set<std::thread::id> inside = graphics_watch::ThreadsInGraphics();
  EXPECT_GE(inside.size(), 2u);  // the graphics thread, and this one or libobs's that destroys
  ASSERT_FALSE(scripted_runner::Calls().empty());
  for (const vanta_test::RunnerCall &call : scripted_runner::Calls())
    EXPECT_FALSE(inside.contains(call.thread)) << call.text;
  for (const FaceMessage &message : receiver.Messages()) EXPECT_FALSE(inside.contains(message.thread));
}

// In real time: a clock that is held would wait for the runner that the test makes wait.
class LiveLandmarkPath : public LandmarkPath {
 protected:
  LiveLandmarkPath() : LandmarkPath(false) {}
};

TEST_P(LiveLandmarkPath, FilterGoesWhileTheRunnerWorks) {
  PaintedSource source;
  source.Paint(Grey(64, 48, 200));
  LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  scripted_runner::Close();
  ASSERT_TRUE(scripted_runner::WaitAtGate());
  filter.Remove();
  scripted_runner::Open();
  obs_wait_for_destroy_queue();
  EXPECT_EQ(scripted_runner::Alive(), 0);
  EXPECT_EQ(log_.CountWith("tessera landmark reset"), 1u);
}

TEST_P(LandmarkPath, SourceWithoutASizeHarmsNobody) {
  PaintedSource source;
  const LandmarkFilter filter(source.Get(), GetParam());
  const Shown shown(source.Get());
  WaitForTicks(20);
  source.Paint(Grey(64, 48, 200));
  EXPECT_TRUE(WaitForPicture(64, 48, 200));
}

TEST_P(LandmarkPath, FilterThatIsOnNoSourceIsRenderedByNobody) {
  const OBSSourceAutoRelease filter = obs_source_create("tessera_landmark_filter", "alone", nullptr, nullptr);
  ASSERT_TRUE(filter);
  obs_enter_graphics();
  obs_source_video_render(filter);
  obs_leave_graphics();
}

std::string NameOf(const testing::TestParamInfo<Path> &path) {
  return path.param == Path::kGpu ? "Gpu" : "Cpu";
}

INSTANTIATE_TEST_SUITE_P(Paths, LandmarkPath, testing::Values(Path::kCpu, Path::kGpu), NameOf);
INSTANTIATE_TEST_SUITE_P(Paths, LiveLandmarkPath, testing::Values(Path::kCpu, Path::kGpu), NameOf);

}  // namespace
}  // namespace vanta_integration
