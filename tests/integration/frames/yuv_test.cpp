// Raw YUV dumps, played by ffmpeg.
#include <random>

#include "ffmpeg.h"
#include "fixtures/frames/dump_folder.h"
#include "frames/dump/image_dumper.h"

namespace vanta {
namespace {

using namespace vanta_test;

using YuvPeers = DumpFolder;

Bytes RandomBytes(size_t size) {
  Bytes bytes(size);
  std::minstd_rand random(static_cast<uint32_t>(size));
  for (uint8_t &byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

TEST_F(YuvPeers, FfmpegFindsThreePlanesOfA420Picture) {
  for (const auto &[width, height] : {std::pair{2u, 2u}, {66u, 48u}, {1922u, 4u}}) {
    SCOPED_TRACE(SizeText(width, height));
    const Bytes y = RandomBytes(size_t{width} * height);
    const Bytes u = RandomBytes(y.size() / 4), v(u.rbegin(), u.rend());
    const uint8_t *planes[] = {y.data(), u.data(), v.data()};
    const uint32_t strides[] = {width, width / 2, width / 2};
    ImageDumper dumper;
    dumper.SetDirectory(Utf8(root_));
    dumper.mode = ImageDumper::kYuv;
    dumper.CaptureI420(planes, strides, width, height);
    ASSERT_TRUE(dumper.Save("picture"));
    const Bytes file = Content(root_ / "picture.yuv");
    const auto played = [&, w = width, h = height](const std::string &plane) {
      return ThroughFfmpeg("-f rawvideo -pix_fmt yuv420p -s " + SizeText(w, h), file,
                           "-vf extractplanes=" + plane + " -f rawvideo -pix_fmt gray");
    };
    EXPECT_EQ(played("y"), y);
    EXPECT_EQ(played("u"), u);
    EXPECT_EQ(played("v"), v);
  }
}

// A stride that is longer than the picture is part of the file: a player takes it for the width.
TEST_F(YuvPeers, FfmpegPlaysAPaddedPictureAtItsStride) {
  const Bytes y = RandomBytes(size_t{64} * 10), u = RandomBytes(size_t{32} * 5), v(u.rbegin(), u.rend());
  const uint8_t *planes[] = {y.data(), u.data(), v.data()};
  const uint32_t strides[] = {64, 32, 32};
  ImageDumper dumper;
  dumper.SetDirectory(Utf8(root_));
  dumper.mode = ImageDumper::kYuv;
  dumper.CaptureI420(planes, strides, 50, 10);
  ASSERT_TRUE(dumper.Save("picture"));
  EXPECT_EQ(ThroughFfmpeg("-f rawvideo -pix_fmt yuv420p -s 64x10", Content(root_ / "picture.yuv"),
                          "-vf extractplanes=v -f rawvideo -pix_fmt gray"),
            v);
}

}  // namespace
}  // namespace vanta
