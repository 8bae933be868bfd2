#include "files/picture_size.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

namespace lumivex_test {
namespace {

std::vector<uint8_t> Encoded(const char *kind, const cv::Mat &picture, const std::vector<int> &how = {}) {
  std::vector<uint8_t> bytes;
  EXPECT_TRUE(cv::imencode(kind, picture, bytes, how));
  return bytes;
}

void ExpectSize(const std::vector<uint8_t> &file, int width, int height) {
  const auto size = lumivex::ReadPictureSize(file);
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, width);
  EXPECT_EQ(size->height, height);
}

TEST(PictureSize, IsThatOfEveryKindOfFile) {
  const cv::Mat opaque(23, 301, CV_8UC3, cv::Scalar(1, 2, 3));
  const cv::Mat clear(301, 23, CV_8UC4, cv::Scalar(1, 2, 3, 40));
  ExpectSize(Encoded(".png", opaque), 301, 23);
  ExpectSize(Encoded(".jpg", opaque), 301, 23);
  ExpectSize(Encoded(".webp", opaque, {cv::IMWRITE_WEBP_QUALITY, 60}), 301, 23);
  ExpectSize(Encoded(".webp", clear, {cv::IMWRITE_WEBP_QUALITY, 60}), 23, 301);
  ExpectSize(Encoded(".webp", opaque, {cv::IMWRITE_WEBP_QUALITY, 101}), 301, 23);
}

TEST(PictureSize, OfAFileThatIsCutOffIsUnknown) {
  const cv::Mat picture(23, 301, CV_8UC3, cv::Scalar(1, 2, 3));
  for (const char *kind : {".png", ".jpg", ".webp"}) {
    std::vector<uint8_t> bytes = Encoded(kind, picture);
    bytes.resize(20);
    EXPECT_FALSE(lumivex::ReadPictureSize(bytes)) << kind;
  }
}

}  // namespace
}  // namespace lumivex_test
