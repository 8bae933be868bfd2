#include "frames/dump/image_dumper.h"

#include <cstring>
#include <fstream>
#include <vector>

#include "fixtures/frames/dump_folder.h"

namespace vanta {
namespace {

using namespace vanta_test;
namespace fs = std::filesystem;

using Dump = DumpFolder;

TEST_F(Dump, DirectoryEndsWithBackSlashesOnlyAndIsMade) {
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_) + "/one/two");
  EXPECT_EQ(dumper.directory.find(u'/'), std::u16string::npos);
  EXPECT_TRUE(dumper.directory.ends_with(u"\\one\\two"));
  EXPECT_TRUE(fs::is_directory(root_ / "one" / "two"));
}

TEST_F(Dump, DirectoryThatIsThereIsLeftAlone) {
  std::ofstream(root_ / "kept") << "kept";
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  EXPECT_EQ(Content(root_ / "kept").size(), 4u);
}

TEST_F(Dump, DirectoryIsCutAt259Units) {
  ImageDumper dumper;
  std::ofstream(root_ / "file") << "in the way";  // so that nothing is made
  dumper.SetDirectory(Utf8(root_ / "file") + "/" + std::string(300, 'd'));
  EXPECT_EQ(dumper.directory.size(), 259u);
}

TEST_F(Dump, ModeZeroCapturesAndWritesNothing) {
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  const Bytes pixels = Ramp(16);
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_EQ(dumper.buffer_size, 0u);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_FALSE(dumper.SaveIndexed("a", 1));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST(ImageDumper, ExtensionFollowsTheMode) {
  EXPECT_EQ(ImageDumper::Extension(ImageDumper::kBmp), u".bmp");
  EXPECT_EQ(ImageDumper::Extension(ImageDumper::kYuv), u".yuv");
  EXPECT_EQ(ImageDumper::Extension(0), u".dump");
  EXPECT_EQ(ImageDumper::Extension(3), u".dump");
}

TEST_F(Dump, ModeZeroKeepsTheSizeOfI420Alone) {
  const Bytes pixels = Ramp(16);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.CaptureI420(planes, strides, 4, 2);
  EXPECT_EQ(dumper.width, 4u);
  EXPECT_EQ(dumper.height, 2u);
  EXPECT_EQ(dumper.strides[0], 0u);
  EXPECT_EQ(dumper.buffer, nullptr);
  EXPECT_EQ(dumper.buffer_size, 0u);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST_F(Dump, YuvOf1080pHas3110400Bytes) {
  const Bytes y(1920 * 1080, 1), u(960 * 540, 2), v(960 * 540, 3);
  const uint8_t *planes[] = {y.data(), u.data(), v.data()};
  const uint32_t strides[] = {1920, 960, 960};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 1920, 1080);
  ASSERT_TRUE(dumper.Save("clip \u753b"));
  const Bytes file = Content(root_ / Path("clip \u753b.yuv"));
  EXPECT_EQ(file.size(), 3110400u);
  EXPECT_EQ(file, y + u + v);
}

TEST_F(Dump, I420AsBmpIsGreyOfGrey) {
  const Bytes y(8, 126), c(2, 128);
  const uint8_t *planes[] = {y.data(), c.data(), c.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureI420(planes, strides, 4, 2);
  ASSERT_TRUE(dumper.SaveIndexed("grey", -7));
  const Bytes file = Content(root_ / "dump_-7_grey.bmp");
  ASSERT_EQ(file.size(), 54u + 32u);
  EXPECT_NEAR(file[54], 128, 1);
  EXPECT_EQ(file[57], 255);
}

TEST_F(Dump, I420OfWideStridesIsTheSameBmpAsWithout) {
  const Bytes y = Ramp(8 * 4), u = Ramp(4 * 2), v(u.rbegin(), u.rend());
  Bytes wide[3] = {Bytes(24 * 4, 255), Bytes(9 * 2, 255), Bytes(13 * 2, 255)};
  const Bytes *tight[] = {&y, &u, &v};
  const uint32_t tight_strides[] = {8, 4, 4}, wide_strides[] = {24, 9, 13};
  for (int plane = 0; plane < 3; ++plane)
    for (uint32_t row = 0; row < (plane ? 2u : 4u); ++row)
      std::memcpy(wide[plane].data() + row * wide_strides[plane], tight[plane]->data() + row * tight_strides[plane],
                  tight_strides[plane]);
  const uint8_t *tight_planes[] = {y.data(), u.data(), v.data()};
  const uint8_t *wide_planes[] = {wide[0].data(), wide[1].data(), wide[2].data()};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureI420(tight_planes, tight_strides, 8, 4);
  ASSERT_TRUE(dumper.Save("tight"));
  dumper.CaptureI420(wide_planes, wide_strides, 8, 4);
  ASSERT_TRUE(dumper.Save("wide"));
  ASSERT_EQ(Content(root_ / "tight.bmp").size(), 54u + 8u * 4u * 4u);
  EXPECT_EQ(Content(root_ / "wide.bmp"), Content(root_ / "tight.bmp"));
}

TEST_F(Dump, RefusedRgbaIsNotSavedWithTheOlderPixels) {
  const Bytes pixels = Ramp(64);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  dumper.CaptureRGBA(nullptr, 2, 2);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_FALSE(dumper.SaveIndexed("a", 1));
  EXPECT_TRUE(fs::is_empty(root_));
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_TRUE(dumper.Save("a"));
}

TEST_F(Dump, RefusedI420IsNotSavedWithTheOlderPixels) {
  const Bytes pixels = Ramp(64);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint8_t *without[] = {pixels.data(), pixels.data(), nullptr};
  const uint32_t strides[] = {4, 2, 2}, too_long[] = {0xFFFFFFF0u, 0xFFFFFFF0u, 0xFFFFFFF0u};
  for (const uint32_t mode : {ImageDumper::kBmp, ImageDumper::kYuv}) {
    ImageDumper dumper;
    dumper.SetDirectory(Utf8(root_));
    dumper.mode = mode;
    dumper.CaptureI420(planes, strides, 4, 4);
    dumper.CaptureI420(without, strides, 4, 2);
    EXPECT_FALSE(dumper.Save("a"));
    dumper.CaptureI420(planes, strides, 4, 4);
    if (mode == ImageDumper::kBmp)
      dumper.CaptureI420(planes, strides, 0x10000, 0x10000);
    else
      dumper.CaptureI420(planes, too_long, 4, 2);
    EXPECT_FALSE(dumper.Save("a"));
    EXPECT_TRUE(fs::is_empty(root_));
  }
}

TEST_F(Dump, RgbaInYuvModeIsNotSavedAsAnOlderCapture) {
  const Bytes pixels = Ramp(64);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 4, 4);
  dumper.CaptureRGBA(pixels.data(), 4, 2);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST_F(Dump, RgbaIsKeptAsItIsForABmpAndForAYuvItsSizeAlone) {
  const Bytes pixels = Ramp(64);
  ImageDumper dumper;
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  EXPECT_EQ(dumper.width, 4u);
  EXPECT_EQ(dumper.height, 4u);
  EXPECT_EQ(dumper.buffer_size, 0u);
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 8, 2);
  EXPECT_EQ(dumper.width, 8u);
  EXPECT_EQ(dumper.height, 2u);
  EXPECT_EQ(Bytes(dumper.buffer.get(), dumper.buffer.get() + dumper.buffer_size), pixels);
}

TEST_F(Dump, BufferOnlyGrows) {
  const Bytes pixels = Ramp(64);
  ImageDumper dumper;
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  EXPECT_EQ(dumper.buffer_size, 64u);
  const uint8_t *const buffer = dumper.buffer.get();
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_EQ(dumper.buffer_size, 64u);
  EXPECT_EQ(dumper.buffer.get(), buffer);
  EXPECT_EQ(dumper.buffer[16], 17);
}

TEST_F(Dump, FileOfASmallerCaptureHoldsNoneOfALargerOnesPixels) {
  const Bytes pixels = Ramp(64);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 4, 4);
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  ASSERT_TRUE(dumper.Save("a"));
  EXPECT_EQ(Content(root_ / "a.bmp").size(), 54u + 16u);
}

TEST_F(Dump, CaptureOfAnotherModeThatIsTooSmallIsNotWritten) {
  const Bytes pixels = Ramp(64);
  const uint8_t *planes[] = {pixels.data(), pixels.data(), pixels.data()};
  const uint32_t strides[] = {4, 2, 2};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 4, 4);
  dumper.mode = ImageDumper::kBmp;
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_TRUE(fs::is_empty(root_));
}

TEST_F(Dump, FolderThatCannotBeMadeMakesSaveFail) {
  const Bytes pixels = Ramp(16);
  std::ofstream(root_ / "file") << "in the way";
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_ / "file" / "below"));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  EXPECT_FALSE(dumper.Save("a"));
  EXPECT_FALSE(dumper.SaveIndexed("a", 1));
  dumper.mode = ImageDumper::kYuv;
  EXPECT_FALSE(dumper.Save("a"));
}

TEST_F(Dump, NameIsCutAt120Units) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  ASSERT_TRUE(dumper.Save(std::string(200, 'n')));
  EXPECT_TRUE(fs::exists(root_ / (std::string(120, 'n') + ".bmp")));
}

TEST_F(Dump, NameIsNotCutInsideAPair) {
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  ASSERT_TRUE(dumper.Save(std::string(119, 'n') + "\U0001F3A5"));
  EXPECT_TRUE(fs::exists(root_ / (std::string(119, 'n') + ".bmp")));
}

TEST_F(Dump, PathIsCutAt259UnitsEndingAndAll) {
  // A folder whose path takes 200 units.
  const size_t length = Wide(root_).size();
  ASSERT_LT(length, 190u);
  const fs::path folder = root_ / std::string(200 - length - 1, 'd');
  const Bytes pixels = Ramp(16);
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(folder));
  ASSERT_EQ(dumper.directory.size(), 200u);
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureRGBA(pixels.data(), 2, 2);
  ASSERT_TRUE(dumper.Save(std::string(100, 'n')));
  EXPECT_TRUE(fs::exists(folder / std::string(58, 'n')));
  ASSERT_TRUE(dumper.SaveIndexed(std::string(100, 'n'), 12));
  EXPECT_TRUE(fs::exists(folder / ("dump_12_" + std::string(50, 'n'))));
  // The 58th unit would be the first half of a pair.
  ASSERT_TRUE(dumper.Save(std::string(57, 'w') + "\U0001F3A5" + std::string(20, 'w')));
  EXPECT_TRUE(fs::exists(folder / std::string(57, 'w')));
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
