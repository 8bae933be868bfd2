// Both of the landmark filter's paths on whole libobs: what the runner is shown, and what comes back. Time is a clock's
// that is held, so it is known which tick's picture a message is of.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <vector>

#include "fakes/runner/scripted_runner.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/process/log_capture.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using vanta_test::RunnerPicture;

constexpr uint32_t kWidth = 320;
constexpr uint32_t kHeight = 240;
constexpr int kPictures = 5;
constexpr double kHalfAPixel = 0.5;
constexpr int kTicksBetweenCaptures = 7;  // at 100 a second: the first tick that is 66 ms later

// A bright round patch on grey, with soft edges: its middle lies between pixels.
Picture Patch(Point middle) {
  constexpr double kRadius = 24;
  Picture picture(kWidth, kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const double distance = std::hypot(x - middle.x, y - middle.y);
      const double share = std::clamp((kRadius - distance) / 8, 0.0, 1.0);
      const auto level = static_cast<uint8_t>(60 + 160 * share);
      std::fill_n(picture.At(x, y), 3, level);
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

Point MiddleOf(int picture) {
  return {60.0 + picture * 25.3, 180.0 - picture * 15.7};
}

// Where the patch is, by what the runner sees of it.
Point FindPatch(const RunnerPicture &picture) {
  double weight = 0, x_sum = 0, y_sum = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const double level = std::max(
          0, picture.y[static_cast<size_t>(y) * static_cast<size_t>(picture.width) + static_cast<size_t>(x)] - 80);
      weight += level;
      x_sum += level * x;
      y_sum += level * y;
    }
  }
  return weight > 0 ? Point{x_sum / weight, y_sum / weight} : Point{-1, -1};
}

// A runner that finds the patch and puts 101 points around its middle.
class PatchRunner {
 public:
  PatchRunner() {
    vanta_test::scripted_runner::Reset();
    vanta_test::RunnerScript script;
    script.on_run = [this](const RunnerPicture &picture) {
      const Point found = FindPatch(picture);
      std::lock_guard<std::mutex> lock(mutex_);
      found_ = found;
    };
    script.tree = [this] { return Tree(); };
    vanta_test::scripted_runner::SetRecording(false);
    vanta_test::scripted_runner::SetScript(script);
  }
  ~PatchRunner() { vanta_test::scripted_runner::Reset(); }
  PatchRunner(const PatchRunner &) = delete;
  PatchRunner &operator=(const PatchRunner &) = delete;

 private:
  std::shared_ptr<tessera::Any> Tree() {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<tessera::TesseraPoint> points(101);
    for (size_t i = 0; i < points.size(); ++i) {
      const double angle = static_cast<double>(i) / 101 * 2 * 3.14159265;
      points[i] = {static_cast<float>(found_.x + std::cos(angle)), static_cast<float>(found_.y + std::sin(angle)), {}};
    }
    const tessera::Any face = tessera::Any::newMap("pos", vanta_test::PointList(std::move(points)));
    return std::make_shared<tessera::Any>(vanta_test::FacesMap({face}));
  }

  std::mutex mutex_;
  Point found_;
};

class LandmarkPaths : public testing::Test {
 protected:
  LandmarkPaths() { RegisterPaintedSource(); }

  // The whole clip down one path: the next message after each new picture, which is of that one.
  std::vector<FaceMessage> Play(Path path) {
    PaintedSource source;
    source.Paint(Patch(MiddleOf(0)));
    obs_set_output_source(0, source.Get());
    const FaceReceiver receiver;
    std::vector<FaceMessage> messages;
    {
      const LandmarkFilter filter(source.Get(), path);
      for (int i = 0; i < kPictures; ++i) {
        source.Paint(Patch(MiddleOf(i)));
        messages.push_back(receiver.WaitForNext(1));
      }
    }
    obs_set_output_source(0, nullptr);
    obs_wait_for_destroy_queue();
    return messages;
  }
  static void ExpectNear(Point one, Point other) {
    EXPECT_NEAR(one.x, other.x, kHalfAPixel);
    EXPECT_NEAR(one.y, other.y, kHalfAPixel);
  }

  const vanta_test::LogCapture log_;
  ObsSession session_{SessionOptions{.held_clock = true}};
  PatchRunner runner_;
};

TEST_F(LandmarkPaths, GiveTheSamePointsOnTheSameClipWithinHalfAPixel) {
  const std::vector<FaceMessage> cpu = Play(Path::kCpu);
  EXPECT_FALSE(log_.HasText("use gpu map."));
  const std::vector<FaceMessage> gpu = Play(Path::kGpu);
  EXPECT_TRUE(log_.HasText("use gpu map."));
  EXPECT_FALSE(log_.HasText("Create D3D device or context failed!"));
  ASSERT_EQ(cpu.size(), gpu.size());
  for (size_t i = 0; i < cpu.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(gpu[i].width, kWidth);
    EXPECT_EQ(gpu[i].height, kHeight);
    ASSERT_EQ(cpu[i].points.size(), 5u);
    ASSERT_EQ(gpu[i].points.size(), 5u);
    for (size_t point = 0; point < 5; ++point) ExpectNear(cpu[i].points[point], gpu[i].points[point]);
  }
}

class EachPath : public LandmarkPaths, public testing::WithParamInterface<Path> {};

// Every point lies one pixel from the patch's middle.
TEST_P(EachPath, ShowsTheRunnerThePictureWhereTheSourceHasIt) {
  const std::vector<FaceMessage> messages = Play(GetParam());
  ASSERT_EQ(messages.size(), size_t{kPictures});
  for (int i = 0; i < kPictures; ++i) {
    SCOPED_TRACE(i);
    const FaceMessage &message = messages[static_cast<size_t>(i)];
    ASSERT_EQ(message.points.size(), 5u);
    for (const Point &point : message.points)
      EXPECT_NEAR(std::hypot(point.x - MiddleOf(i).x, point.y - MiddleOf(i).y), 1.0, kHalfAPixel);
  }
}

TEST_P(EachPath, SendsNothingMoreWhenTheFilterIsGone) {
  Play(GetParam());
  const FaceReceiver receiver;
  EXPECT_TRUE(WaitForTicks(10 * kTicksBetweenCaptures));
  EXPECT_EQ(receiver.Messages().size(), 0u);
  EXPECT_EQ(vanta_test::scripted_runner::Alive(), 0);
}

// Captures come no closer than 66 milliseconds apart, whatever the canvas's rate.
TEST_P(EachPath, CapturesAtMostFifteenTimesASecond) {
  PaintedSource source;
  source.Paint(Patch(MiddleOf(0)));
  obs_set_output_source(0, source.Get());
  {
    const LandmarkFilter filter(source.Get(), GetParam());
    const FaceReceiver receiver;
    receiver.WaitForNext(1);
    for (size_t more = 1; more <= 15; ++more) {
      EXPECT_TRUE(WaitForTicks(kTicksBetweenCaptures - 1));
      EXPECT_EQ(receiver.Messages().size(), more);
      EXPECT_TRUE(WaitForTicks(1));
      EXPECT_EQ(receiver.Messages().size(), more + 1);
    }
  }
  obs_set_output_source(0, nullptr);
}

INSTANTIATE_TEST_SUITE_P(CpuAndGpu, EachPath, testing::Values(Path::kCpu, Path::kGpu));

}  // namespace
}  // namespace vanta_integration
