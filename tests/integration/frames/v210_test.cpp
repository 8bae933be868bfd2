// V210 against ffmpeg's own encoder and decoder: packed here and read there, and the reverse.
#include <algorithm>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "ffmpeg.h"
#include "frames/conversion/pack_v210.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

using vanta_test::SizeText;
using vanta_test::ThroughFfmpeg;
using Bytes = std::vector<uint8_t>;

struct Size {
  uint32_t width, height;
};

// Every rest of a group and of a row's padding. ffmpeg takes even widths alone, and reads no picture of less than four
// rows.
constexpr Size kSizes[] = {{2, 4},  {4, 6},  {6, 4},   {8, 4},    {22, 4},   {46, 6},
                           {48, 4}, {50, 4}, {66, 66}, {1920, 4}, {1922, 4}, {3840, 4}};

// Of 10-bit video the codes below 4 and above 1019 are not for pictures, and ffmpeg's encoder leaves them out.
Bytes RandomSamples(size_t count) {
  Bytes samples(count);
  std::minstd_rand random(static_cast<uint32_t>(count));
  for (uint8_t &sample : samples) sample = static_cast<uint8_t>(1 + (random() >> 8) % 254);
  return samples;
}

Bytes RandomI420(const Size &size) {
  return RandomSamples(size_t{size.width} * size.height * 3 / 2);
}

// Each chroma row twice.
Bytes As422(const Bytes &i420, const Size &size) {
  const auto row_bytes = static_cast<std::ptrdiff_t>(size.width / 2);
  const auto luma = static_cast<std::ptrdiff_t>(size.width) * size.height;
  Bytes planes(i420.begin(), i420.begin() + luma);
  for (auto row = i420.begin() + luma; row != i420.end(); row += row_bytes) {
    planes.insert(planes.end(), row, row + row_bytes);
    planes.insert(planes.end(), row, row + row_bytes);
  }
  return planes;
}

Bytes Pack(const Bytes &i420, const Size &size) {
  Bytes packed(V210RowBytes(size.width) * size.height);
  PackV210(i420.data(), reinterpret_cast<uint32_t *>(packed.data()), size.width, size.height);
  return packed;
}

Bytes Unpack(Bytes &packed, const Size &size) {
  obs_source_frame frame{};
  frame.data[0] = packed.data();
  frame.width = size.width;
  frame.height = size.height;
  frame.linesize[0] = static_cast<uint32_t>(V210RowBytes(size.width));
  Bytes i420(size_t{size.width} * size.height * 3 / 2);
  VantaDeckV210to420P(&frame, i420.data(), size.width, size.height);
  return i420;
}

Bytes FfmpegPack(const Bytes &planes, const Size &size, const std::string &format) {
  return ThroughFfmpeg("-f rawvideo -pix_fmt " + format + " -s " + SizeText(size.width, size.height), planes,
                       "-c:v v210 -f rawvideo");
}

TEST(V210Peers, FfmpegPacksTheSameBytes) {
  for (const Size &size : kSizes) {
    const Bytes i420 = RandomI420(size);
    EXPECT_EQ(Pack(i420, size), FfmpegPack(As422(i420, size), size, "yuv422p")) << SizeText(size.width, size.height);
  }
}

TEST(V210Peers, FfmpegReadsWhatIsPackedHere) {
  for (const Size &size : kSizes) {
    const Bytes i420 = RandomI420(size);
    const Bytes read = ThroughFfmpeg("-f v210 -video_size " + SizeText(size.width, size.height), Pack(i420, size),
                                     "-f rawvideo -pix_fmt yuv422p10le");
    Bytes wanted;  // in 10 bits, two bytes each
    for (const uint8_t sample : As422(i420, size)) {
      wanted.push_back(static_cast<uint8_t>(sample << 2));
      wanted.push_back(static_cast<uint8_t>(sample >> 6));
    }
    EXPECT_EQ(read, wanted) << SizeText(size.width, size.height);
  }
}

TEST(V210Peers, WhatFfmpegPacksIsReadHere) {
  for (const Size &size : kSizes) {
    const Bytes i420 = RandomI420(size);
    Bytes packed = FfmpegPack(As422(i420, size), size, "yuv422p");
    ASSERT_EQ(packed.size(), V210RowBytes(size.width) * size.height);
    EXPECT_EQ(Unpack(packed, size), i420) << SizeText(size.width, size.height);
  }
}

// All ten bits, and two chroma rows that differ.
TEST(V210Peers, TenBitsThatFfmpegPacksAreReadHereRounded) {
  constexpr Size kSize{50, 6};
  constexpr size_t kLuma = 50 * 6, kChroma = 25 * 6;
  std::vector<uint16_t> samples(kLuma + 2 * kChroma);
  std::minstd_rand random(1);
  for (uint16_t &sample : samples) sample = static_cast<uint16_t>(4 + (random() >> 8) % 1016);
  Bytes planes(samples.size() * 2);
  std::memcpy(planes.data(), samples.data(), planes.size());
  Bytes packed = FfmpegPack(planes, kSize, "yuv422p10le");
  Bytes wanted;
  for (size_t i = 0; i < kLuma; ++i) wanted.push_back(static_cast<uint8_t>(std::min(255, (samples[i] + 2) / 4)));
  for (size_t plane = kLuma; plane < samples.size(); plane += kChroma)
    for (size_t row = 0; row < 6; row += 2)
      for (size_t x = 0; x < 25; ++x) {
        const int both = samples[plane + row * 25 + x] + samples[plane + (row + 1) * 25 + x];
        wanted.push_back(static_cast<uint8_t>(std::min(255, (both + 4) / 8)));
      }
  EXPECT_EQ(Unpack(packed, kSize), wanted);
}

}  // namespace
}  // namespace vanta
