// Frames that stay on the GPU from the open engine to the canvas, and what is drawn when their texture fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "fakes/graphics/scripted_driver.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/media_clip.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "lumivex/lumivex_control.h"
#include "lumivex/lumivex_values.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

constexpr double kSame = 2.0;  // mean absolute difference of two pictures that look the same, in levels
constexpr int32_t kFallbackReport = 12;
constexpr int kFirst = 60;    // where most tests' ramp begins
constexpr int kSecond = 120;  // far enough from it to be told apart

std::string FallbackBody(const std::string &reason) {
  return R"({"fall_back_to_nv12":true,"reason":")" + reason + R"("})";
}

OBSDataAutoRelease OpenInterop() {
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "lx_enable_nvdx_interop", "open");
  return settings;
}

// 256 where the sizes differ or a picture is missing.
double MeanDifference(const Screenshot &one, const Screenshot &other) {
  if (one.pixels.empty() || one.pixels.size() != other.pixels.size()) return 256.0;
  double sum = 0.0;
  for (size_t i = 0; i < one.pixels.size(); ++i) sum += std::abs(int{one.pixels[i]} - int{other.pixels[i]});
  return sum / static_cast<double>(one.pixels.size());
}

bool NothingDrawn(const Screenshot &shot) {
  return !shot.pixels.empty() && std::all_of(shot.pixels.begin(), shot.pixels.end(), [](uint8_t b) { return b == 0; });
}

// Feeds the picture until what the source shows fits.
bool FeedUntilShown(FedSource &source, BeautyChain &chain, const FedFrame &picture,
                    const std::function<bool(const Screenshot &)> &fits, const char *what) {
  return vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, picture);
        return fits(TakeScreenshot(source.Get()));
      },
      what);
}

// The engine's start-up preset would whiten the ramp. Given as a snapshot, since each new engine begins with it again,
// and since commands that come before the engine are lost.
void SetNeutralPreset(const ObsSession &session, float contrast = 0.0f) {
  FacelessEngineSnapshot snapshot;
  snapshot.beauty[lumivex::kBeautyContrast] = contrast;
  snapshot.group.emplace();
  std::strcpy(snapshot.group->path, "yuantu");
  session.Control().SetEngineSnapshot(snapshot);
}

// As if another filter's worker had told how its engine's start ended.
void SignalMissingEngine() {
  calldata_t data;
  calldata_init(&data);
  calldata_set_int(&data, "type", 1);
  calldata_set_string(&data, "type_func", "OnLumivexInit");
  calldata_set_string(&data, "data_str", R"({"createEngine":false})");
  signal_handler_signal(obs_get_signal_handler(), "vanta_filter_callback", &data);
  calldata_free(&data);
}

// Puts a source on the canvas beside the one that FedSource::Show puts there: libobs drops frames that nobody draws.
class ShownBeside {
 public:
  explicit ShownBeside(obs_source_t *source) { obs_set_output_source(kChannel, source); }
  ~ShownBeside() { obs_set_output_source(kChannel, nullptr); }
  ShownBeside(const ShownBeside &) = delete;
  ShownBeside &operator=(const ShownBeside &) = delete;

 private:
  static constexpr uint32_t kChannel = 1;
};

// The picture without this module.
Screenshot Plain(const FedFrame &picture) {
  FedSource source("plain");
  const ShownBeside shown(source.Get());
  Screenshot shot;
  vanta_test::WaitUntil(
      [&] {
        source.Feed(picture);
        WaitForTicks(2);
        shot = TakeScreenshot(source.Get());
        return !shot.pixels.empty() && !NothingDrawn(shot);
      },
      "the plain picture");
  return shot;
}

// A source whose frames go through the open engine and stay on the GPU, and which shows its first picture.
class GpuChain {
 public:
  GpuChain(const ObsSession &session, const FedFrame &picture)
      : on_gpu_((vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, true), true)),
        settings_(OpenInterop()),
        chain(source.Get(), settings_),
        plain(Plain(picture)) {
    SetNeutralPreset(session);
    source.Show();
    EXPECT_TRUE(vanta_test::WaitUntil(
        [&] {
          FeedThrough(source, chain, picture);
          return vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE);
        },
        "frames on the GPU"));
    EXPECT_TRUE(ShowsPlain(picture));
  }
  ~GpuChain() { lumivex_set_texture_fault(LUMIVEX_TEXTURE_GOOD); }

  bool ShowsPlain(const FedFrame &picture) {
    return FeedUntilShown(
        source, chain, picture, [&](const Screenshot &shot) { return MeanDifference(shot, plain) <= kSame; },
        "the picture");
  }
  bool ShowsNothing(const FedFrame &picture) {
    return FeedUntilShown(source, chain, picture, NothingDrawn, "nothing to be drawn");
  }

  FedSource source;

 private:
  const bool on_gpu_;  // said before the filter is made: software GL alone would keep the frames in memory
  OBSDataAutoRelease settings_;

 public:
  BeautyChain chain;
  const Screenshot plain;
};

class GpuPathFormats : public testing::TestWithParam<video_format> {};

TEST_P(GpuPathFormats, ShowsThePictureOfTheMemoryPath) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst, GetParam(), 128, 96);
  const GpuChain gpu(session, picture);
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, false);
  FedSource source("in memory");
  const ShownBeside shown(source.Get());
  BeautyChain chain(source.Get());
  EXPECT_TRUE(FeedUntilShown(
      source, chain, picture,
      [&](const Screenshot &shot) { return MeanDifference(shot, TakeScreenshot(gpu.source.Get())) <= kSame; },
      "the same picture on both paths"));
}

INSTANTIATE_TEST_SUITE_P(Formats, GpuPathFormats,
                         testing::Values(VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_I422, VIDEO_FORMAT_YUY2,
                                         VIDEO_FORMAT_BGRA),
                         [](const auto &format) { return get_video_format_name(format.param); });

TEST(GpuPath, LeavesTheFramesInMemoryAsTheyCame) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  GpuChain gpu(session, picture);
  session.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 1.0f);  // the engine is there
  EXPECT_TRUE(FeedUntilShown(
      gpu.source, gpu.chain, picture, [&](const Screenshot &shot) { return MeanDifference(shot, gpu.plain) >= 8; },
      "a brighter picture on the canvas"));
  EXPECT_EQ(LargestDifference(gpu.chain.behind.Last(), picture), 0);
}

// Plays the clip on one of the two paths. The picture stands still, so that each path shows the same one.
Screenshot PlayClip(const MediaClip &clip, bool on_gpu) {
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, on_gpu);
  const ObsSession session({.stock_media = true});
  SetNeutralPreset(session, 0.5f);
  const OBSSourceAutoRelease source = clip.MakeSource(true);
  const OBSDataAutoRelease settings = OpenInterop();
  BeautyChain chain(source, settings);
  obs_set_output_source(0, source);
  EXPECT_TRUE(vanta_test::WaitUntil(
      [on_gpu] {
        return vanta_host_get_engine_state() == VANTA_ENGINE_RUNNING &&
               vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE) == on_gpu;
      },
      "the engine's path"));
  const size_t before = chain.behind.Count();
  EXPECT_TRUE(vanta_test::WaitUntil([&] { return chain.behind.Count() >= before + 20; }, "twenty frames"));
  WaitForTicks(2);
  const Screenshot shot = TakeScreenshot(source);
  chain.RemoveFilter();
  return shot;
}

TEST(GpuPath, PlaysAClipAsTheMemoryPathDoes) {
  const MediaClip clip(VIDEO_FORMAT_I420, 90, kFirst, 0, 320, 180);
  ASSERT_TRUE(clip.Made());
  const Screenshot memory = PlayClip(clip, false);
  const Screenshot gpu = PlayClip(clip, true);
  EXPECT_LE(MeanDifference(gpu, memory), kSame);
}

TEST(GpuPath, FollowsTheSourcesSize) {
  const ObsSession session;
  GpuChain gpu(session, MakeFrame(kFirst));
  const FedFrame larger = MakeFrame(kFirst, VIDEO_FORMAT_NV12, 96, 64);
  const Screenshot plain = Plain(larger);
  EXPECT_TRUE(FeedUntilShown(
      gpu.source, gpu.chain, larger, [&](const Screenshot &shot) { return MeanDifference(shot, plain) <= kSame; },
      "the larger picture"));
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE));
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK));
}

TEST(GpuPath, JumpedOverShowsTheSourceAndNotTheFrameBefore) {
  const ObsSession session;
  GpuChain gpu(session, MakeFrame(kFirst));
  const FedFrame other = MakeFrame(kSecond);
  const Screenshot plain = Plain(other);
  session.Control().SetFacelessJumpInfo({true, 7});
  EXPECT_TRUE(FeedUntilShown(
      gpu.source, gpu.chain, other, [&](const Screenshot &shot) { return MeanDifference(shot, plain) <= kSame; },
      "the source's own picture"));
  session.Control().SetFacelessJumpInfo({false, 0});
}

TEST(GpuPath, PassedByWithoutAnEngineShowsTheSourceAndNotTheFrameBefore) {
  const ObsSession session;
  GpuChain gpu(session, MakeFrame(kFirst));
  const FedFrame other = MakeFrame(kSecond);
  const Screenshot plain = Plain(other);
  SignalMissingEngine();
  ASSERT_TRUE(vanta_host_is_passing_through());
  EXPECT_TRUE(FeedUntilShown(
      gpu.source, gpu.chain, other, [&](const Screenshot &shot) { return MeanDifference(shot, plain) <= kSame; },
      "the source's own picture"));
}

TEST(GpuPath, ServesTwoSourcesAtOnce) {
  const ObsSession session;
  GpuChain one(session, MakeFrame(kFirst));
  GpuChain other(session, MakeFrame(kSecond));
  EXPECT_TRUE(one.ShowsPlain(MakeFrame(kFirst)));
  EXPECT_TRUE(other.ShowsPlain(MakeFrame(kSecond)));
  EXPECT_LE(MeanDifference(TakeScreenshot(one.source.Get()), one.plain), kSame);
}

// A texture without a label counts as destroyed: shared ones would draw nothing.
TEST(GpuPath, LeadsThroughMemoryWhereTheDriverHasNoLabels) {
  const vanta_test::ScriptedDriver driver({{"GL_KHR_debug"}, "4.2"});
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, true);
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  const Screenshot plain = Plain(picture);
  SetNeutralPreset(session, 0.5f);
  FedSource source("without labels");
  const OBSDataAutoRelease settings = OpenInterop();
  BeautyChain chain(source.Get(), settings);
  source.Show();
  const auto is_the_engines = [&](const Screenshot &shot) {
    return !NothingDrawn(shot) && MeanDifference(shot, plain) >= 2 * kSame;
  };
  EXPECT_TRUE(FeedUntilShown(source, chain, picture, is_the_engines, "the engine's picture"));
  for (int frame = 0; frame < 50; ++frame) FeedThrough(source, chain, picture);
  EXPECT_TRUE(is_the_engines(TakeScreenshot(source.Get())));
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE));
}

// ---- Textures that fail ----

constexpr char kNullTexture[] = "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  output_texture is null";
constexpr char kEmptyHandle[] =
    "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  handle empty, downgrade to mem copy";
constexpr char kOpenFailed[] =
    "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  gs_texture_open_shared failed, downgrade to mem copy";
constexpr char kLockFailed[] =
    "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  gs_texture_acquire_sync failed, ret=-2, skip";

// A texture whose failure is for good: nothing is drawn, and told, until the frames come back in memory.
void ExpectFallBack(lumivex_texture_fault fault, const char *line, const std::string &reason) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  GpuChain gpu(session, picture);
  const vanta_test::LogCapture log;
  lumivex_set_texture_fault(fault);
  EXPECT_TRUE(gpu.ShowsNothing(picture));
  EXPECT_TRUE(gpu.ShowsPlain(picture)) << "with the fault still there";
  EXPECT_TRUE(log.Has(LOG_ERROR, line));
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK));
  // Every drawing that failed is a line and a report.
  const size_t reports = CountReports(kFallbackReport, FallbackBody(reason));
  EXPECT_GE(reports, 1u);
  EXPECT_EQ(reports, log.Count(line));
  EXPECT_EQ(log.Count("[lx_enable_nvdx_interop] FallbackToNV12"), 1u);
  for (int frame = 0; frame < 10; ++frame) FeedThrough(gpu.source, gpu.chain, picture);
  EXPECT_EQ(CountReports(kFallbackReport, FallbackBody(reason)), reports) << "the fall-back has ended it";
}

TEST(FailingTexture, WithAnEmptyHandleDrawsNothingAndFallsBack) {
  ExpectFallBack(LUMIVEX_TEXTURE_NO_HANDLE, kEmptyHandle, "handle empty");
}

TEST(FailingTexture, ThatCannotBeOpenedDrawsNothingAndFallsBack) {
  ExpectFallBack(LUMIVEX_TEXTURE_UNKNOWN_HANDLE, kOpenFailed, "gs_texture_open_shared failed");
}

// A texture whose failure may pass: nothing is drawn, nothing falls back, and the next good one is drawn.
void ExpectFramesSkipped(lumivex_texture_fault fault, const char *line) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  GpuChain gpu(session, picture);
  vanta_host_clear_reports();
  const vanta_test::LogCapture log;
  lumivex_set_texture_fault(fault);
  EXPECT_TRUE(gpu.ShowsNothing(picture));
  const size_t before = log.Count(line);
  for (int shot = 0; shot < 5; ++shot) EXPECT_TRUE(NothingDrawn(TakeScreenshot(gpu.source.Get())));
  EXPECT_GE(log.Count(line), before + 5) << "every drawing that is skipped is told";
  EXPECT_TRUE(log.Has(LOG_WARNING, line));
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_GOOD);
  EXPECT_TRUE(gpu.ShowsPlain(picture));
  EXPECT_EQ(log.CountWith("FallbackToNV12"), 0u);
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK));
  int32_t id = 0;
  char body[256];
  uint64_t time = 0;
  EXPECT_FALSE(vanta_host_get_report(0, &id, body, sizeof(body), &time)) << body;
}

TEST(FailingTexture, ThatIsMissingDrawsNothingAndFallsBackOnNothing) {
  ExpectFramesSkipped(LUMIVEX_TEXTURE_MISSING, kNullTexture);
}

TEST(FailingTexture, WhoseLockIsAbandonedDrawsNothingAndFallsBackOnNothing) {
  ExpectFramesSkipped(LUMIVEX_TEXTURE_ABANDONED, kLockFailed);
}

TEST(FailingTexture, ThatTheEngineReplacesByMemoryIsShownFromThere) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  GpuChain gpu(session, picture);
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_MEMORY_FRAME);
  EXPECT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(gpu.source, gpu.chain, picture);
        return vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK);
      },
      "a frame in memory"));
  EXPECT_TRUE(gpu.ShowsPlain(picture));
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE)) << "the next frame is asked for on the GPU again";
}

// Nobody has said where frames go: on software GL that is memory.
TEST(GpuPath, IsLeftAloneOnSoftwareGlUnlessItIsAskedFor) {
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  const Screenshot plain = Plain(picture);
  SetNeutralPreset(session, 0.5f);
  const vanta_test::LogCapture log;
  FedSource source;
  const OBSDataAutoRelease settings = OpenInterop();
  BeautyChain chain(source.Get(), settings);
  source.Show();
  EXPECT_TRUE(FeedUntilShown(
      source, chain, picture,
      [&](const Screenshot &shot) { return !NothingDrawn(shot) && MeanDifference(shot, plain) >= 2 * kSame; },
      "the engine's picture"));
  EXPECT_TRUE(log.Has(LOG_INFO, "[beauty] EnableCreateLXGLContext is false"));
  EXPECT_FALSE(vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE));
}

class PixelBufferFormats : public testing::TestWithParam<int> {};

TEST_P(PixelBufferFormats, AreUploadedAndShown) {
  lumivex_set_pixel_buffer_output(GetParam());
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, false);
  const ObsSession session;
  const FedFrame picture = MakeFrame(kFirst);
  const Screenshot plain = Plain(picture);
  FedSource source;
  source.Show();
  SetNeutralPreset(session);
  BeautyChain chain(source.Get());
  EXPECT_TRUE(FeedUntilShown(
      source, chain, picture,
      [&](const Screenshot &shot) {
        // Commands may come before the engine exists; the host then sends them again.
        session.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 1.0f);
        return MeanDifference(shot, plain) >= 8;
      },
      "the engine's work"));
  session.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.0f);
  EXPECT_TRUE(FeedUntilShown(
      source, chain, picture, [&](const Screenshot &shot) { return MeanDifference(shot, plain) <= kSame; },
      "the picture"));
  EXPECT_EQ(LargestDifference(chain.behind.Last(), picture), 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, PixelBufferFormats, testing::Values(3, 4));

}  // namespace
}  // namespace vanta_integration
