#include "magic/shaped_text.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivex_test {
namespace {

using lumivex::ShapedText;

constexpr int kCapital = 14;  // rows from the upper edge above which no letter without an accent reaches

// Where there are letters, from the first column to the last one.
cv::Mat Ink(const cv::Mat &covered) {
  int first = covered.cols;
  int end = 0;
  for (int x = 0; x < covered.cols; ++x) {
    if (cv::countNonZero(covered.col(x)) == 0) continue;
    first = std::min(first, x);
    end = x + 1;
  }
  return first < end ? covered.colRange(first, end) : cv::Mat();
}

bool Same(const cv::Mat &one, const cv::Mat &other) {
  return one.size() == other.size() && !one.empty() && cv::norm(one, other, cv::NORM_INF) == 0;
}

class ShapedTextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (ShapedText("a").empty()) GTEST_SKIP() << "built without FreeType and HarfBuzz, or no font is there";
  }
};

TEST_F(ShapedTextTest, HasNamesOfManyScripts) {
  const cv::Mat unknown = ShapedText("?");
  for (const char *letter : {"A", "é", "Ж", "Ω", "א", "ب", "日", "の", "한"}) {
    EXPECT_FALSE(Ink(ShapedText(letter)).empty()) << letter;
    EXPECT_FALSE(Same(Ink(ShapedText(letter)), Ink(unknown))) << letter;
  }
  EXPECT_FALSE(Same(ShapedText("日本"), ShapedText("本日")));
}

TEST_F(ShapedTextTest, PutsAccentsOverCapitals) {
  EXPECT_EQ(cv::countNonZero(ShapedText("U").rowRange(0, kCapital)), 0);
  EXPECT_GT(cv::countNonZero(ShapedText("Ü").rowRange(0, kCapital)), 0);
  EXPECT_TRUE(Same(ShapedText("U\u0308"), ShapedText("Ü"))) << "the accent as a sign of its own";
}

TEST_F(ShapedTextTest, IsAsHighForEveryText) {
  const int rows = ShapedText("a").rows;
  for (const char *text : {"Ünal gq", "日本", "ل"}) EXPECT_EQ(ShapedText(text).rows, rows) << text;
}

TEST_F(ShapedTextTest, ReadsSomeScriptsFromTheRight) {
  const cv::Mat last = Ink(ShapedText("ב"));
  const cv::Mat word = Ink(ShapedText("אב"));
  ASSERT_GT(word.cols, last.cols);
  EXPECT_TRUE(Same(word.colRange(0, last.cols), last)) << "the last letter is the one on the left";
}

TEST_F(ShapedTextTest, ReadsNumbersFromTheLeftInAllOfThem) {
  const cv::Mat number = Ink(ShapedText("17"));
  const cv::Mat both = Ink(ShapedText("א 17"));
  ASSERT_GT(both.cols, number.cols);
  EXPECT_TRUE(Same(both.colRange(0, number.cols), number));
}

TEST_F(ShapedTextTest, JoinsLettersThatAreWrittenTogether) {
  const cv::Mat alone = Ink(ShapedText("ب"));
  const cv::Mat word = Ink(ShapedText("ببب"));
  EXPECT_LT(word.cols, 3 * alone.cols - 6) << "the middle one is narrower than one that stands alone";
}

TEST_F(ShapedTextTest, ShowsAQuestionMarkForWhatNoFontHas) {
  EXPECT_TRUE(Same(ShapedText("a\U000F0000"), ShapedText("a?")));
}

TEST_F(ShapedTextTest, BearsBrokenUtf8) {
  for (const char *text : {"\xFF", "a\xC3", "\xE6\x97", "\xF8\x88\x80\x80\x80"}) EXPECT_FALSE(ShapedText(text).empty());
}

}  // namespace
}  // namespace lumivex_test
