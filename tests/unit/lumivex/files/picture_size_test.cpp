#include "files/picture_size.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "fixtures/lumivex/engine_fixture.h"
#include "makeup/makeup_resource.h"

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

// Nothing of this picture is there but its size, so a reader that decodes it first would say so.
TEST(PictureSize, BeyondAMakeupsBudgetIsRefusedBeforeThePictureIsDecoded) {
  std::vector<uint8_t> picture = Encoded(".png", cv::Mat(40, 30, CV_8UC4, cv::Scalar(1, 2, 3, 255)));
  picture.resize(33);
  WriteFile("layer.png", std::string(picture.begin(), picture.end()));
  WriteFile("makeup.json",
            R"({"format":1,"layers":[{"image":"layer.png","anchors":{"left_eye":[1,1],"right_eye":[9,1]}}]})");
  const lumivex::MakeupLoad refused = lumivex::LoadMakeup(OwnFolder(), 30 * 40 - 1);
  EXPECT_EQ(refused.resource, nullptr);
  EXPECT_NE(refused.reason.find("pixels"), std::string::npos) << refused.reason;
  const lumivex::MakeupLoad read = lumivex::LoadMakeup(OwnFolder(), 30 * 40);
  EXPECT_NE(read.reason.find("no picture"), std::string::npos) << read.reason;
}

}  // namespace
}  // namespace lumivex_test
