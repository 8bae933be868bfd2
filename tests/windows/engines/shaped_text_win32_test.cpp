// Where fonts come from: tests/windows/run-wine gives Wine a Chinese one, of which it has none.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>
#include <string>
#include <system_error>

#include "magic/shaped_text.h"
#include "platform/font_files.h"

namespace lumivex_test {
namespace {

using lumivex::ShapedText;

bool Same(const cv::Mat &one, const cv::Mat &other) {
  return one.size() == other.size() && cv::norm(one, other, cv::NORM_INF) == 0;
}

TEST(FontsOnWindows, BeginWithTheOneThatCameWithTheEngine) {
  const std::filesystem::path first = lumivex::FontFiles().front();
  EXPECT_EQ(first.filename(), "DejaVuSans.ttf");
  EXPECT_TRUE(std::filesystem::exists(first)) << first;
}

// An installed font that is open could not be replaced.
TEST(FontsOnWindows, AreNotKeptOpen) {
  ASSERT_FALSE(ShapedText("a").empty());
  const std::filesystem::path font = lumivex::FontFiles().front();
  ASSERT_EQ(font.filename(), "DejaVuSans.ttf") << "not the installed one";
  std::filesystem::path moved = font;
  moved += ".moved";
  std::error_code error;
  std::filesystem::rename(font, moved, error);
  EXPECT_FALSE(error) << error.message();
  std::filesystem::rename(moved, font, error);
}

TEST(FontsOnWindows, WriteTwoScriptsInOneLine) {
  const cv::Mat name = ShapedText("日本 Ünal");
  ASSERT_FALSE(name.empty()) << "no font is there";
  EXPECT_GT(cv::countNonZero(name), 0);
  EXPECT_FALSE(Same(name, ShapedText("?? Ünal"))) << "no font of the system's";
  EXPECT_FALSE(Same(name, ShapedText("日本 ?nal"))) << "no font of the engine's";
}

}  // namespace
}  // namespace lumivex_test
