#include "greenscreen/output_cache.h"

#include <gtest/gtest.h>

namespace {

const vanta::OutputCache::Key kKey{7, {64, 48}, 3};

TEST(OutputCache, HoldsNothingAtFirst) {
  const vanta::OutputCache cache;
  EXPECT_FALSE(cache.Holds({}));
}

TEST(OutputCache, HoldsTheFrameThatFilledItAndNoOther) {
  vanta::OutputCache cache;
  cache.Fill(kKey);
  EXPECT_TRUE(cache.Holds(kKey));
  EXPECT_FALSE(cache.Holds({8, {64, 48}, 3}));
  EXPECT_FALSE(cache.Holds({7, {65, 48}, 3}));
  EXPECT_FALSE(cache.Holds({7, {64, 49}, 3}));
  EXPECT_FALSE(cache.Holds({7, {64, 48}, 4})) << "the settings have changed since";
}

TEST(OutputCache, HoldsNothingOnceDropped) {
  vanta::OutputCache cache;
  cache.Fill(kKey);
  cache.Drop();
  EXPECT_FALSE(cache.Holds(kKey));
}

}  // namespace
