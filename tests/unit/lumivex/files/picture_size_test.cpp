#include "files/picture_size.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// A chunk of PNG with its checksum (ISO/IEC 15948, annex D).
std::string Chunk(const std::string &name, const std::string &content) {
  const auto number = [](uint32_t value) {
    std::string text;
    for (const int shift : {24, 16, 8, 0}) text += static_cast<char>(value >> shift & 255);
    return text;
  };
  uint32_t sum = 0xFFFFFFFF;
  for (const char letter : name + content) {
    sum ^= static_cast<uint8_t>(letter);
    for (int bit = 0; bit < 8; ++bit) sum = sum & 1 ? sum >> 1 ^ 0xEDB88320 : sum >> 1;
  }
  return number(static_cast<uint32_t>(content.size())) + name + content + number(~sum);
}

// Decoders find the picture's own head behind them; what seems to be their length would lead to another one.
TEST(PictureSize, IsNotReadBehindAMarkerOfJpegThatHasNoLength) {
  const std::vector<uint8_t> plain = Encoded(".jpg", cv::Mat(23, 301, CV_8UC3, cv::Scalar(1, 2, 3)));
  const std::vector<uint8_t> another = {0xFF, 0xC0, 0, 17, 8, 0, 1, 0, 1, 3, 1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1};
  for (const uint8_t marker : {0x00, 0x01, 0xD3}) {
    std::vector<uint8_t> file = plain;
    const std::vector<uint8_t> alone = {0xFF, marker};
    file.insert(file.begin() + 2, alone.begin(), alone.end());
    file.resize(static_cast<size_t>(4 + (file[4] << 8 | file[5])));
    file.insert(file.end(), another.begin(), another.end());
    ASSERT_EQ(cv::imdecode(file, cv::IMREAD_UNCHANGED).size(), cv::Size(301, 23)) << int{marker};
    EXPECT_FALSE(lumivex::ReadPictureSize(file)) << int{marker};
  }
}

// Of forty bytes each, they kept a decoder busy for hours.
TEST(PictureSize, OfAJpegOfThousandsOfScansIsUnknown) {
  std::vector<uint8_t> file =
      Encoded(".jpg", cv::Mat(23, 301, CV_8UC1, cv::Scalar(9)), {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
  ExpectSize(file, 301, 23);
  const std::string start = "\xff\xda";
  const auto last = std::find_end(file.begin(), file.end(), start.begin(), start.end(),
                                  [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); });
  const std::vector<uint8_t> scan(last, file.end() - 2);
  for (int i = 0; i < 1000; ++i) file.insert(file.end() - 2, scan.begin(), scan.end());
  ASSERT_EQ(cv::imdecode(file, cv::IMREAD_UNCHANGED).size(), cv::Size(301, 23));
  EXPECT_FALSE(lumivex::ReadPictureSize(file));
}

TEST(PictureSize, IsNotReadFromAChunkOfPngThatDecodersPassOver) {
  std::vector<uint8_t> file = Encoded(".png", cv::Mat(23, 301, CV_8UC3, cv::Scalar(1, 2, 3)));
  const std::string chunk = Chunk("vaNt", std::string("\0\0\0\1\0\0\0\1", 8));
  file.insert(file.begin() + 8, chunk.begin(), chunk.end());
  ASSERT_EQ(cv::imdecode(file, cv::IMREAD_UNCHANGED).size(), cv::Size(301, 23));
  EXPECT_FALSE(lumivex::ReadPictureSize(file));
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
