// Texts of effects on a machine without a font.
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <string>

#include "fixtures/process/log_capture.h"
#include "magic/picture.h"
#include "magic/shaped_text.h"

namespace lumivex {

cv::Mat ShapedText(const std::string &) {
  return {};
}

namespace {

cv::Mat Drawn(const std::string &text) {
  return DrawText(text, {255, 255, 255})->LevelFor(1);
}

TEST(PlainText, HasAQuestionMarkForEachCharacterOutsideOfAscii) {
  const cv::Mat name = Drawn("日本 Ünal");
  const cv::Mat expected = Drawn("?? ?nal");
  ASSERT_EQ(name.size(), expected.size());
  EXPECT_EQ(cv::norm(name, expected, cv::NORM_INF), 0);
  EXPECT_GT(cv::norm(name, cv::NORM_INF), 0);
}

TEST(PlainText, IsToldOfOnce) {
  const vanta_test::LogCapture log;
  Drawn("one");
  Drawn("two");
  EXPECT_EQ(log.CountWith("texts are drawn in ASCII alone"), 1U);
}

}  // namespace
}  // namespace lumivex
