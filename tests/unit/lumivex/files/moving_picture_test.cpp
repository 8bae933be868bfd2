#include "files/moving_picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "files/mp4_samples.h"

namespace lumivex_test {
namespace {

using lumivex::MovingKind;

constexpr lumivex::MovingLimits kWide = {64, 1 << 20, 64};
const cv::Vec4b kRedPixel(0, 0, 255, 255);
const cv::Vec4b kGreenPixel(0, 255, 0, 255);
const cv::Vec4b kWhitePixel(255, 255, 255, 255);

// 16 by 16 pixels: red for 100 ms, green for 200 ms, and for 100 ms clear, or white.
struct Sample {
  const char *name;
  MovingKind kind;
  bool ends_clear;
};

constexpr Sample kSamples[] = {{"pictures.apng", MovingKind::kPng, true},
                               {"pictures.webp", MovingKind::kWebp, true},
                               {"pictures.gif", MovingKind::kGif, false},
                               {"pictures.webm", MovingKind::kWebm, true},
                               {"pictures.mp4", MovingKind::kMp4, false}};

std::vector<uint8_t> Bytes(const Sample &sample) {
  std::ifstream file(std::string(VANTA_MOVING_PICTURES) + "/" + sample.name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Read {
  lumivex::MovingFile file;
  std::vector<cv::Vec4b> middles;  // of the pictures: blue, green, red, alpha

  cv::Vec4b At(int64_t milliseconds) const {
    size_t i = 0;
    while (i + 1 < middles.size() && file.ends_ms[i] <= milliseconds) ++i;
    return middles[i];
  }
};

Read ReadFile(MovingKind kind, const std::vector<uint8_t> &bytes, const lumivex::MovingLimits &limits = kWide,
              bool cancelled = false) {
  Read read;
  const std::atomic<bool> stop{cancelled};
  read.file = lumivex::ReadMoving(kind, bytes, limits, stop, [&](const cv::Mat &picture) {
    EXPECT_EQ(picture.type(), CV_8UC4);
    read.middles.push_back(picture.at<cv::Vec4b>(picture.rows / 2, picture.cols / 2));
  });
  return read;
}

void ExpectPixel(const cv::Vec4b &pixel, const cv::Vec4b &wanted) {
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(pixel[i], wanted[i], 6) << "channel " << i;
}

class MovingPicture : public ::testing::TestWithParam<Sample> {
 protected:
  const std::vector<uint8_t> bytes_ = Bytes(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Files, MovingPicture, ::testing::ValuesIn(kSamples), [](const auto &sample) {
  const std::string name = sample.param.name;
  return name.substr(name.find('.') + 1);
});

TEST_P(MovingPicture, IsToldByItsFirstBytes) {
  EXPECT_EQ(lumivex::MovingKindOf(bytes_), GetParam().kind);
}

TEST_P(MovingPicture, GivesItsPicturesByItsOwnTimes) {
  const Read read = ReadFile(GetParam().kind, bytes_);
  ASSERT_EQ(read.file.reason, "");
  ASSERT_GE(read.middles.size(), 3u);
  ASSERT_EQ(read.file.ends_ms.size(), read.middles.size());
  ExpectPixel(read.At(0), kRedPixel);
  ExpectPixel(read.At(98), kRedPixel);
  ExpectPixel(read.At(102), kGreenPixel);
  ExpectPixel(read.At(298), kGreenPixel);
  if (GetParam().ends_clear)
    EXPECT_LE(read.At(302)[3], 3);
  else
    ExpectPixel(read.At(302), kWhitePixel);
  EXPECT_NEAR(static_cast<double>(read.file.ends_ms.back()), 400.0, 2.0);
}

TEST_P(MovingPicture, ThatIsCutOffIsReadAsFarAsItGoesOrRefused) {
  for (size_t length = 0; length < bytes_.size(); length += 17) {
    const std::vector<uint8_t> part(bytes_.begin(), bytes_.begin() + static_cast<ptrdiff_t>(length));
    const Read read = ReadFile(GetParam().kind, part);
    if (!read.file.reason.empty()) continue;
    EXPECT_FALSE(read.middles.empty()) << length;
    EXPECT_EQ(read.file.ends_ms.size(), read.middles.size()) << length;
  }
}

TEST_P(MovingPicture, IsRefusedWhereItPassesALimit) {
  const struct {
    lumivex::MovingLimits limits;
    const char *reason;
  } rows[] = {{{8, 1 << 20, 64}, "it has 16 by 16 pixels"},
              {{64, 16 * 16 * 2, 64}, "with it the pictures have more than 32 million pixels"},
              {{64, 1 << 20, 2}, "it has more than 2 pictures"}};
  for (const auto &row : rows) {
    const Read read = ReadFile(GetParam().kind, bytes_, row.limits);
    EXPECT_EQ(read.file.reason, row.reason);
    EXPECT_NE(read.file.remedy, "");
    EXPECT_LE(read.middles.size(), 2u);
  }
}

TEST_P(MovingPicture, IsNotReadOnceNobodyWantsIt) {
  EXPECT_TRUE(ReadFile(GetParam().kind, bytes_, kWide, true).middles.empty());
}

TEST(MovingKind, OfAStillPictureIsNone) {
  const cv::Mat picture(16, 16, CV_8UC4, cv::Scalar(1, 2, 3, 40));
  for (const char *extension : {".png", ".webp", ".jpg"}) {
    std::vector<uint8_t> bytes;
    ASSERT_TRUE(cv::imencode(extension, picture, bytes));
    EXPECT_EQ(lumivex::MovingKindOf(bytes), MovingKind::kNone) << extension;
  }
  EXPECT_EQ(lumivex::MovingKindOf({}), MovingKind::kNone);
}

// Its header tells of 65535 by 65535 pixels.
TEST(MovingPictures, ThatLieAboutTheirSizeTakeNoMemory) {
  const std::string gif("GIF89a\xff\xff\xff\xff\0\0\0,\0\0\0\0\xff\xff\xff\xff\0\x02\x02\x44\x01\0;", 29);
  const Read read = ReadFile(MovingKind::kGif, {gif.begin(), gif.end()}, {4096, 1 << 25, 64});
  EXPECT_EQ(read.file.reason, "it has 65535 by 65535 pixels");
}

// Five kilobytes that tell of so many samples of one byte took four gigabytes.
TEST(MovingPictures, ThatLieAboutTheirLengthTakeNoMemory) {
  std::vector<uint8_t> bytes = Bytes({"pictures.mp4", MovingKind::kMp4, false});
  const auto write = [&bytes](const std::string &box, ptrdiff_t offset, uint32_t value) {
    const auto at = std::search(bytes.begin(), bytes.end(), box.begin(), box.end()) + offset;
    for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
  };
  write("stsz", 8, 1);  // bytes each
  write("stsz", 12, 80000000);
  write("stsc", 16, 80000000);  // in the first chunk
  const Read read = ReadFile(MovingKind::kMp4, bytes);
  EXPECT_EQ(read.file.reason, "it tells of more than 4 million samples");
}

// A box of the given name that holds these numbers.
std::vector<uint8_t> Box(const std::string &name, const std::vector<uint32_t> &numbers) {
  std::vector<uint8_t> box;
  const auto put = [&box](uint32_t number) {
    for (const int shift : {24, 16, 8, 0}) box.push_back(static_cast<uint8_t>(number >> shift));
  };
  put(static_cast<uint32_t>(8 + 4 * numbers.size()));
  box.insert(box.end(), name.begin(), name.end());
  for (const uint32_t number : numbers) put(number);
  return box;
}

TEST(Mp4Samples, AreThoseOfAllTracksAndFragments) {
  EXPECT_EQ(lumivex::SamplesToldByMp4({}), 0u);
  std::vector<uint8_t> file;
  for (const auto &box : {Box("stsz", {0, 1, 7}), Box("stz2", {0, 8, 30}), Box("trun", {0, 500})})
    file.insert(file.end(), box.begin(), box.end());
  EXPECT_EQ(lumivex::SamplesToldByMp4(file), 537u);
}

TEST(Mp4Samples, AreNotCountedInMediaDataButBehindIt) {
  const std::vector<uint8_t> inner = Box("stsz", {0, 1, 7});
  std::vector<uint8_t> file = Box("mdat", {0x7374737a, 0, 1, 9000});  // "stsz"
  EXPECT_EQ(lumivex::SamplesToldByMp4(file), 0u);
  file.insert(file.end(), inner.begin(), inner.end());
  EXPECT_EQ(lumivex::SamplesToldByMp4(file), 7u);
}

TEST(Mp4Samples, OfACompressedIndexAreTooMany) {
  EXPECT_EQ(lumivex::SamplesToldByMp4(Box("moov", {0, 0x636d6f76})), UINT64_MAX);  // "cmov"
}

}  // namespace
}  // namespace lumivex_test
