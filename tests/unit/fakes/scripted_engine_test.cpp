#include "fakes/engine/scripted_engine.h"

#include <gtest/gtest.h>

#include <thread>

#include "fixtures/process/alloc_counter.h"

namespace {

using namespace vanta_test;

TEST(ScriptedEngine, NotesItsCallsInOrder) {
  LXEngineConfig config{};
  config.width = 640;
  config.height = 480;
  auto engine = LX::LumivexSync::createEngine(&config);
  engine->setLookupIntensity(0.5F);
  engine.reset();
  EXPECT_EQ(scripted_engine::Texts(1),
            (std::vector<std::string>{"createEngine(, 0, 640, 480)", "setLookupIntensity(0.50)", "~LumivexSync()"}));
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

TEST(ScriptedEngine, ClosedGateHoldsACallUntilItIsOpened) {
  LXEngineConfig config{};
  auto engine = LX::LumivexSync::createEngine(&config);
  LX::FramePool pool;
  scripted_engine::Close(Gate::kProcess);
  std::thread worker([&] { engine->processFrameData(pool.takeFrameDataNV12(4, 4, 0, 0)); });
  ASSERT_TRUE(scripted_engine::WaitAt(Gate::kProcess));
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u);
  scripted_engine::LetOneThrough(Gate::kProcess);
  worker.join();
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST(ScriptedEngine, PoolTakesNothingFromTheHeapOnceWarm) {
  LX::FramePool pool;
  scripted_engine::SetRecording(false);
  for (int i = 0; i < 3; ++i) {
    auto first = pool.takeFrameDataNV12(64, 64, 0, 0);
    auto second = pool.takeFrameDataNV12(64, 64, 0, 0);
  }
  const AllocCounter counter;
  for (int i = 0; i < 10; ++i) {
    auto first = pool.takeFrameDataNV12(64, 64, 0, 0);
    auto second = pool.takeFrameDataNV12(64, 64, 0, 0);
  }
  EXPECT_EQ(counter.InProcess(), 0u);
}

TEST(ScriptedEngine, FramesOutliveTheirPoolAndComeFresh) {
  std::shared_ptr<LX::FrameData> frame;
  {
    LX::FramePool pool;
    pool.takeFrameDataNV12(7, 5, 0, 0)->pixel_format = 5;
    frame = pool.takeFrameDataNV12(7, 5, 0, 0);
  }
  EXPECT_EQ(frame->pixel_format, -1);
  EXPECT_EQ(frame->strides[1], 8);
  frame->planes[1][8 * 3 - 1] = 1;
  EXPECT_EQ(scripted_engine::FramesAlive(), 1u);
}

}  // namespace
