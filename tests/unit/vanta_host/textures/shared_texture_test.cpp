// Shared textures between libobs's graphics and threads with contexts of their own.
#include <thread>

#include "fixtures/host/shared_textures.h"

namespace {

using namespace vanta_test;

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

}  // namespace
