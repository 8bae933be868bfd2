// The landmark worker's GPU path: from the target's texture to the message.
#include <gmock/gmock.h>

#include <GL/glcorearb.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "fakes/clock/movable_clock.h"
#include "fixtures/module/landmark_fixture.h"
#include "fixtures/process/wait.h"
#include "landmark/rgba_to_i420.h"
#include "landmark/tessera_landmark_filter_worker.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;
using Worker = vanta::TesseraLandmarkFilterWorker;

constexpr uint32_t kWidth = 8;
constexpr uint32_t kHeight = 4;
constexpr size_t kTextures = 6;

class LandmarkGpuPath : public LandmarkFixture {
 protected:
  LandmarkGpuPath() {
    UseGpuPath(true);
    gl_host_double::Script().context = true;
  }
  ~LandmarkGpuPath() override { End(); }

  void Start() {
    worker_ = std::make_unique<Worker>();
    const gs_recorder::InGraphics graphics;
    target_ = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    SetSize(kWidth, kHeight);
    WaitForSetUp(*worker_);
  }
  void WaitForSetUp(Worker &worker) {
    const gs_recorder::InGraphics graphics;
    WaitUntil(
        [&] {
          log_.Clear();
          worker.CopyTexture(nullptr);
          return !log_.HasText("not init yet");
        },
        "the worker's set-up");
  }
  void End() {
    scripted_runner::Open();
    if (!worker_) return;
    worker_->Stop();
    const gs_recorder::InGraphics graphics;
    gs_texrender_destroy(target_);
    worker_.reset();
    EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  }
  void SetSize(uint32_t width, uint32_t height) {
    const gs_recorder::InGraphics graphics;
    gs_texrender_begin(target_, width, height);
    gs_texrender_end(target_);
  }
  // The texture is back in the pool when this returns.
  void Copy() { CopyBy(*worker_); }
  void CopyBy(Worker &worker) {
    const size_t sleeps = host_double::Count("GpuThreadSleep");
    {
      const gs_recorder::InGraphics graphics;
      worker.CopyTexture(target_);
    }
    host_double::WaitForCalls("GpuThreadSleep", sleeps + 1);
  }
  void CopyTimes(size_t count) {
    for (size_t i = 0; i < count; ++i) Copy();
  }
  // The keys with which the graphics thread takes its textures.
  static Strings AcquireKeys() {
    Strings keys;
    for (const std::string &call : gs_recorder::Calls()) {
      if (call.rfind("gs_texture_acquire_sync(", 0) == 0) keys.push_back(call.substr(call.find(", ") + 2, 1));
    }
    return keys;
  }

  gs_texrender_t *target_ = nullptr;
  std::unique_ptr<Worker> worker_;
};

TEST_F(LandmarkGpuPath, LogAndReportsTellOfThePathAndItsDevice) {
  Start();
  End();
  const std::vector<HostReport> reports = host_double::Reports();
  ASSERT_GE(reports.size(), 2u);
  EXPECT_EQ(reports[0], (HostReport{19, "use gpu map."}));
  EXPECT_EQ(reports[1].body.substr(0, 18), "Create D3D Device ");
}

TEST_F(LandmarkGpuPath, TextureBecomesAMessage) {
  Start();
  Copy();
  const std::vector<Message> messages = Messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].Int("face_cont"), 1);
  EXPECT_EQ(messages[0].Int("width"), kWidth);
  EXPECT_EQ(messages[0].Int("height"), kHeight);
}

TEST_F(LandmarkGpuPath, RunnerGetsThePixelsOfTheTexture) {
  Start();
  Copy();
  std::vector<uint8_t> rgba;
  for (uint32_t y = 0; y < kHeight; ++y)
    for (uint32_t x = 0; x < kWidth; ++x)
      for (uint32_t channel = 0; channel < 4; ++channel) rgba.push_back(gl_host_double::Pixel(x, y, channel));
  const vanta::OwnedFrame frame = vanta::MakeI420HostFrame(kWidth, kHeight);
  ASSERT_TRUE(vanta::RGBAtoI420(rgba.data(), kWidth * 4, frame.get()));
  const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
  ASSERT_EQ(pictures.size(), 1u);
  constexpr size_t kPixels = kWidth * kHeight;
  EXPECT_EQ(pictures[0].y, std::vector<uint8_t>(frame->data[0], frame->data[0] + kPixels));
  EXPECT_EQ(pictures[0].u, std::vector<uint8_t>(frame->data[1], frame->data[1] + kPixels / 4));
  EXPECT_EQ(pictures[0].v, std::vector<uint8_t>(frame->data[2], frame->data[2] + kPixels / 4));
}

TEST_F(LandmarkGpuPath, PicturesOfBothPathsAreFoundByOneRunnerThatDiesOnItsThread) {
  Start();
  Copy();
  End();
  const std::vector<RunnerCall> calls = scripted_runner::Calls();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(calls.back().text, "~TesseraRunner()");
  EXPECT_EQ(calls.back().thread, calls.front().thread);
}

TEST_F(LandmarkGpuPath, BeforeTheSetUpIsDoneATextureIsSkippedWithALine) {
  HoldInConfigFolder(true);
  worker_ = std::make_unique<Worker>();
  {
    const gs_recorder::InGraphics graphics;
    target_ = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    worker_->CopyTexture(target_);
  }
  EXPECT_TRUE(log_.Has(LOG_ERROR, "TesseraLandmarkFilterWorker not init yet."));
  EXPECT_EQ(gs_recorder::Count("gs_texrender_get_texture"), 0u);
  HoldInConfigFolder(false);
}

TEST_F(LandmarkGpuPath, WithoutADeviceNothingIsCopiedAndNothingSent) {
  gl_host_double::Script().context = false;
  Start();
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{19, "use gpu map."}, {19, "Create D3D device or context failed!"}}));
  {
    const gs_recorder::InGraphics graphics;
    worker_->CopyTexture(target_);
  }
  EXPECT_EQ(gs_recorder::Count("gs_texture_create"), 0u);
  End();
  EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(LandmarkGpuPath, TargetWithoutATextureIsSkipped) {
  Start();
  gs_recorder::FailAll("gs_texrender_get_texture");
  const gs_recorder::InGraphics graphics;
  worker_->CopyTexture(target_);
  EXPECT_EQ(gs_recorder::Count("gs_texture_create"), 0u);
}

TEST_F(LandmarkGpuPath, KeysRunTheirCircle) {
  Start();
  CopyTimes(kTextures + 1);
  EXPECT_THAT(AcquireKeys(), testing::Each("0"));
}

TEST_F(LandmarkGpuPath, TextureThatCannotBeOpenedKeepsItsKey) {
  gl_host_double::Script().texture = false;
  Start();
  CopyTimes(kTextures);
  EXPECT_EQ(scripted_runner::Runs(), 0u);
  gl_host_double::Script().texture = true;
  CopyTimes(kTextures);
  CopyTimes(1);
  EXPECT_EQ(scripted_runner::Runs(), kTextures + 1);
  EXPECT_THAT(AcquireKeys(), ElementsAre("0", "0", "0", "0", "0", "0", "1", "1", "1", "1", "1", "1", "0"));
}

TEST_F(LandmarkGpuPath, PictureThatCannotBeMappedIsSkippedButItsKeysAdvance) {
  gl_host_double::Script().read_error = GL_OUT_OF_MEMORY;
  Start();
  CopyTimes(kTextures + 1);
  EXPECT_EQ(scripted_runner::Runs(), 0u);
  EXPECT_THAT(AcquireKeys(), testing::Each("0"));
}

TEST_F(LandmarkGpuPath, TextureWithoutAStagingTextureKeepsItsKey) {
  Start();
  SetSize(0, 0);  // of which none is made
  CopyTimes(kTextures + 1);
  EXPECT_EQ(log_.Count("Failed to create texture"), kTextures + 1);
  EXPECT_THAT(AcquireKeys(), ElementsAre("0", "0", "0", "0", "0", "0", "1"));
}

// The worker's own thread stands in a run, so that the GPU worker goes on after the stop.
TEST_F(LandmarkGpuPath, TextureAfterAStopKeepsItsKey) {
  Start();
  scripted_runner::Close();
  const std::vector<uint8_t> pixels(kWidth * kHeight * 4, 50);
  WaitUntil(
      [&] {
        worker_->PushFrame(pixels.data(), kWidth, kHeight, kWidth * 4);
        return scripted_runner::AtGate();
      },
      "a run at the gate");
  worker_->Stop();
  CopyTimes(kTextures + 1);
  EXPECT_THAT(AcquireKeys(), ElementsAre("0", "0", "0", "0", "0", "0", "1"));
  End();
  EXPECT_EQ(scripted_runner::Runs(), 1u);
}

TEST_F(LandmarkGpuPath, AfterAStopTexturesReachNoRunner) {
  Start();
  scripted_runner::Close();
  {
    const gs_recorder::InGraphics graphics;
    worker_->CopyTexture(target_);
  }
  scripted_runner::WaitAtGate();
  {
    const gs_recorder::InGraphics graphics;
    worker_->CopyTexture(target_);
  }
  worker_->Stop();
  End();
  EXPECT_EQ(scripted_runner::Runs(), 1u);
}

TEST_F(LandmarkGpuPath, NewSizeGetsAStagingTextureAndAFrameOfItsOwn) {
  Start();
  Copy();
  SetSize(kWidth, 10);
  Copy();
  SetSize(20, 10);
  Copy();
  SetSize(3, 5);
  CopyTimes(2);
  Strings sizes;
  for (const RunnerPicture &picture : scripted_runner::Pictures())
    sizes.push_back(std::to_string(picture.width) + ", " + std::to_string(picture.height));
  EXPECT_THAT(sizes, ElementsAre("8, 4", "8, 10", "20, 10", "3, 5", "3, 5"));
  Strings read;
  for (const std::string &call : gl_host_double::Calls())
    if (call.rfind("glReadPixels(", 0) == 0) read.push_back(call.substr(13, call.size() - 14));
  EXPECT_EQ(read, sizes);
}

TEST_F(LandmarkGpuPath, TextureOfNoSizeIsSkipped) {
  Start();
  SetSize(0, 0);
  Copy();
  EXPECT_EQ(scripted_runner::Runs(), 0u);
}

TEST_F(LandmarkGpuPath, OnePictureInThirtySecondsIsToldOf) {
  Start();
  CopyTimes(3);
  EXPECT_FALSE(log_.HasText("Send data to corvid."));
  MovableClock::Advance(std::chrono::seconds(29));
  CopyTimes(2);
  EXPECT_FALSE(log_.HasText("Send data to corvid."));
  MovableClock::Advance(std::chrono::seconds(1));
  CopyTimes(2);
  EXPECT_EQ(log_.Count("Send data to corvid."), 1u);
  EXPECT_TRUE(log_.Has(LOG_INFO, "Send data to corvid."));
}

TEST_F(LandmarkGpuPath, OneFailureInThirtySecondsIsToldOf) {
  gl_host_double::Script().texture = false;
  Start();
  Copy();
  MovableClock::Advance(std::chrono::seconds(30));
  CopyTimes(3);
  EXPECT_EQ(log_.Count("MapSharedHandleToCPU failed!"), 1u);
  EXPECT_TRUE(log_.Has(LOG_ERROR, "MapSharedHandleToCPU failed!"));
}

TEST_F(LandmarkGpuPath, OnePictureOfAllWorkersInThirtySecondsIsToldOf) {
  Start();
  auto other = std::make_unique<Worker>();
  WaitForSetUp(*other);
  const auto copy_by_both = [&] {
    Copy();
    CopyBy(*other);
  };
  copy_by_both();
  MovableClock::Advance(std::chrono::seconds(30));
  copy_by_both();
  EXPECT_EQ(scripted_runner::Runs(), 4u);
  EXPECT_EQ(log_.Count("Send data to corvid."), 1u);
  other->Stop();
  const gs_recorder::InGraphics graphics;
  other.reset();
}

TEST_F(LandmarkGpuPath, OneFailedConversionInThirtySecondsIsToldOf) {
  Start();
  Copy();
  FailConversion(true);
  Copy();
  EXPECT_FALSE(log_.HasText("RGBAtoI420 failed!"));
  MovableClock::Advance(std::chrono::seconds(30));
  CopyTimes(2);
  EXPECT_EQ(log_.Count("RGBAtoI420 failed!"), 1u);
  EXPECT_TRUE(log_.Has(LOG_ERROR, "RGBAtoI420 failed!"));
}

TEST_F(LandmarkGpuPath, PictureThatCannotBeConvertedRunsTheOneBeforeAgain) {
  Start();
  Copy();
  FailConversion(true);
  gl_host_double::Script().brighter = 50;
  Copy();
  FailConversion(false);
  Copy();
  const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
  ASSERT_EQ(pictures.size(), 3u);
  EXPECT_EQ(pictures[1].y, pictures[0].y);
  EXPECT_EQ(pictures[1].u, pictures[0].u);
  EXPECT_EQ(pictures[1].v, pictures[0].v);
  EXPECT_NE(pictures[2].y, pictures[0].y);
}

TEST_F(LandmarkGpuPath, DeviceGoesWithTheWorker) {
  Start();
  Copy();
  End();
  EXPECT_TRUE(log_.HasText("Destroy D3D Context "));
  EXPECT_TRUE(log_.HasText("Destroy D3D Device "));
  EXPECT_EQ(gl_host_double::ContextsAlive(), 0);
}

TEST_F(LandmarkGpuPath, WorkerEndsWithTexturesQueued) {
  Start();
  scripted_runner::Close();
  {
    const gs_recorder::InGraphics graphics;
    worker_->CopyTexture(target_);
  }
  scripted_runner::WaitAtGate();
  {
    const gs_recorder::InGraphics graphics;
    for (size_t i = 1; i < kTextures; ++i) worker_->CopyTexture(target_);
  }
  worker_->Stop();
  End();
  EXPECT_EQ(scripted_runner::Runs(), 1u);
}

}  // namespace
}  // namespace vanta_test
