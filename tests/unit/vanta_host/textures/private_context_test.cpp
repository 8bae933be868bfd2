// Contexts beside libobs's own, and textures that two threads hand to each other again and again.
#include <memory>
#include <thread>
#include <vector>

#include "fixtures/host/shared_textures.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

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
