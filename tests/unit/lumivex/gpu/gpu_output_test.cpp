// Frames that leave the engine as shared textures, seen from a host that draws.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "fixtures/host/headless_session.h"
#include "fixtures/host/private_drawing.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

using vanta_test::Bound;
using vanta_test::Colour;

constexpr int kWidth = 48;
constexpr int kHeight = 32;
constexpr std::chrono::milliseconds kProbe{500};

// A host that draws, and a window of the engine's.
class GpuOutput : public testing::Test {
 protected:
  GpuOutput() {
    vanta_host_attach();
    video_ = vanta_test::StartVideo();
    if (GLFWwindow *made = Lumivex::createGLFWWindow(1, 1, false)) window.reset(made, Lumivex::destroyGLFWWindow);
    host.emplace();
  }
  ~GpuOutput() override { lumivex_set_texture_fault(LUMIVEX_TEXTURE_GOOD); }
  void SetUp() override {
    ASSERT_TRUE(video_);
    ASSERT_NE(window, nullptr);
    ASSERT_NE(host->Get(), nullptr);
  }

  std::shared_ptr<LX::LumivexSync> Engine(int width = kWidth, int height = kHeight) {
    LXEngineConfig config{};
    config.width = width;
    config.height = height;
    return LX::LumivexSync::createEngine(&config, window);
  }

 private:
  vanta_test::HeadlessSession obs_;
  bool video_ = false;

 protected:
  std::shared_ptr<GLFWwindow> window;
  std::optional<vanta_test::PrivateContext> host;
};

std::shared_ptr<LX::FrameData> Requested(LX::LumivexSync &engine, Picture &picture, int color_code = 2) {
  std::shared_ptr<LX::FrameData> frame = picture.Frame(color_code);
  frame->pixel_format = LX::PixelFormat::kSharedTexture;
  return engine.processFrameData(frame);
}

// What a host does with a frame: opens the texture, takes the key, looks, gives it back with the next one.
std::vector<Colour> Draw(const vanta_test::PrivateContext &host, LX::FrameData &frame) {
  const Bound bound(host);
  frame.shared_texture->waitSync();
  vanta_host_texture *end = vanta_host_texture_open(static_cast<uint32_t>(frame.shared_texture->handle));
  if (!end) return {};
  const uint64_t key = frame.shared_texture->getKeyValue();
  std::vector<Colour> pixels;
  if (vanta_host_texture_acquire(end, key, 0xffffffff) == 0) {
    pixels = vanta_test::Look(vanta_host_texture_gl_name(end), static_cast<uint32_t>(frame.width),
                              static_cast<uint32_t>(frame.height));
    vanta_host_texture_release(end, key + 1);
    frame.shared_texture->setKeyValue(key + 1);
  }
  vanta_host_texture_close(end);
  return pixels;
}

struct Space {
  double kr, kb;
  bool full;
};

Space SpaceOf(int color_code) {
  return {color_code < 2 ? 0.299 : 0.2126, color_code < 2 ? 0.114 : 0.0722, color_code == 1 || color_code == 3};
}

Colour Expected(Codes codes, int color_code) {
  const Space space = SpaceOf(color_code);
  const double y = space.full ? codes.y / 255.0 : (codes.y - 16) / 219.0;
  const double u = (codes.u - 128) / (space.full ? 255.0 : 224.0);
  const double v = (codes.v - 128) / (space.full ? 255.0 : 224.0);
  const double red = y + 2 * (1 - space.kr) * v;
  const double blue = y + 2 * (1 - space.kb) * u;
  const double green = (y - space.kr * red - space.kb * blue) / (1 - space.kr - space.kb);
  const auto code = [](double value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255)); };
  return {code(red), code(green), code(blue), 255};
}

int Difference(const Colour &one, const Colour &other) {
  int most = 0;
  for (size_t i = 0; i < one.size(); ++i) most = std::max(most, std::abs(int{one[i]} - int{other[i]}));
  return most;
}

TEST_F(GpuOutput, IsSupportedWithAWindow) {
  EXPECT_TRUE(Engine()->isNVDXInteropSupported(true, kProbe));
}

TEST_F(GpuOutput, IsNotSupportedWithoutOne) {
  EXPECT_FALSE(MakeEngine(kWidth, kHeight)->isNVDXInteropSupported(true, kProbe));
}

TEST_F(GpuOutput, ComesBackUnderAHandleWithTheKeyOne) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kBlue);
  const auto frame = Requested(*engine, picture);
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->pixel_format, LX::PixelFormat::kSharedTexture);
  ASSERT_NE(frame->shared_texture, nullptr);
  EXPECT_NE(frame->shared_texture->handle, 0u);
  EXPECT_EQ(frame->shared_texture->getKeyValue(), 1u);
}

TEST_F(GpuOutput, IsMemoryWhereAMemoryFrameIsAskedFor) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kBlue);
  for (const int32_t wish : {-1, 4}) {
    const auto frame = picture.Frame();
    frame->pixel_format = wish;
    ASSERT_EQ(engine->processFrameData(frame), frame);
    EXPECT_EQ(frame->pixel_format, LX::PixelFormat::kMemory);
    EXPECT_EQ(frame->shared_texture, nullptr);
  }
}

TEST_F(GpuOutput, ShowsThePictureInEachColourSpace) {
  const auto engine = Engine();
  for (const int color_code : {0, 1, 2, 3}) {
    for (const Codes codes : {kSkin, kBlue, kGrey, Codes{235, 128, 128}, Codes{16, 128, 128}}) {
      Picture picture(kWidth, kHeight, codes);
      const auto frame = Requested(*engine, picture, color_code);
      const std::vector<Colour> pixels = Draw(*host, *frame);
      ASSERT_EQ(pixels.size(), size_t{kWidth} * kHeight);
      for (const Colour &pixel : pixels) ASSERT_LE(Difference(pixel, Expected(codes, color_code)), 1) << color_code;
    }
  }
}

// Four fields: whatever is turned, mirrored or shifted shows.
TEST_F(GpuOutput, ShowsTheUpperLeftOfThePictureFirst) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  picture.FillRect(0, 0, kWidth / 2, kHeight / 2, kSkin);
  picture.FillRect(kWidth / 2, 0, kWidth, kHeight / 2, kBlue);
  const auto frame = Requested(*engine, picture);
  const std::vector<Colour> pixels = Draw(*host, *frame);
  ASSERT_FALSE(pixels.empty());
  const auto at = [&](int x, int y) { return pixels[static_cast<size_t>(y) * kWidth + static_cast<size_t>(x)]; };
  EXPECT_LE(Difference(at(0, 0), Expected(kSkin, 2)), 1);
  EXPECT_LE(Difference(at(kWidth - 1, 0), Expected(kBlue, 2)), 1);
  EXPECT_LE(Difference(at(0, kHeight - 1), Expected(kGrey, 2)), 1);
  EXPECT_LE(Difference(at(kWidth / 2 - 3, kHeight / 2 - 3), Expected(kSkin, 2)), 1);
  EXPECT_LE(Difference(at(kWidth / 2 + 2, kHeight / 2 - 3), Expected(kBlue, 2)), 1);
}

TEST_F(GpuOutput, TakesOddSizesAndPitches) {
  for (const int padding : {0, 1, 6}) {
    const auto engine = Engine(31, 17);
    Picture picture(31, 17, kBlue, padding);
    picture.FillLuma([](int x, int y) { return 40 + 4 * x + y; });
    const auto frame = Requested(*engine, picture);
    const std::vector<Colour> pixels = Draw(*host, *frame);
    ASSERT_EQ(pixels.size(), size_t{31} * 17) << padding;
    for (int y = 0; y < 17; ++y) {
      for (int x = 0; x < 31; ++x) {
        const Codes codes{40 + 4 * x + y, kBlue.u, kBlue.v};
        ASSERT_LE(Difference(pixels[static_cast<size_t>(y * 31 + x)], Expected(codes, 2)), 1) << x << " " << y;
      }
    }
  }
}

TEST_F(GpuOutput, CarriesTheEnginesWork) {
  const auto engine = Engine();
  engine->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 1.0f);
  Picture picture(kWidth, kHeight, kGrey);
  const auto frame = Requested(*engine, picture);
  const std::vector<Colour> pixels = Draw(*host, *frame);
  ASSERT_FALSE(pixels.empty());
  EXPECT_GT(pixels[0][1], Expected(kGrey, 2)[1] + 10);
}

// ---- Keys and handles ----

TEST_F(GpuOutput, RaisesTheKeyWithEachDrawingAndNotWithEachFrame) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  auto frame = Requested(*engine, picture);
  const uint64_t handle = frame->shared_texture->handle;
  Draw(*host, *frame);
  EXPECT_FALSE(Draw(*host, *frame).empty());
  EXPECT_EQ(frame->shared_texture->getKeyValue(), 3u);
  for (int dropped = 0; dropped < 3; ++dropped) {
    frame.reset();
    frame = Requested(*engine, picture);
    ASSERT_EQ(frame->shared_texture->handle, handle);
    EXPECT_EQ(frame->shared_texture->getKeyValue(), 3u);
  }
  EXPECT_FALSE(Draw(*host, *frame).empty());
  EXPECT_EQ(frame->shared_texture->getKeyValue(), 4u);
}

TEST_F(GpuOutput, UsesFewHandlesAgainAndAgain) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  std::set<uint64_t> handles;
  std::shared_ptr<LX::FrameData> shown;
  for (int i = 0; i < 50; ++i) {
    auto next = Requested(*engine, picture);
    handles.insert(next->shared_texture->handle);
    shown = std::move(next);
    ASSERT_FALSE(Draw(*host, *shown).empty());
  }
  EXPECT_EQ(handles.size(), 2u);
}

TEST_F(GpuOutput, GivesFramesUnderWayTexturesOfTheirOwn) {
  const auto engine = Engine();
  Picture grey(kWidth, kHeight, kGrey);
  Picture blue(kWidth, kHeight, kBlue);
  const auto first = Requested(*engine, grey);
  const auto second = Requested(*engine, blue);
  EXPECT_NE(first->shared_texture->handle, second->shared_texture->handle);
  EXPECT_LE(Difference(Draw(*host, *first).at(0), Expected(kGrey, 2)), 1);
  EXPECT_LE(Difference(Draw(*host, *second).at(0), Expected(kBlue, 2)), 1);
}

TEST_F(GpuOutput, TurnsToMemoryForAHostThatGivesNoTextureBack) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  std::vector<std::shared_ptr<LX::FrameData>> kept;
  const vanta_test::LogCapture log;
  while (kept.size() < 20) kept.push_back(Requested(*engine, picture));
  EXPECT_EQ(kept.front()->pixel_format, LX::PixelFormat::kSharedTexture);
  EXPECT_EQ(kept.back()->pixel_format, LX::PixelFormat::kMemory);
  EXPECT_EQ(log.Count("[lumivex] no shared texture to be had for a frame, it comes back in memory"), 1u);
  kept.clear();
  EXPECT_EQ(Requested(*engine, picture)->pixel_format, LX::PixelFormat::kSharedTexture);
}

TEST_F(GpuOutput, TurnsToMemoryWhileTheHostHoldsTheLock) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  auto frame = Requested(*engine, picture);
  const Bound bound(*host);
  vanta_host_texture *end = vanta_host_texture_open(static_cast<uint32_t>(frame->shared_texture->handle));
  ASSERT_EQ(vanta_host_texture_acquire(end, 1, 0), 0);
  frame.reset();
  EXPECT_EQ(Requested(*engine, picture)->pixel_format, LX::PixelFormat::kMemory);
  vanta_host_texture_release(end, 1);
  EXPECT_EQ(Requested(*engine, picture)->pixel_format, LX::PixelFormat::kSharedTexture);
  vanta_host_texture_close(end);
}

TEST_F(GpuOutput, ReplacesATextureThatTheHostHasLost) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  auto frame = Requested(*engine, picture);
  const uint64_t lost = frame->shared_texture->handle;
  {
    const Bound bound(*host);
    vanta_host_texture *end = vanta_host_texture_open(static_cast<uint32_t>(lost));
    ASSERT_EQ(vanta_host_texture_acquire(end, 1, 0), 0);
    vanta_host_texture_close(end);
  }
  frame.reset();
  frame = Requested(*engine, picture);
  EXPECT_EQ(frame->pixel_format, LX::PixelFormat::kSharedTexture);
  EXPECT_NE(frame->shared_texture->handle, lost);
  EXPECT_FALSE(Draw(*host, *frame).empty());
}

// ---- Who goes first ----

TEST_F(GpuOutput, OutlivesEngineAndWindow) {
  auto engine = Engine();
  Picture picture(kWidth, kHeight, kBlue);
  const auto frame = Requested(*engine, picture);
  engine.reset();
  window.reset();
  const std::vector<Colour> pixels = Draw(*host, *frame);
  ASSERT_FALSE(pixels.empty());
  EXPECT_LE(Difference(pixels[0], Expected(kBlue, 2)), 1);
}

TEST_F(GpuOutput, EndsItsHandleWithTheLastFrameAndTheEngine) {
  auto engine = Engine();
  Picture picture(kWidth, kHeight, kBlue);
  auto frame = Requested(*engine, picture);
  const auto handle = static_cast<uint32_t>(frame->shared_texture->handle);
  engine.reset();
  frame.reset();
  window.reset();
  const Bound bound(*host);
  EXPECT_EQ(vanta_host_texture_open(handle), nullptr);
}

TEST_F(GpuOutput, OfANewSizeNeedsNoNewWindow) {
  auto engine = Engine();
  Picture picture(kWidth, kHeight, kBlue);
  const auto former = Requested(*engine, picture);
  engine = Engine(64, 20);
  Picture other(64, 20, kSkin);
  const auto frame = Requested(*engine, other);
  EXPECT_LE(Difference(Draw(*host, *frame).at(64 * 20 - 1), Expected(kSkin, 2)), 1);
  EXPECT_LE(Difference(Draw(*host, *former).at(0), Expected(kBlue, 2)), 1);
}

// ---- Faults that a program asks for ----

TEST_F(GpuOutput, FailsAsItIsTold) {
  const auto engine = Engine();
  Picture picture(kWidth, kHeight, kGrey);
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_MISSING);
  auto frame = Requested(*engine, picture);
  EXPECT_EQ(frame->pixel_format, LX::PixelFormat::kSharedTexture);
  EXPECT_EQ(frame->shared_texture, nullptr);
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_NO_HANDLE);
  EXPECT_EQ(Requested(*engine, picture)->shared_texture->handle, 0u);
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_UNKNOWN_HANDLE);
  frame = Requested(*engine, picture);
  EXPECT_TRUE(Draw(*host, *frame).empty());
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_ABANDONED);
  frame = Requested(*engine, picture);
  {
    const Bound bound(*host);
    vanta_host_texture *end = vanta_host_texture_open(static_cast<uint32_t>(frame->shared_texture->handle));
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(vanta_host_texture_acquire(end, frame->shared_texture->getKeyValue(), 0xffffffff),
              VANTA_TEXTURE_ABANDONED);
    vanta_host_texture_close(end);
  }
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_MEMORY_FRAME);
  EXPECT_EQ(Requested(*engine, picture)->pixel_format, LX::PixelFormat::kMemory);
  lumivex_set_texture_fault(LUMIVEX_TEXTURE_GOOD);
  frame = Requested(*engine, picture);
  EXPECT_FALSE(Draw(*host, *frame).empty());
}

// ---- Without a host that draws ----

TEST(GlWindow, IsNotMadeWhereTheHostDoesNotDrawAndThatIsSaidOnce) {
  const vanta_test::LogCapture log;
  EXPECT_EQ(Lumivex::createGLFWWindow(1, 1, false), nullptr);
  EXPECT_EQ(Lumivex::createGLFWWindow(1, 1, false), nullptr);
  EXPECT_EQ(log.LinesWith("[lumivex]").size(), 1u);
  EXPECT_TRUE(log.Has(LOG_INFO, "[lumivex] no GPU output on this host: frames come back in memory"));
}

}  // namespace
}  // namespace lumivex_test
