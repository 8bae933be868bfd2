#include "frames/image_dumper.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "frames/dump_files.h"
#include "frames/utf16.h"

namespace vanta {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

class Dump : public testing::Test {
 protected:
  Dump() { fs::create_directories(root_); }
  ~Dump() override { fs::remove_all(root_); }

  static Bytes Content(const fs::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(stream), {});
  }
  static std::u16string Wide(const fs::path &path) { return Utf16FromUtf8(path.string(), 1000); }

  const fs::path root_ = fs::temp_directory_path() / ("dump \u7f8e " + std::to_string(getpid()));
};

Bytes Ramp(size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), uint8_t{1});
  return bytes;
}

Bytes operator+(Bytes left, const Bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

TEST_F(Dump, Bmp32IsTopDownAndItsFileSizeCountsThePixelsAlone) {
  const Bytes pixels = Ramp(3 * 2 * 4);
  ASSERT_TRUE(WriteBmp32(pixels.data(), 3, 2, Wide(root_ / "a.bmp")));
  const Bytes header = {'B', 'M', 24,   0,    0,    0,    0,    0,    0, 0, 54, 0, 0, 0, 40, 0, 0,  0,
                        3,   0,   0,    0,    0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0, 0, 0, 0,  0, 24, 0,
                        0,   0,   0x12, 0x0B, 0,    0,    0x12, 0x0B, 0, 0, 0,  0, 0, 0, 0,  0, 0,  0};
  ASSERT_EQ(header.size(), 54u);
  EXPECT_EQ(Content(root_ / "a.bmp"), header + pixels);
}

TEST_F(Dump, Bmp24OfThreeChannelsHasRowsOf12BytesFromTheLastToTheFirst) {
  const Bytes pixels = Ramp(3 * 2 * 3);
  WriteBmp24(root_ / "a.bmp", pixels.data(), 3, 2, 3);
  const Bytes header = {'B', 'M', 78, 0, 0, 0, 0, 0,  0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1,
                        0,   24,  0,  0, 0, 0, 0, 24, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  ASSERT_EQ(header.size(), 54u);
  const Bytes rows = {12, 11, 10, 15, 14, 13, 18, 17, 16, 0, 0, 0, 3, 2, 1, 6, 5, 4, 9, 8, 7, 0, 0, 0};
  EXPECT_EQ(Content(root_ / "a.bmp"), header + rows);
}

TEST_F(Dump, Bmp24OfFourChannelsKeepsLongRows) {
  const Bytes pixels = Ramp(2 * 4);
  WriteBmp24(root_ / "a.bmp", pixels.data(), 2, 1, 4);
  const Bytes file = Content(root_ / "a.bmp");
  ASSERT_EQ(file.size(), 62u);
  EXPECT_EQ(Bytes(file.begin() + 54, file.end()), (Bytes{3, 2, 1, 7, 6, 5, 0, 0}));
}

TEST_F(Dump, BmpV4HasMasksAndBottomUpRows) {
  const Bytes pixels = Ramp(2 * 2 * 4);
  WriteBmpV4(root_ / "a.bmp", pixels.data(), 2, 2);
  Bytes header = {'B', 'M', 138, 0,  0,    0, 0, 0, 0, 0,    122, 0, 0, 0, 108,  0, 0, 0, 2, 0,    0,   0,   2,   0,  0,
                  0,   1,   0,   32, 0,    3, 0, 0, 0, 16,   0,   0, 0, 0, 0,    0, 0, 0, 0, 0,    0,   0,   0,   0,  0,
                  0,   0,   0,   0,  0xFF, 0, 0, 0, 0, 0xFF, 0,   0, 0, 0, 0xFF, 0, 0, 0, 0, 0xFF, 'B', 'G', 'R', 's'};
  header.resize(122);
  EXPECT_EQ(Content(root_ / "a.bmp"),
            header + Bytes(pixels.begin() + 8, pixels.end()) + Bytes(pixels.begin(), pixels.begin() + 8));
}

TEST_F(Dump, StreamWritersTellOnStandardErrorWhenTheFileCannotBeMade) {
  const Bytes pixels = Ramp(16);
  testing::internal::CaptureStderr();
  WriteBmp24(root_ / "no" / "a.bmp", pixels.data(), 2, 2, 3);
  WriteBmpV4(root_ / "no" / "a.bmp", pixels.data(), 2, 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "无法创建文件\n无法创建文件\n");
}

TEST_F(Dump, DirectoryEndsWithBackSlashesOnlyAndIsMade) {
  ImageDumper dumper;
  dumper.SetDirectory((root_ / "one/two").string());
  EXPECT_EQ(dumper.directory.find(u'/'), std::u16string::npos);
  EXPECT_TRUE(dumper.directory.ends_with(u"\\one\\two"));
  EXPECT_TRUE(fs::is_directory(root_ / "one" / "two"));
}

TEST_F(Dump, DirectoryThatIsThereIsLeftAlone) {
  std::ofstream(root_ / "kept") << "kept";
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  EXPECT_EQ(Content(root_ / "kept").size(), 4u);
}

TEST_F(Dump, DirectoryIsCutAt259Units) {
  ImageDumper dumper;
  dumper.SetDirectory("/dev/null/" + std::string(300, 'd'));
  EXPECT_EQ(dumper.directory.size(), 259u);
}

TEST_F(Dump, ModeZeroCapturesAndWritesNothing) {
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  const Bytes pixels = Ramp(16);
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_EQ(dumper.buffer_size, 0u);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_FALSE(dumper.SaveIndexed("a", 1));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST_F(Dump, YuvOf1080pHas3110400Bytes) {
  const Bytes y(1920 * 1080, 1), u(960 * 540, 2), v(960 * 540, 3);
  const uint8_t *planes[] = {y.data(), u.data(), v.data()};
  const uint32_t strides[] = {1920, 960, 960};
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 1920, 1080);
  ASSERT_TRUE(dumper.Save("clip \u753b"));
  const Bytes file = Content(root_ / "clip \u753b.yuv");
  EXPECT_EQ(file.size(), 3110400u);
  EXPECT_EQ(file, y + u + v);
}

TEST_F(Dump, I420AsBmpIsGreyOfGrey) {
  const Bytes y(8, 126), c(2, 128);
  const uint8_t *planes[] = {y.data(), c.data(), c.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureI420(planes, strides, 4, 2);
  ASSERT_TRUE(dumper.SaveIndexed("grey", -7));
  const Bytes file = Content(root_ / "dump_-7_grey.bmp");
  ASSERT_EQ(file.size(), 54u + 32u);
  EXPECT_NEAR(file[54], 128, 1);
  EXPECT_EQ(file[57], 255);
}

TEST_F(Dump, BufferOnlyGrowsAndAGrownOneIsZeroed) {
  const Bytes pixels = Ramp(64);
  ImageDumper dumper;
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  EXPECT_EQ(dumper.buffer_size, 64u);
  EXPECT_EQ(std::memcmp(dumper.buffer.get(), pixels.data(), 64), 0);
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_EQ(dumper.buffer_size, 64u);
  EXPECT_EQ(dumper.buffer[16], 17);
}

TEST_F(Dump, CaptureOfAnotherModeThatIsTooSmallIsNotWritten) {
  const Bytes pixels = Ramp(64);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 4, 4);
  dumper.mode = ImageDumper::kBmp;
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST_F(Dump, FolderThatIsNotThereMakesSaveFail) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory("/dev/null/x");
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_FALSE(dumper.Save("a"));
}

TEST_F(Dump, NameIsCutAt120Units) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(root_.string());
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  ASSERT_TRUE(dumper.Save(std::string(200, 'n')));
  EXPECT_TRUE(fs::exists(root_ / (std::string(120, 'n') + ".bmp")));
}

TEST(Utf16, ComesBackAsItWent) {
  const std::string text = "a\u00e9\u753b\U0001F3A5";
  EXPECT_EQ(Utf16FromUtf8(text, 99).size(), 5u);
  EXPECT_EQ(Utf8FromUtf16(Utf16FromUtf8(text, 99)), text);
}

TEST(Utf16, PairIsNotCutInTwo) {
  EXPECT_EQ(Utf16FromUtf8("a\U0001F3A5", 2), u"a");
}

TEST(Utf16, MalformedBytesAreReplaced) {
  EXPECT_EQ(Utf16FromUtf8("a\xff\xc3", 9), u"a\uFFFD\uFFFD");
  EXPECT_EQ(Utf16FromUtf8("\xed\xa0\x80", 9), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(Utf8FromUtf16(std::u16string(1, char16_t{0xD800})), "\uFFFD");
}

}  // namespace
}  // namespace vanta
