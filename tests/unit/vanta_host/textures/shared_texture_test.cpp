// Shared textures between libobs's graphics and threads with contexts of their own.
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/graphics/scripted_driver.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/host/private_drawing.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/platform/shared_texture.h"
#include "vanta_host.h"

namespace {

using namespace vanta_test;

constexpr uint32_t kInfinite = 0xffffffff;
constexpr uint32_t kSide = 4;  // pixels
constexpr Colour kRed{200, 10, 20, 255};
constexpr Colour kGreen{10, 200, 20, 255};

class Graphics {
 public:
  Graphics() { obs_enter_graphics(); }
  ~Graphics() { obs_leave_graphics(); }
  Graphics(const Graphics &) = delete;
  Graphics &operator=(const Graphics &) = delete;
};

// Inside graphics.
std::vector<Colour> LookAt(gs_texture_t *texture) {
  const uint32_t width = gs_texture_get_width(texture);
  const uint32_t height = gs_texture_get_height(texture);
  std::vector<Colour> pixels;
  gs_stagesurf_t *stage = gs_stagesurface_create(width, height, GS_RGBA);
  gs_stage_texture(stage, texture);
  uint8_t *data = nullptr;
  uint32_t pitch = 0;
  if (gs_stagesurface_map(stage, &data, &pitch)) {
    for (uint32_t y = 0; y < height; ++y) {
      const auto *row = reinterpret_cast<const Colour *>(data + size_t{y} * pitch);
      pixels.insert(pixels.end(), row, row + width);
    }
    gs_stagesurface_unmap(stage);
  }
  gs_stagesurface_destroy(stage);
  return pixels;
}

std::vector<Colour> All(Colour colour, uint32_t width = kSide, uint32_t height = kSide) {
  return std::vector<Colour>(size_t{width} * height, colour);
}

// What an engine publishes: a texture of its own context, painted, and with the lock free under the key 1.
class Published {
 public:
  explicit Published(const PrivateContext &context, Colour colour = kRed, uint32_t width = kSide,
                     uint32_t height = kSide)
      : context_(context) {
    const Bound bound(context_);
    name_ = MakeTexture(width, height);
    end_ = vanta_host_texture_publish(name_, width, height);
    if (!end_) return;
    vanta_host_texture_acquire(end_, 0, 0);
    Paint(name_, colour);
    vanta_host_texture_release(end_, 1);
  }
  ~Published() { Close(); }
  Published(const Published &) = delete;
  Published &operator=(const Published &) = delete;

  void Close() {
    if (!end_) return;
    const Bound bound(context_);
    vanta_host_texture_close(end_);
    DeleteTexture(name_);
    end_ = nullptr;
  }
  int Acquire(uint64_t key, uint32_t timeout_ms) {
    const Bound bound(context_);
    return vanta_host_texture_acquire(end_, key, timeout_ms);
  }
  uint32_t Handle() const { return vanta_host_texture_handle(end_); }
  vanta_host_texture *End() const { return end_; }
  GLuint Name() const { return name_; }

 private:
  const PrivateContext &context_;
  vanta_host_texture *end_ = nullptr;
  GLuint name_ = 0;
};

class SharedTextures : public testing::Test {
 protected:
  SharedTextures() {
    vanta_host_attach();
    video_ = StartVideo();
    context.emplace();
  }
  void SetUp() override {
    ASSERT_TRUE(video_);
    ASSERT_NE(context->Get(), nullptr);
  }

 private:
  HeadlessSession obs_;
  bool video_ = false;

 protected:
  std::optional<PrivateContext> context;
};

TEST_F(SharedTextures, OpenedByLibobsShowThePicture) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(gs_texture_get_width(texture), kSide);
  EXPECT_EQ(gs_texture_get_height(texture), kSide);
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, kInfinite), 0);
  EXPECT_EQ(LookAt(texture), All(kRed));
  EXPECT_EQ(gs_texture_release_sync(texture, 2), 0);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, ExchangeHandsThePictureOverAndTakesTheStorage) {
  uint32_t handle = 0;
  gs_texture_t *keyed = nullptr;
  gs_texture_t *drawn = nullptr;
  const std::vector<Colour> red = All(kRed);
  const std::vector<Colour> green = All(kGreen);
  {
    const Graphics graphics;
    const auto *old_pixels = reinterpret_cast<const uint8_t *>(red.data());
    const auto *new_pixels = reinterpret_cast<const uint8_t *>(green.data());
    keyed = gs_texture_create(kSide, kSide, GS_RGBA, 1, &old_pixels, GS_SHARED_KM_TEX);
    drawn = gs_texture_create(kSide, kSide, GS_RGBA, 1, &new_pixels, 0);
    handle = gs_texture_get_shared_handle(keyed);
    ASSERT_EQ(gs_texture_acquire_sync(keyed, 0, 0), 0);
    EXPECT_TRUE(vanta_host_texture_exchange(keyed, drawn));
    EXPECT_EQ(LookAt(drawn), red);
    EXPECT_EQ(LookAt(keyed), green);
    EXPECT_EQ(gs_texture_release_sync(keyed, 1), 0);
  }
  {
    const Bound bound(*context);
    vanta_host_texture *opened = vanta_host_texture_open(handle);
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(vanta_host_texture_acquire(opened, 1, 0), 0);
    EXPECT_EQ(Look(vanta_host_texture_gl_name(opened), kSide, kSide), green);
    vanta_host_texture_close(opened);
  }
  const Graphics graphics;
  gs_texture_destroy(drawn);
  gs_texture_destroy(keyed);
}

TEST_F(SharedTextures, ExchangeIsRefusedWithoutTheLockAndBetweenUnlikeTextures) {
  const Graphics graphics;
  gs_texture_t *keyed = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, GS_SHARED_KM_TEX);
  gs_texture_t *like = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  gs_texture_t *wider = gs_texture_create(kSide * 2, kSide, GS_RGBA, 1, nullptr, 0);
  gs_texture_t *other_format = gs_texture_create(kSide, kSide, GS_R8, 1, nullptr, 0);
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, like)) << "not shared";
  gs_texture_get_shared_handle(keyed);
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, like)) << "the lock is not held";
  ASSERT_EQ(gs_texture_acquire_sync(keyed, 0, 0), 0);
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, wider));
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, other_format));
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, nullptr));
  EXPECT_TRUE(vanta_host_texture_exchange(keyed, like));
  for (gs_texture_t *texture : {keyed, like, wider, other_format}) gs_texture_destroy(texture);
}

// The driver gives `other` the shared storage and then refuses to put anything else into `keyed`.
TEST_F(SharedTextures, ExchangeThatFailsHalfWayLeavesBothAsTheyWere) {
  const std::vector<Colour> red = All(kRed);
  const std::vector<Colour> green = All(kGreen);
  const auto *green_pixels = reinterpret_cast<const uint8_t *>(green.data());
  const Graphics graphics;
  gs_texture_t *keyed = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, GS_SHARED_KM_TEX);
  gs_texture_t *drawn = gs_texture_create(kSide, kSide, GS_RGBA, 1, &green_pixels, 0);
  const GLuint keyed_name = *static_cast<const GLuint *>(gs_texture_get_obj(keyed));
  const GLuint drawn_name = *static_cast<const GLuint *>(gs_texture_get_obj(drawn));
  MakeStorageFixed(keyed_name, kSide, kSide);
  Paint(keyed_name, kRed);
  gs_texture_get_shared_handle(keyed);
  ASSERT_EQ(gs_texture_acquire_sync(keyed, 0, 0), 0);
  EXPECT_FALSE(vanta_host_texture_exchange(keyed, drawn));
  EXPECT_EQ(LookAt(drawn), green);
  EXPECT_EQ(LookAt(keyed), red);
  Paint(drawn_name, {1, 2, 3, 4});
  EXPECT_EQ(LookAt(keyed), red) << "they share a storage";
  gs_texture_destroy(drawn);
  gs_texture_destroy(keyed);
}

TEST_F(SharedTextures, KeepTheirHandleWhereTheyAreOpen) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  EXPECT_EQ(gs_texture_get_shared_handle(texture), engine.Handle());
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, AreNotOpenedByAHandleThatNobodyGaveOut) {
  const Graphics graphics;
  EXPECT_EQ(gs_texture_open_shared(0), nullptr);
  EXPECT_EQ(gs_texture_open_shared(12345), nullptr);
  EXPECT_EQ(gs_texture_open_shared(GS_INVALID_HANDLE), nullptr);
}

TEST_F(SharedTextures, OutsideGraphicsAreNeitherOpenedNorShared) {
  Published engine(*context);
  EXPECT_EQ(gs_texture_open_shared(engine.Handle()), nullptr);
  EXPECT_EQ(gs_texture_get_shared_handle(nullptr), GS_INVALID_HANDLE);
}

TEST_F(SharedTextures, OpenedTwiceAreTwoPartiesToOneLock) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *one = gs_texture_open_shared(engine.Handle());
  gs_texture_t *other = gs_texture_open_shared(engine.Handle());
  ASSERT_NE(one, other);
  EXPECT_EQ(gs_texture_acquire_sync(one, 1, 0), 0);
  EXPECT_EQ(gs_texture_acquire_sync(other, 1, 0), VANTA_TEXTURE_TIMEOUT);
  EXPECT_EQ(gs_texture_release_sync(one, 2), 0);
  EXPECT_EQ(gs_texture_acquire_sync(other, 2, 0), 0);
  gs_texture_destroy(one);
  gs_texture_destroy(other);
}

TEST_F(SharedTextures, TimeOutOnAKeyThatIsNotReleased) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  EXPECT_EQ(gs_texture_acquire_sync(texture, 2, 30), VANTA_TEXTURE_TIMEOUT);
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, 0), 0);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, AreReleasedOnlyByWhoeverHoldsThem) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  EXPECT_LT(gs_texture_release_sync(texture, 2), 0);
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, 0), 0);
  EXPECT_LT(gs_texture_acquire_sync(texture, 1, kInfinite), 0);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, ThatLibobsMadeAloneAreNoParty) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  EXPECT_LT(gs_texture_acquire_sync(texture, 0, kInfinite), 0);
  EXPECT_LT(gs_texture_release_sync(texture, 1), 0);
  gs_texture_destroy(texture);
}

// ---- Who goes first ----

TEST_F(SharedTextures, ClosedByTheirPublisherKeepTheirPictureWhereTheyAreOpen) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  std::thread([&] { engine.Close(); }).join();
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, kInfinite), 0);
  EXPECT_EQ(LookAt(texture), All(kRed));
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, ClosedByTheirPublisherAreNotOpenedAgain) {
  Published engine(*context);
  const uint32_t handle = engine.Handle();
  engine.Close();
  const Graphics graphics;
  EXPECT_EQ(gs_texture_open_shared(handle), nullptr);
}

TEST_F(SharedTextures, ClosedByTheirPublisherWhileItHoldsThemAreAbandoned) {
  Published engine(*context);
  const uint32_t handle = engine.Handle();
  ASSERT_EQ(engine.Acquire(1, 0), 0);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(handle);
  std::thread([&] { engine.Close(); }).join();
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, kInfinite), VANTA_TEXTURE_ABANDONED);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, OfAPublisherThatIsGoneDoNotWaitForItsNextKey) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  std::thread([&] { engine.Close(); }).join();
  EXPECT_EQ(gs_texture_acquire_sync(texture, 2, kInfinite), VANTA_TEXTURE_ABANDONED);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, DestroyedByLibobsWhileItHoldsThemAreAbandoned) {
  Published engine(*context);
  {
    const Graphics graphics;
    gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
    ASSERT_EQ(gs_texture_acquire_sync(texture, 1, 0), 0);
    gs_texture_destroy(texture);
  }
  EXPECT_EQ(engine.Acquire(1, kInfinite), VANTA_TEXTURE_ABANDONED);
}

TEST_F(SharedTextures, DestroyedByLibobsWhileTheirPublisherWaitsAreAbandoned) {
  Published engine(*context);
  gs_texture_t *texture = nullptr;
  {
    const Graphics graphics;
    texture = gs_texture_open_shared(engine.Handle());
    ASSERT_EQ(gs_texture_acquire_sync(texture, 1, 0), 0);
  }
  std::thread waiting([&] { EXPECT_EQ(engine.Acquire(1, kInfinite), VANTA_TEXTURE_ABANDONED); });
  {
    const Graphics graphics;
    gs_texture_destroy(texture);
  }
  waiting.join();
}

TEST_F(SharedTextures, DestroyedByLibobsWhileFreeStayTheirPublishers) {
  Published engine(*context);
  {
    const Graphics graphics;
    gs_texture_destroy(gs_texture_open_shared(engine.Handle()));
  }
  EXPECT_EQ(engine.Acquire(1, kInfinite), 0);
}

TEST_F(SharedTextures, DestroyedByLibobsLeaveNothingToATextureAtTheSameAddress) {
  Published engine(*context);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine.Handle());
  gs_texture_destroy(texture);
  std::vector<gs_texture_t *> others;
  while (others.size() < 64 && (others.empty() || others.back() != texture))
    others.push_back(gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0));
  if (others.back() == texture) {
    EXPECT_LT(gs_texture_acquire_sync(texture, 1, kInfinite), 0);
  }
  EXPECT_NE(gs_texture_get_shared_handle(others.back()), engine.Handle());
  for (gs_texture_t *other : others) gs_texture_destroy(other);
}

// ---- Another size ----

TEST_F(SharedTextures, OfANewSizeAreNewOnes) {
  auto engine = std::make_unique<Published>(*context);
  const uint32_t former = engine->Handle();
  gs_texture_t *old_texture = nullptr;
  {
    const Graphics graphics;
    old_texture = gs_texture_open_shared(former);
  }
  engine = std::make_unique<Published>(*context, kGreen, 6, 2);
  EXPECT_NE(engine->Handle(), former);
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_open_shared(engine->Handle());
  ASSERT_NE(texture, nullptr);
  EXPECT_EQ(gs_texture_get_width(texture), 6u);
  EXPECT_EQ(gs_texture_get_height(texture), 2u);
  EXPECT_EQ(gs_texture_acquire_sync(texture, 1, kInfinite), 0);
  EXPECT_EQ(LookAt(texture), All(kGreen, 6, 2));
  EXPECT_EQ(LookAt(old_texture), All(kRed));
  gs_texture_destroy(texture);
  gs_texture_destroy(old_texture);
}

// ---- Textures that libobs made ----

TEST_F(SharedTextures, OfLibobsAreSeenByAPrivateContext) {
  const std::vector<Colour> picture = All(kGreen);
  uint32_t handle = 0;
  gs_texture_t *texture = nullptr;
  {
    const Graphics graphics;
    const auto *data = reinterpret_cast<const uint8_t *>(picture.data());
    texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, &data, 0);
    handle = gs_texture_get_shared_handle(texture);
    ASSERT_NE(handle, GS_INVALID_HANDLE);
    EXPECT_EQ(gs_texture_get_shared_handle(texture), handle);
    ASSERT_EQ(gs_texture_acquire_sync(texture, 0, 33), 0);
    ASSERT_EQ(gs_texture_release_sync(texture, 1), 0);
  }
  {
    const Bound bound(*context);
    vanta_host_texture *end = vanta_host_texture_open(handle);
    ASSERT_NE(end, nullptr);
    EXPECT_EQ(vanta_host_texture_acquire(end, 1, kInfinite), 0);
    EXPECT_EQ(Look(vanta_host_texture_gl_name(end), kSide, kSide), picture);
    EXPECT_EQ(vanta_host_texture_release(end, 0), 0);
    vanta_host_texture_close(end);
  }
  const Graphics graphics;
  EXPECT_EQ(gs_texture_acquire_sync(texture, 0, 33), 0);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, OfLibobsDestroyedWhileSharedAreNotOpenedAgain) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const uint32_t handle = gs_texture_get_shared_handle(texture);
  ASSERT_NE(handle, GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
  EXPECT_EQ(gs_texture_open_shared(handle), nullptr);
}

TEST_F(SharedTextures, OfLibobsDestroyedWhileHeldAreAbandoned) {
  gs_texture_t *texture = nullptr;
  uint32_t handle = 0;
  {
    const Graphics graphics;
    texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
    handle = gs_texture_get_shared_handle(texture);
    ASSERT_EQ(gs_texture_acquire_sync(texture, 0, 0), 0);
  }
  vanta_host_texture *end = nullptr;
  {
    const Bound bound(*context);
    end = vanta_host_texture_open(handle);
  }
  ASSERT_NE(end, nullptr);
  {
    const Graphics graphics;
    gs_texture_destroy(texture);
  }
  const Bound bound(*context);
  EXPECT_EQ(vanta_host_texture_acquire(end, 1, kInfinite), VANTA_TEXTURE_ABANDONED);
  vanta_host_texture_close(end);
}

// ---- What the driver lacks ----

struct Lack {
  const char *extension;
  const char *version;  // of GL, that has it not of its own
};
constexpr Lack kLacks[] = {{"GL_KHR_debug", "4.2"},
                           {"GL_ARB_sync", "3.1"},
                           {"GL_OES_EGL_image", "4.6"},
                           {"EGL_KHR_image_base", "4.6"},
                           {"EGL_KHR_gl_texture_2D_image", "4.6"},
                           {"EGL_KHR_surfaceless_context", "4.6"}};

// Without labels, for one, every end would count as destroyed.
TEST_F(SharedTextures, AreNotMadeByADriverThatLacksWhatTheyNeed) {
  const GLuint name = [this] {
    const Bound bound(*context);
    return MakeTexture(kSide, kSide);
  }();
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  for (const Lack &lack : kLacks) {
    const ScriptedDriver driver({{lack.extension}, lack.version});
    EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE) << lack.extension;
    EXPECT_EQ(vanta_host_texture_publish(name, kSide, kSide), nullptr) << lack.extension;
  }
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, NeedNoExtensionForWhatTheVersionBrings) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{"GL_KHR_debug", "GL_ARB_sync"}, "4.3"});
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, NeedNoVersionForWhatExtensionsBring) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{}, "3.0"});
  EXPECT_NE(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, AreNotMadeByADriverOfAnotherKindOfGl) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  for (const char *version : {"2.1", "OpenGL ES 3.2"}) {
    const ScriptedDriver driver({{}, version});
    EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE) << version;
  }
  gs_texture_destroy(texture);
}

TEST_F(SharedTextures, SayOnceWhatTheDriverLacks) {
  const Graphics graphics;
  gs_texture_t *texture = gs_texture_create(kSide, kSide, GS_RGBA, 1, nullptr, 0);
  const ScriptedDriver driver({{"GL_KHR_debug"}, "4.2"});
  LogCapture log;
  EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  EXPECT_EQ(gs_texture_get_shared_handle(texture), GS_INVALID_HANDLE);
  EXPECT_EQ(log.Count("[vanta_host] no shared textures: the driver lacks GL_KHR_debug"), 1u);
  gs_texture_destroy(texture);
}

// So an engine hands its frames out in memory.
TEST_F(SharedTextures, ThatADriverCannotMakeGetNoContextEither) {
  LogCapture log;
  for (const Lack &lack : kLacks) {
    const ScriptedDriver driver({{lack.extension}, lack.version});
    EXPECT_EQ(vanta_host_gl_context_create(), nullptr) << lack.extension;
    EXPECT_TRUE(
        log.Has(LOG_INFO, std::string("[vanta_host] no off-screen GL context: the driver lacks ") + lack.extension));
  }
}

// A landmark filter maps its pictures then without them.
TEST_F(SharedTextures, ThatADriverCannotMakeAreNotMappedInThisSession) {
  EXPECT_TRUE(EnableAsyncGpuTextureMap());
  {
    const ScriptedDriver driver({{"GL_KHR_debug"}, "4.2"});
    vanta_host_gl_context_destroy(vanta_host_gl_context_create());
  }
  EXPECT_FALSE(EnableAsyncGpuTextureMap());
  vanta_host_gl_context_destroy(vanta_host_gl_context_create());
  EXPECT_FALSE(EnableAsyncGpuTextureMap()) << "a filter has set itself up without them";
  EXPECT_TRUE(vanta_host_get_switch(VANTA_SWITCH_ASYNC_GPU_MAP));
  vanta_host_detach();
  EXPECT_TRUE(EnableAsyncGpuTextureMap());
}

// ---- Contexts ----

TEST_F(SharedTextures, AreDrawnInAContextThatGivesTheThreadItsFormerOneBack) {
  const PrivateContext inner;
  const Bound outer_bound(*context);
  const GLuint name = MakeTexture(kSide, kSide);
  Paint(name, kGreen);
  {
    const Bound inner_bound(inner);
    EXPECT_TRUE(inner_bound.Good());
  }
  EXPECT_EQ(Look(name, kSide, kSide), All(kGreen));
  DeleteTexture(name);
}

TEST(PrivateContexts, AreNotMadeWhileLibobsDoesNotDraw) {
  EXPECT_EQ(vanta_host_gl_context_create(), nullptr);
  const HeadlessSession obs;
  LogCapture log;
  EXPECT_EQ(vanta_host_gl_context_create(), nullptr);
  EXPECT_TRUE(log.Has(LOG_INFO, "[vanta_host] no off-screen GL context: libobs does not draw with EGL"));
}

TEST(PrivateContexts, OutliveLibobsWithoutHarm) {
  vanta_host_gl_context *context = nullptr;
  {
    const HeadlessSession obs;
    ASSERT_TRUE(StartVideo());
    context = vanta_host_gl_context_create();
    ASSERT_NE(context, nullptr);
  }
  EXPECT_FALSE(vanta_host_gl_context_bind(context));
  vanta_host_gl_context_destroy(context);
}

// ---- Many hand-overs ----

constexpr uint32_t kBatch = 250;  // pictures side by side in one texture, looked at together

Colour ColourOf(uint32_t turn, uint8_t mark) {
  return {static_cast<uint8_t>(turn), static_cast<uint8_t>(turn >> 8), static_cast<uint8_t>(turn >> 16), mark};
}

// One engine's thread: paints a new colour whenever libobs has given the texture back.
class PaintingThread {
 public:
  PaintingThread(const PrivateContext &context, uint32_t turns, uint8_t mark) : engine_(context), mark_(mark) {
    thread_ = std::thread([this, &context, turns] {
      const Bound bound(context);
      for (uint32_t turn = 0; turn < turns; ++turn) {
        if (vanta_host_texture_acquire(engine_.End(), 1 + uint64_t{turn} * 2, kInfinite) != 0) return;
        Paint(engine_.Name(), ColourOf(turn, mark_));
        if (vanta_host_texture_release(engine_.End(), 2 + uint64_t{turn} * 2) != 0) return;
      }
    });
  }
  ~PaintingThread() { thread_.join(); }
  PaintingThread(const PaintingThread &) = delete;
  PaintingThread &operator=(const PaintingThread &) = delete;

  uint32_t Handle() const { return engine_.Handle(); }

 private:
  Published engine_;
  const uint8_t mark_;
  std::thread thread_;
};

// What libobs sees of one engine. Copies each picture beside the one before, so that no look waits for a picture.
class Seen {
 public:
  Seen(uint32_t handle, uint8_t mark) : mark_(mark) {
    const Graphics graphics;
    texture_ = gs_texture_open_shared(handle);
    batch_ = gs_texture_create(kBatch * kSide, kSide, GS_RGBA, 1, nullptr, GS_RENDER_TARGET);
  }
  ~Seen() {
    const Graphics graphics;
    gs_texture_destroy(batch_);
    gs_texture_destroy(texture_);
  }
  Seen(const Seen &) = delete;
  Seen &operator=(const Seen &) = delete;

  // Inside graphics.
  bool Take(uint32_t turn) {
    if (gs_texture_acquire_sync(texture_, 2 + uint64_t{turn} * 2, kInfinite) != 0) return false;
    gs_copy_texture_region(batch_, turn % kBatch * kSide, 0, texture_, 0, 0, kSide, kSide);
    return gs_texture_release_sync(texture_, 3 + uint64_t{turn} * 2) == 0;
  }
  // Wrong pixels among the batch that ends with `turn`.
  size_t CountWrong(uint32_t turn) {
    const std::vector<Colour> pixels = LookAt(batch_);
    size_t wrong = pixels.empty() ? 1 : 0;
    for (size_t at = 0; at < pixels.size(); ++at) {
      const auto picture = static_cast<uint32_t>(at % (kBatch * kSide) / kSide);
      wrong += pixels[at] != ColourOf(turn - (kBatch - 1) + picture, mark_);
    }
    return wrong;
  }

 private:
  gs_texture_t *texture_ = nullptr;
  gs_texture_t *batch_ = nullptr;
  const uint8_t mark_;
};

void HandOver(std::vector<std::unique_ptr<Seen>> &all, uint32_t turns) {
  for (uint32_t turn = 0; turn < turns;) {
    const Graphics graphics;
    for (uint32_t i = 0; i < kBatch; ++i, ++turn) {
      for (const std::unique_ptr<Seen> &seen : all) ASSERT_TRUE(seen->Take(turn)) << "turn " << turn;
    }
    for (const std::unique_ptr<Seen> &seen : all) ASSERT_EQ(seen->CountWrong(turn - 1), 0u) << "turn " << turn;
  }
}

TEST_F(SharedTextures, AreHandedOverAgainAndAgainWithoutAWrongPixel) {
#if defined(__SANITIZE_THREAD__)
  constexpr uint32_t kTurns = 20000;  // the whole number is for the builds that take less than half a minute for it
#else
  constexpr uint32_t kTurns = 100000;
#endif
  const PaintingThread engine(*context, kTurns, 255);
  std::vector<std::unique_ptr<Seen>> seen;
  seen.push_back(std::make_unique<Seen>(engine.Handle(), 255));
  HandOver(seen, kTurns);
}

TEST_F(SharedTextures, OfTwoEnginesDoNotMix) {
  constexpr uint32_t kTurns = 5000;
  const PrivateContext other;
  const PaintingThread one_engine(*context, kTurns, 100);
  const PaintingThread other_engine(other, kTurns, 200);
  std::vector<std::unique_ptr<Seen>> seen;
  seen.push_back(std::make_unique<Seen>(one_engine.Handle(), 100));
  seen.push_back(std::make_unique<Seen>(other_engine.Handle(), 200));
  HandOver(seen, kTurns);
}

}  // namespace
