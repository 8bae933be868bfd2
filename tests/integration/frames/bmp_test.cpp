// BMP dumps, opened by OpenCV and by ffmpeg. What a header says as it is specified here, those two may read in their
// own way: the file size that counts the pixels alone they pass over, and rows that are longer than 24 bits ask for
// they cannot know of.
#include <opencv2/imgcodecs.hpp>
#include <random>

#include "ffmpeg.h"
#include "fixtures/frames/dump_folder.h"
#include "fixtures/frames/i420_picture.h"
#include "frames/dump/dump_files.h"
#include "frames/dump/image_dumper.h"

namespace vanta {
namespace {

using namespace vanta_test;

using BmpPeers = DumpFolder;

constexpr std::pair<int, int> kSizes[] = {{1, 1}, {2, 3}, {3, 2}, {5, 4}, {33, 17}, {640, 2}};

Bytes RandomPixels(int width, int height, int channels) {
  Bytes pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * static_cast<size_t>(channels));
  FillRandom(pixels.data(), pixels.size(), 3);
  return pixels;
}

// Four bytes a pixel, blue, green, red, alpha, from the top down.
Bytes ReadByFfmpeg(const std::filesystem::path &path) {
  return ThroughFfmpeg("-f bmp_pipe", Content(path), "-f rawvideo -pix_fmt bgra");
}

// As OpenCV stores them: blue, green, red, and with `alpha` that too.
Bytes ReadByOpenCv(const std::filesystem::path &path, int width, int height, bool alpha) {
  const Bytes file = Content(path);
  const cv::Mat picture = cv::imdecode(file, alpha ? cv::IMREAD_UNCHANGED : cv::IMREAD_COLOR);
  EXPECT_EQ(picture.cols, width);
  EXPECT_EQ(picture.rows, height);
  EXPECT_EQ(picture.channels(), alpha ? 4 : 3);
  if (picture.empty()) return {};
  return Bytes(picture.datastart, picture.dataend);
}

// The channels of each pixel of `from` in the order given, -1 for 255.
Bytes Reordered(const Bytes &from, size_t channels, const std::vector<int> &order) {
  Bytes to;
  for (size_t pixel = 0; pixel < from.size(); pixel += channels)
    for (const int channel : order) to.push_back(channel < 0 ? 255 : from[pixel + static_cast<size_t>(channel)]);
  return to;
}

TEST_F(BmpPeers, BytesOfABmp32AreBlueGreenRed) {
  for (const auto &[width, height] : kSizes) {
    SCOPED_TRACE(SizeText(static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
    const Bytes pixels = RandomPixels(width, height, 4);
    ASSERT_TRUE(
        WriteBmp32(pixels.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(height), Wide(root_ / "a.bmp")));
    EXPECT_EQ(ReadByOpenCv(root_ / "a.bmp", width, height, false), Reordered(pixels, 4, {0, 1, 2}));
    // ffmpeg takes a file whose size is given as less than its headers for damaged.
    if (pixels.size() > 54) {
      EXPECT_EQ(Reordered(ReadByFfmpeg(root_ / "a.bmp"), 4, {0, 1, 2}), Reordered(pixels, 4, {0, 1, 2}));
    }
  }
}

TEST_F(BmpPeers, Bmp24OfThreeChannelsShowsRgbPixels) {
  for (const auto &[width, height] : kSizes) {
    SCOPED_TRACE(SizeText(static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
    const Bytes pixels = RandomPixels(width, height, 3);
    WriteBmp24(Utf8(root_ / "a.bmp"), pixels.data(), width, height, 3);
    EXPECT_EQ(ReadByOpenCv(root_ / "a.bmp", width, height, false), Reordered(pixels, 3, {2, 1, 0}));
    EXPECT_EQ(ReadByFfmpeg(root_ / "a.bmp"), Reordered(pixels, 3, {2, 1, 0, -1}));
  }
}

// Up to three pixels the rows of four channels are no longer than those of 24 bits.
TEST_F(BmpPeers, NarrowBmp24OfFourChannelsShowsRgbPixels) {
  for (int width = 1; width <= 3; ++width) {
    const Bytes pixels = RandomPixels(width, 5, 4);
    WriteBmp24(Utf8(root_ / "a.bmp"), pixels.data(), width, 5, 4);
    EXPECT_EQ(ReadByOpenCv(root_ / "a.bmp", width, 5, false), Reordered(pixels, 4, {2, 1, 0})) << width;
    EXPECT_EQ(ReadByFfmpeg(root_ / "a.bmp"), Reordered(pixels, 4, {2, 1, 0, -1})) << width;
  }
}

TEST_F(BmpPeers, BmpV4ShowsRgbaPixelsWithTheirAlpha) {
  for (const auto &[width, height] : kSizes) {
    SCOPED_TRACE(SizeText(static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
    const Bytes pixels = RandomPixels(width, height, 4);
    WriteBmpV4(Utf8(root_ / "a.bmp"), pixels.data(), width, height);
    EXPECT_EQ(ReadByOpenCv(root_ / "a.bmp", width, height, true), Reordered(pixels, 4, {2, 1, 0, 3}));
    EXPECT_EQ(ReadByFfmpeg(root_ / "a.bmp"), Reordered(pixels, 4, {2, 1, 0, 3}));
  }
}

// BT.601, partial range, as the conversion tests have it.
TEST_F(BmpPeers, I420DumpShowsThePictureInItsColours) {
  constexpr int kWidth = 34, kHeight = 18;
  const FramePtr i420 = RandomI420(kWidth, kHeight);
  const uint32_t strides[] = {kWidth, kWidth / 2, kWidth / 2};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kBmp;
  dumper.CaptureI420(i420->planes, strides, kWidth, kHeight);
  ASSERT_TRUE(dumper.Save("a"));
  const Bytes read = ReadByOpenCv(root_ / "a.bmp", kWidth, kHeight, false);
  ASSERT_EQ(read.size(), size_t{kWidth * kHeight * 3});
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double luma = 1.164 * (Y(*i420, x, y) - 16);
      const int u = C(*i420, 1, x / 2, y / 2) - 128, v = C(*i420, 2, x / 2, y / 2) - 128;
      const uint8_t *bgr = read.data() + (y * kWidth + x) * 3;
      ASSERT_NEAR(bgr[0], Clamp8(luma + 2.018 * u), 3) << x << "," << y;
      ASSERT_NEAR(bgr[1], Clamp8(luma - 0.391 * u - 0.813 * v), 3) << x << "," << y;
      ASSERT_NEAR(bgr[2], Clamp8(luma + 1.596 * v), 3) << x << "," << y;
    }
  }
}

}  // namespace
}  // namespace vanta
