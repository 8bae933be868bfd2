// Frames that the host marks, on their way through the open engine and back: with their own id, and with the engine's
// report of what it did to them.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "lumivex/lumivex_control.h"
#include "lumivex/lumivex_values.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using Json = nlohmann::json;

// Where the ramps of pictures begin: marked ones are far from the others, compared with what the engine changes by its
// start-up preset.
constexpr int kPlain = 60;
constexpr int kMarked = 90;
constexpr int kPresetsTouch = 10;

// What left the filter with an id and a word of the engine.
struct Dump {
  FedFrame frame;
  Json word;
};

// A chain with the open engine, which already has one frame under way.
class DumpMark : public testing::Test {
 protected:
  explicit DumpMark(bool on_gpu = false)
      : frames_on_gpu_((vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, on_gpu), on_gpu)),
        source_(std::in_place),
        chain_(std::in_place, source_->Get()) {
    chain_->behind.OnFrame([this](size_t) { words_.push_back(Word()); });
    vanta_test::WaitUntil(
        [this] {
          Feed(kPlain);
          return vanta_host_get_engine_state() == VANTA_ENGINE_RUNNING &&
                 chain_->before.Count() > chain_->behind.Count();
        },
        "a frame under way");
  }
  ~DumpMark() override {
    lumivex_set_delay_ms(0);
    lumivex_set_fail_after_frames(-1);
  }

  // Empty where there is none.
  std::string Word() const {
    const char *text = nullptr;
    uint32_t length = 0;
    return vanta_host_get_dump_json(chain_->Filter(), &text, &length) ? std::string(text, length) : std::string();
  }

  // The frame as it entered.
  FedFrame Feed(int first, uint32_t width = 64, uint32_t height = 48) {
    FeedThrough(*source_, *chain_, MakeFrame(first, VIDEO_FORMAT_NV12, width, height));
    return chain_->before.Last();
  }
  FedFrame FeedMarked(uint32_t id, int first, uint32_t width = 64, uint32_t height = 48) {
    EXPECT_TRUE(vanta_host_mark_next_frame(chain_->Filter(), id));
    return Feed(first, width, height);
  }

  // Those that have come back since the last call.
  void TakeDumps() {
    for (FedFrame &frame : chain_->behind.TakeFrames()) {
      const std::string &word = words_[seen_++];
      // The record that brought a mark in carries it out again with the pixels of an older frame, and without a word.
      if (frame.DumpId() != 0 && !word.empty()) dumps_.push_back({std::move(frame), Json::parse(word)});
    }
  }
  const Dump *Find(uint32_t id) const {
    const auto found =
        std::find_if(dumps_.begin(), dumps_.end(), [id](const Dump &dump) { return dump.frame.DumpId() == id; });
    return found == dumps_.end() ? nullptr : &*found;
  }
  // Feeds unmarked pictures until this mark has come back.
  const Dump *Await(uint32_t id, uint32_t width = 64, uint32_t height = 48) {
    vanta_test::WaitUntil(
        [&] {
          Feed(kPlain, width, height);
          TakeDumps();
          return Find(id) != nullptr;
        },
        "the mark to come back");
    return Find(id);
  }

  const bool frames_on_gpu_;
  const ObsSession session_;
  std::optional<FedSource> source_;
  std::optional<BeautyChain> chain_;
  std::vector<std::string> words_;  // at each frame that left
  size_t seen_ = 0;
  std::vector<Dump> dumps_;
};

TEST_F(DumpMark, ComesBackOnceWithItsFramesPixelsAndTheEnginesWord) {
  const FedFrame marked = FeedMarked(77, kMarked);
  EXPECT_EQ(marked.DumpId(), 0u) << "the mark is set behind the tap";
  const Dump *dump = Await(77);
  ASSERT_TRUE(dump);
  EXPECT_LE(LargestDifference(dump->frame, marked), kPresetsTouch);
  EXPECT_EQ(dump->word["engine"], "lumivex");
  EXPECT_EQ(dump->word["frame"]["timestamp"], marked.Timestamp());
  EXPECT_EQ(dump->word["frame"]["width"], 64);
  EXPECT_EQ(dump->word["frame"]["height"], 48);
  for (int frame = 0; frame < 5; ++frame) Feed(kPlain);
  TakeDumps();
  EXPECT_EQ(dumps_.size(), 1u);
}

TEST_F(DumpMark, WordStaysUntilTheNextMark) {
  FeedMarked(77, kMarked);
  ASSERT_TRUE(Await(77));
  for (int frame = 0; frame < 5; ++frame) Feed(kPlain);
  EXPECT_EQ(Json::parse(Word()), Find(77)->word);
  FeedMarked(78, kMarked);
  const Dump *dump = Await(78);
  ASSERT_TRUE(dump);
  EXPECT_EQ(Json::parse(Word()), dump->word);
}

TEST_F(DumpMark, OnAnOlderFramesPixelsBringsNoWord) {
  FeedMarked(77, kMarked);
  ASSERT_TRUE(Await(77));
  // A slow machine may have no older frame ready; then there is nothing to see, and another mark is tried.
  uint32_t id = 100;
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        const size_t before = chain_->behind.Count();
        FeedMarked(++id, kMarked);
        return chain_->behind.Count() > before || Await(id) == nullptr;
      },
      "an older frame in the record of the marked one"));
  const FedFrame older = chain_->behind.Last();
  EXPECT_EQ(older.DumpId(), id);
  EXPECT_NEAR(older.Luma(0, 0), kPlain, kPresetsTouch);
  EXPECT_EQ(Word(), "") << "neither the older frame's, which has none, nor that of the last mark";
}

TEST_F(DumpMark, MarksAmongFramesInFlightAndDroppedOnesComeBackInTheirOrder) {
  // Far slower than the frames come: four are under way, the others are dropped; marked ones go beside the four.
  lumivex_set_delay_ms(150);
  const vanta_test::LogCapture log;
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        Feed(kPlain);
        return log.Has(LOG_WARNING, "[beauty][FaceBeautyFilterWorker]  EnqueueFrame failed, return original frame");
      },
      "a dropped frame"));
  std::vector<FedFrame> marked;
  for (uint32_t id = 101; id <= 103; ++id) {
    marked.push_back(FeedMarked(id, kMarked + 30 * static_cast<int>(id - 101)));
    Feed(kPlain);
  }
  ASSERT_TRUE(Await(103));
  ASSERT_EQ(dumps_.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(dumps_[i].frame.DumpId(), 101 + i);
    EXPECT_LE(LargestDifference(dumps_[i].frame, marked[i]), kPresetsTouch) << i;
    EXPECT_EQ(dumps_[i].word["frame"]["timestamp"], marked[i].Timestamp()) << i;
  }
}

TEST_F(DumpMark, IsLostWithAFrameOfAFormerSize) {
  FeedMarked(77, kMarked);
  for (int frame = 0; frame < 5; ++frame) Feed(kPlain, 96, 64);
  const FedFrame marked = FeedMarked(78, kMarked, 96, 64);
  const Dump *dump = Await(78, 96, 64);
  ASSERT_TRUE(dump);
  EXPECT_LE(LargestDifference(dump->frame, marked), kPresetsTouch);
  EXPECT_EQ(dump->word["frame"]["width"], 96);
  EXPECT_EQ(Find(77), nullptr);
}

TEST_F(DumpMark, IsLostWithAFrameThatTheEngineRefuses) {
  const vanta_test::LogCapture log;
  lumivex_set_fail_after_frames(0);
  FeedMarked(77, kMarked);
  // Every fifth failure is told: when two have been, more have failed than can have been under way before the mark.
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        Feed(kPlain);
        return log.Count("[beauty] render failed") >= 2;
      },
      "failures"));
  lumivex_set_fail_after_frames(-1);
  FeedMarked(78, kMarked);
  ASSERT_TRUE(Await(78));
  EXPECT_EQ(Find(77), nullptr);
}

TEST_F(DumpMark, TellsWhatTheEngineDidToThatVeryFrame) {
  // The command may come before the engine exists; it is the engine's for every frame once one has shown it.
  const auto brighter = [this] { session_.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.5f); };
  brighter();
  uint32_t id = 200;
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedMarked(++id, kMarked);
        const Dump *dump = Await(id);
        return dump && dump->word["beauty"]["brightness"] == 0.5;
      },
      "a brighter frame"));
  const Dump *dump = Find(id);
  EXPECT_GT(dump->frame.Luma(0, 0), kMarked + kPresetsTouch);
  EXPECT_TRUE(dump->word["stages_ms"].contains("tone"));
}

class DumpMarkOnGpu : public DumpMark {
 protected:
  DumpMarkOnGpu() : DumpMark(true) {}
};

// Such a frame's pixels are in a texture; what leaves in memory is only its clock and its mark.
TEST_F(DumpMarkOnGpu, ComesBackWithTheEnginesWord) {
  const FedFrame marked = FeedMarked(77, kMarked);
  const Dump *dump = Await(77);
  ASSERT_TRUE(dump);
  EXPECT_EQ(dump->word["frame"]["timestamp"], marked.Timestamp());
}

}  // namespace
}  // namespace vanta_integration
