#include "frames/dump/dump_files.h"

#include "fixtures/frames/dump_folder.h"

namespace vanta {
namespace {

using namespace vanta_test;

using DumpFiles = DumpFolder;

TEST_F(DumpFiles, Bmp32IsTopDownAndItsFileSizeCountsThePixelsAlone) {
  const Bytes pixels = Ramp(3 * 2 * 4);
  ASSERT_TRUE(WriteBmp32(pixels.data(), 3, 2, Wide(root_ / "a.bmp")));
  const Bytes header = {'B', 'M', 24,   0,    0,    0,    0,    0,    0, 0, 54, 0, 0, 0, 40, 0, 0,  0,
                        3,   0,   0,    0,    0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 32, 0, 0, 0, 0,  0, 24, 0,
                        0,   0,   0x12, 0x0B, 0,    0,    0x12, 0x0B, 0, 0, 0,  0, 0, 0, 0,  0, 0,  0};
  ASSERT_EQ(header.size(), 54u);
  EXPECT_EQ(Content(root_ / "a.bmp"), header + pixels);
}

TEST_F(DumpFiles, Bmp32OfALargePictureHasAllBytesOfItsFigures) {
  const Bytes pixels(1922 * 1082 * 4, 7);
  ASSERT_TRUE(WriteBmp32(pixels.data(), 1922, 1082, Wide(root_ / "a.bmp")));
  const Bytes file = Content(root_ / "a.bmp");
  ASSERT_EQ(file.size(), 54 + pixels.size());
  // 8,318,416 bytes of pixels; 1922; -1082.
  EXPECT_EQ(Bytes(file.begin() + 2, file.begin() + 6), (Bytes{0xD0, 0xED, 0x7E, 0x00}));
  EXPECT_EQ(Bytes(file.begin() + 18, file.begin() + 26), (Bytes{0x82, 0x07, 0, 0, 0xC6, 0xFB, 0xFF, 0xFF}));
  EXPECT_EQ(Bytes(file.begin() + 34, file.begin() + 38), (Bytes{0xD0, 0xED, 0x7E, 0x00}));
}

TEST_F(DumpFiles, Bmp24OfThreeChannelsHasRowsOf12BytesFromTheLastToTheFirst) {
  const Bytes pixels = Ramp(3 * 2 * 3);
  WriteBmp24(Utf8(root_ / "a.bmp"), pixels.data(), 3, 2, 3);
  const Bytes header = {'B', 'M', 78, 0, 0, 0, 0, 0,  0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1,
                        0,   24,  0,  0, 0, 0, 0, 24, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  ASSERT_EQ(header.size(), 54u);
  const Bytes rows = {12, 11, 10, 15, 14, 13, 18, 17, 16, 0, 0, 0, 3, 2, 1, 6, 5, 4, 9, 8, 7, 0, 0, 0};
  EXPECT_EQ(Content(root_ / "a.bmp"), header + rows);
}

TEST_F(DumpFiles, Bmp24OfFourChannelsKeepsLongRows) {
  const Bytes pixels = Ramp(2 * 4);
  WriteBmp24(Utf8(root_ / "a.bmp"), pixels.data(), 2, 1, 4);
  const Bytes header = {'B', 'M', 62, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1,
                        0,   24,  0,  0, 0, 0, 0, 8, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  ASSERT_EQ(header.size(), 54u);
  EXPECT_EQ(Content(root_ / "a.bmp"), header + (Bytes{3, 2, 1, 7, 6, 5, 0, 0}));
}

TEST_F(DumpFiles, BmpV4HasMasksAndBottomUpRows) {
  const Bytes pixels = Ramp(2 * 2 * 4);
  WriteBmpV4(Utf8(root_ / "a.bmp"), pixels.data(), 2, 2);
  Bytes header = {'B', 'M', 138, 0,  0,    0, 0, 0, 0, 0,    122, 0, 0, 0, 108,  0, 0, 0, 2, 0,    0,   0,   2,   0,  0,
                  0,   1,   0,   32, 0,    3, 0, 0, 0, 16,   0,   0, 0, 0, 0,    0, 0, 0, 0, 0,    0,   0,   0,   0,  0,
                  0,   0,   0,   0,  0xFF, 0, 0, 0, 0, 0xFF, 0,   0, 0, 0, 0xFF, 0, 0, 0, 0, 0xFF, 'B', 'G', 'R', 's'};
  header.resize(122);
  EXPECT_EQ(Content(root_ / "a.bmp"),
            header + Bytes(pixels.begin() + 8, pixels.end()) + Bytes(pixels.begin(), pixels.begin() + 8));
}

TEST_F(DumpFiles, YuvIsThreePlanesBackToBackWithoutAHeader) {
  const Bytes planes = Ramp(5 * 3 + 3 * 3 / 2 + 2 * 3 / 2);
  const uint32_t strides[] = {5, 3, 2};
  Bytes longer = planes;
  longer.resize(planes.size() + 8);
  ASSERT_TRUE(WriteYuv(longer.data(), strides, 3, Wide(root_ / "a.yuv")));
  EXPECT_EQ(Content(root_ / "a.yuv"), planes);
}

TEST_F(DumpFiles, WritingAgainLeavesNothingOfALongerFile) {
  const Bytes pixels = Ramp(4 * 4 * 4);
  ASSERT_TRUE(WriteBmp32(pixels.data(), 4, 4, Wide(root_ / "a.bmp")));
  ASSERT_TRUE(WriteBmp32(pixels.data(), 1, 1, Wide(root_ / "a.bmp")));
  EXPECT_EQ(Content(root_ / "a.bmp").size(), 58u);
  WriteBmpV4(Utf8(root_ / "b.bmp"), pixels.data(), 4, 4);
  WriteBmpV4(Utf8(root_ / "b.bmp"), pixels.data(), 1, 1);
  EXPECT_EQ(Content(root_ / "b.bmp").size(), 126u);
}

TEST_F(DumpFiles, StreamWritersTakeNamesOfEveryScript) {
  const Bytes pixels = Ramp(16);
  WriteBmp24(Utf8(root_ / Path("\u753b \u00e9 \U0001F3A5.bmp")), pixels.data(), 2, 2, 3);
  EXPECT_EQ(Content(root_ / Path("\u753b \u00e9 \U0001F3A5.bmp")).size(), 70u);
}

TEST_F(DumpFiles, StreamWritersTellOnStandardErrorWhenTheFileCannotBeMade) {
  const Bytes pixels = Ramp(16);
  testing::internal::CaptureStderr();
  WriteBmp24(Utf8(root_ / "no" / "a.bmp"), pixels.data(), 2, 2, 3);
  WriteBmpV4(Utf8(root_ / "no" / "a.bmp"), pixels.data(), 2, 2);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "无法创建文件\n无法创建文件\n");
}

TEST_F(DumpFiles, PlainWritersSayNothingWhenTheFileCannotBeMade) {
  const Bytes pixels = Ramp(16);
  const uint32_t strides[] = {2, 1, 1};
  testing::internal::CaptureStderr();
  EXPECT_FALSE(WriteBmp32(pixels.data(), 2, 2, Wide(root_ / "no" / "a.bmp")));
  EXPECT_FALSE(WriteYuv(pixels.data(), strides, 2, Wide(root_ / "no" / "a.yuv")));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace vanta
