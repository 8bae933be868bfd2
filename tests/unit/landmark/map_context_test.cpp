// The read-back device on OpenGL, with a driver and a host that follow a script.
#include "landmark/map_context.h"

#include <GL/glcorearb.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/host/gl_host_double.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"

using namespace vanta;
using namespace vanta_test;

namespace {

constexpr uint32_t kHandle = 7;
constexpr uint64_t kAcquireKey = 1;
constexpr uint64_t kReleaseKey = 2;
constexpr uint32_t kWidth = 4;
constexpr uint32_t kHeight = 3;

using Texts = std::vector<std::string>;

std::string Line(const char *format, void *object) {
  char text[100];
  std::snprintf(text, sizeof(text), format, object);
  return text;
}

class MapContext : public testing::Test {
 protected:
  MapContext() {
    gl_host_double::Reset();
    host_double::Reset();
    Script().context = true;
  }
  ~MapContext() override {
    ReleaseStagingTexture(&staging_);
    DestroyD3DDevice(&device_, &context_);
    EXPECT_EQ(gl_host_double::ContextsAlive(), 0);
    EXPECT_EQ(gl_host_double::EndsOpen(), 0);
  }
  static GlHostScript &Script() { return gl_host_double::Script(); }

  vanta::TextureDevice *device_ = nullptr;
  vanta::TextureDeviceContext *context_ = nullptr;
  vanta::StagingTexture *staging_ = nullptr;
  LogCapture log_;
};

TEST_F(MapContext, DeviceIsMadeBesideTheHostsContextAndToldOf) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  ASSERT_NE(device_, nullptr);
  ASSERT_NE(context_, nullptr);
  const std::string line = Line("Create D3D Device %p", device_);
  EXPECT_TRUE(log_.Has(LOG_INFO, line));
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{19, line}}));
}

TEST_F(MapContext, DeviceNeedsBothAddresses) {
  EXPECT_FALSE(CreateD3DDevice(nullptr, &context_));
  EXPECT_FALSE(CreateD3DDevice(&device_, nullptr));
  EXPECT_EQ(gl_host_double::ContextsAlive(), 0);
}

TEST_F(MapContext, HostWithoutAContextHasNoDevice) {
  Script().context = false;
  EXPECT_FALSE(CreateD3DDevice(&device_, &context_));
  EXPECT_EQ(device_, nullptr);
  EXPECT_EQ(context_, nullptr);
  EXPECT_TRUE(log_.Has(LOG_ERROR, "no GL context beside the host's"));
  EXPECT_EQ(host_double::Reports(), std::vector<HostReport>{});
}

TEST_F(MapContext, DriverWithoutAFunctionHasNoDevice) {
  Script().misses = {"glReadPixels"};
  EXPECT_FALSE(CreateD3DDevice(&device_, &context_));
  EXPECT_TRUE(log_.Has(LOG_ERROR, "Failed to load OpenGL procedures"));
}

TEST_F(MapContext, EndOfTheDeviceIsToldContextFirst) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  const std::string context_line = Line("Destroy D3D Context %p", context_);
  const std::string device_line = Line("Destroy D3D Device %p", device_);
  log_.Clear();
  DestroyD3DDevice(&device_, &context_);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO, context_line}, {LOG_INFO, device_line}}));
  const std::vector<HostReport> reports = host_double::Reports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[1], (HostReport{19, context_line}));
  EXPECT_EQ(reports[2], (HostReport{19, device_line}));
  EXPECT_EQ(device_, nullptr);
  EXPECT_EQ(context_, nullptr);
}

TEST_F(MapContext, EndOfNoDeviceIsNotTold) {
  DestroyD3DDevice(&device_, &context_);
  DestroyD3DDevice(nullptr, nullptr);
  EXPECT_EQ(log_.Lines(), std::vector<LogLine>{});
}

TEST_F(MapContext, StagingTextureNeedsADeviceAndAnAddress) {
  EXPECT_FALSE(CreateStagingTexture(kWidth, kHeight, nullptr, &staging_));
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  EXPECT_FALSE(CreateStagingTexture(kWidth, kHeight, device_, nullptr));
}

TEST_F(MapContext, StagingTextureOfNoSizeIsRefused) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  EXPECT_FALSE(CreateStagingTexture(0, kHeight, device_, &staging_));
  EXPECT_FALSE(CreateStagingTexture(kWidth, 0, device_, &staging_));
  EXPECT_EQ(log_.Count("Failed to create texture"), 2u);
  EXPECT_EQ(staging_, nullptr);
}

TEST_F(MapContext, ReleasedStagingTextureIsCleared) {
  ASSERT_TRUE(CreateD3DDevice(&device_, &context_));
  ASSERT_TRUE(CreateStagingTexture(kWidth, kHeight, device_, &staging_));
  ReleaseStagingTexture(&staging_);
  EXPECT_EQ(staging_, nullptr);
  ReleaseStagingTexture(&staging_);
  ReleaseStagingTexture(nullptr);
}

class MapSharedHandle : public MapContext {
 protected:
  MapSharedHandle() {
    CreateD3DDevice(&device_, &context_);
    CreateStagingTexture(kWidth, kHeight, device_, &staging_);
    log_.Clear();
  }
  bool Map() {
    return MapSharedHandleToCPU(kHandle, kAcquireKey, kReleaseKey, device_, context_, staging_, &data_, &pitch_);
  }
  std::vector<LogLine> Errors() const { return log_.Lines(); }

  uint8_t *data_ = nullptr;
  uint32_t pitch_ = 0;
};

const Texts kReadUnderLock = {"bind",
                              "open(7)",
                              "acquire(1, 200)",
                              "glGenFramebuffers",
                              "glBindFramebuffer(5)",
                              "glFramebufferTexture2D(107)",
                              "glReadPixels(4, 3)",
                              "glFramebufferTexture2D(0)",
                              "release(2)",
                              "close",
                              "unbind"};

TEST_F(MapSharedHandle, ReadsThePictureUnderItsLock) {
  EXPECT_TRUE(Map());
  EXPECT_EQ(gl_host_double::Calls(), kReadUnderLock);
}

TEST_F(MapSharedHandle, GivesEveryPixelTopRowFirst) {
  ASSERT_TRUE(Map());
  ASSERT_NE(data_, nullptr);
  EXPECT_EQ(pitch_, kWidth * 4);
  for (uint32_t y = 0; y < kHeight; ++y)
    for (uint32_t x = 0; x < kWidth; ++x)
      for (uint32_t channel = 0; channel < 4; ++channel)
        EXPECT_EQ(data_[y * pitch_ + x * 4 + channel], gl_host_double::Pixel(x, y, channel));
}

TEST_F(MapSharedHandle, SecondReadUsesTheSameFramebuffer) {
  ASSERT_TRUE(Map());
  gl_host_double::ClearCalls();
  ASSERT_TRUE(Map());
  const Texts calls = gl_host_double::Calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "glGenFramebuffers"), 0);
}

TEST_F(MapSharedHandle, MissingArgumentIsRefusedWithoutACall) {
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, nullptr, context_, staging_, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, nullptr, staging_, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, nullptr, &data_, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, staging_, nullptr, &pitch_));
  EXPECT_FALSE(MapSharedHandleToCPU(7, 1, 2, device_, context_, staging_, &data_, nullptr));
  EXPECT_EQ(gl_host_double::Calls(), Texts{});
}

TEST_F(MapSharedHandle, ContextThatCannotBeBoundOpensNothing) {
  Script().bind = false;
  EXPECT_FALSE(Map());
  EXPECT_EQ(gl_host_double::Calls(), Texts{"bind"});
  EXPECT_EQ(Errors(), (std::vector<LogLine>{{LOG_ERROR, "OpenSharedResource failed: 0xFFFFFFFF"}}));
}

TEST_F(MapSharedHandle, HandleThatNamesNothingIsRefused) {
  Script().texture = false;
  EXPECT_FALSE(Map());
  EXPECT_EQ(gl_host_double::Calls(), (Texts{"bind", "open(7)", "unbind"}));
  EXPECT_EQ(Errors(), (std::vector<LogLine>{{LOG_ERROR, "OpenSharedResource failed: 0xFFFFFFFF"}}));
}

TEST_F(MapSharedHandle, RefusedLockIsNeitherReadNorReleased) {
  Script().acquire_result = -2;
  EXPECT_FALSE(Map());
  EXPECT_EQ(gl_host_double::Calls(), (Texts{"bind", "open(7)", "acquire(1, 200)", "close", "unbind"}));
  EXPECT_EQ(Errors(), (std::vector<LogLine>{{LOG_ERROR, "AcquireSync failed: 0xFFFFFFFE"}}));
  EXPECT_EQ(data_, nullptr);
}

TEST_F(MapSharedHandle, LockThatTimesOutPassesAsHeld) {
  Script().acquire_result = 0x102;
  Script().release_result = -1;
  EXPECT_TRUE(Map());
  EXPECT_EQ(gl_host_double::Calls(), kReadUnderLock);
  EXPECT_NE(data_, nullptr);
  EXPECT_EQ(Errors(), std::vector<LogLine>{});
}

TEST_F(MapSharedHandle, FailedReadAdvancesTheKeysAndGivesNoPicture) {
  Script().read_error = GL_OUT_OF_MEMORY;
  EXPECT_TRUE(Map());
  EXPECT_EQ(data_, nullptr);
  EXPECT_EQ(pitch_, 0u);
  const Texts calls = gl_host_double::Calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "release(2)"), 1);
  EXPECT_EQ(Errors(), (std::vector<LogLine>{{LOG_ERROR, "Map failed: 0x00000505"}}));
}

TEST_F(MapSharedHandle, TextureThatCannotBeReadGivesNoPicture) {
  Script().complete = false;
  EXPECT_TRUE(Map());
  EXPECT_EQ(data_, nullptr);
  EXPECT_EQ(Errors(), (std::vector<LogLine>{{LOG_ERROR, "Map failed: 0x00008CDD"}}));
}

TEST_F(MapSharedHandle, FailureBeforeLeavesNoTraceInTheNextRead) {
  Script().complete = false;
  Map();
  Script().complete = true;
  EXPECT_TRUE(Map());
  EXPECT_NE(data_, nullptr);
}

}  // namespace
