#include "core/quality_steps.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace lumivex {
namespace {

constexpr uint64_t kInterval = 33'000'000;  // nanoseconds

class Frames {
 public:
  void Take(int count, float milliseconds) {
    for (int i = 0; i < count; ++i) steps.AddFrame(stamp += kInterval, milliseconds);
  }

  QualitySteps steps;
  uint64_t stamp = 0;
};

TEST(QualitySteps, StayAtTheWholeQualityWhereThereIsTime) {
  Frames frames;
  frames.Take(1000, 25.0f);
  EXPECT_EQ(frames.steps.Step(), 0);
}

TEST(QualitySteps, GoDownBeforeAFrameTakesAllOfItsTime) {
  Frames frames;
  frames.Take(200, 31.0f);
  EXPECT_GT(frames.steps.Step(), 0);
}

TEST(QualitySteps, GoDownOneAfterTheOtherToTheLowest) {
  Frames frames;
  int last = 0;
  for (int i = 0; i < 300; ++i) {
    frames.Take(1, 60.0f);
    EXPECT_LE(frames.steps.Step(), last + 1);
    last = frames.steps.Step();
  }
  EXPECT_EQ(last, QualitySteps::kLowest);
}

TEST(QualitySteps, BearOneSlowFrame) {
  Frames frames;
  frames.Take(100, 15.0f);
  frames.Take(1, 500.0f);
  frames.Take(100, 15.0f);
  EXPECT_EQ(frames.steps.Step(), 0);
}

TEST(QualitySteps, ComeBackUpWhenThereIsPlentyOfTime) {
  Frames frames;
  frames.Take(300, 60.0f);
  frames.Take(800, 5.0f);
  EXPECT_EQ(frames.steps.Step(), 0);
}

TEST(QualitySteps, AreHeldWhereTimeIsNeitherShortNorPlentiful) {
  Frames frames;
  frames.Take(300, 60.0f);
  frames.Take(1000, 22.0f);
  EXPECT_EQ(frames.steps.Step(), QualitySteps::kLowest);
}

TEST(QualitySteps, KnowNothingOfStampsThatStandStill) {
  QualitySteps steps;
  for (int i = 0; i < 300; ++i) steps.AddFrame(7, 60.0f);
  EXPECT_EQ(steps.Step(), 0);
}

}  // namespace
}  // namespace lumivex
