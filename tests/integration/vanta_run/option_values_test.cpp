#include "common/option_values.h"

#include <gtest/gtest.h>
#include <lumivex/lumivex_values.h>

#include "vanta_operations/stages.h"

namespace vanta_run {
namespace {

TEST(OptionValues, RateKnowsWholeNumbersFractionsAndTheRoundedNames) {
  const auto expect = [](const char *text, uint32_t num, uint32_t den) {
    const auto rate = ParseRate(text);
    ASSERT_TRUE(rate) << text;
    EXPECT_EQ(rate->num, num) << text;
    EXPECT_EQ(rate->den, den) << text;
  };
  expect("30", 30, 1);
  expect("30000/1001", 30000, 1001);
  expect("29.97", 30000, 1001);
  expect("23.976", 24000, 1001);
  expect("59.94", 60000, 1001);
  expect("12.5", 12500, 1000);
}

TEST(OptionValues, RateOutsideItsRangeIsRefused) {
  for (const char *text : {"0", "0.5", "241", "30/0", "1/2", "500/1", "30fps", "", "-30"})
    EXPECT_FALSE(ParseRate(text)) << text;
}

TEST(OptionValues, SizeNeedsTwoSaneSides) {
  ASSERT_TRUE(ParseSize("1280x720"));
  EXPECT_EQ(ParseSize("1280X720")->height, 720u);
  for (const char *text : {"1280", "x720", "1280x", "15x720", "1280x8193", "1280x720p", "-1x720"})
    EXPECT_FALSE(ParseSize(text)) << text;
}

TEST(OptionValues, NumberTakesNothingBehindIt) {
  EXPECT_EQ(ParseNumber("0.5"), 0.5);
  for (const char *text : {"0,5", "1e", "nan", "inf", "", " 1", "1 "}) EXPECT_FALSE(ParseNumber(text)) << text;
}

TEST(OptionValues, CountStartsAtOne) {
  EXPECT_EQ(ParseCount("1"), 1u);
  for (const char *text : {"0", "-1", "1.5", "99999999999999999999"}) EXPECT_FALSE(ParseCount(text)) << text;
}

TEST(OptionValues, ColorIsSixHexadecimalDigits) {
  EXPECT_EQ(ParseColor("30a0FF"), 0x30A0FFu);
  for (const char *text : {"30a0f", "30a0ffff", "zzzzzz", ""}) EXPECT_FALSE(ParseColor(text)) << text;
}

TEST(OptionValues, PairsNeedANameAndAValueEach) {
  const auto pairs = ParsePairs("a=1,b=x=y");
  ASSERT_TRUE(pairs);
  ASSERT_EQ(pairs->size(), 2u);
  EXPECT_EQ((*pairs)[1], (std::pair<std::string, std::string>("b", "x=y")));
  for (const char *text : {"", "a", "a=", "=1", "a=1,,b=2"}) EXPECT_FALSE(ParsePairs(text)) << text;
}

TEST(OptionValues, EffectsHaveTheEnginesNumbers) {
  EXPECT_EQ(vanta_operations::FindEffectType("green-matting"), lumivex::kEffectGreenMatting);
  EXPECT_FALSE(vanta_operations::FindEffectType("charm"));
}

}  // namespace
}  // namespace vanta_run
