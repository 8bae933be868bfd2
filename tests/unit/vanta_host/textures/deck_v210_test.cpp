#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vanta_filter/module/host_extensions.h"

namespace {

// A 10-bit 4:2:2 picture, and V210 made from it sample by sample: in a row the samples follow each other as
// U Y V Y | U Y V Y ..., three to a word from the low bits up.
struct Picture {
  uint32_t width, height;
  std::vector<uint16_t> y, u, v;

  uint32_t Chroma() const { return (width + 1) / 2; }

  std::vector<uint8_t> Pack(size_t pitch) const {
    std::vector<uint8_t> packed(pitch * height);
    for (uint32_t row = 0; row < height; ++row) {
      std::vector<uint16_t> samples;
      for (uint32_t x = 0; x < width; ++x) {
        if (x % 2 == 0) samples.push_back(u[row * Chroma() + x / 2]);
        if (x % 2 == 1) samples.push_back(v[row * Chroma() + x / 2]);
        samples.push_back(y[row * width + x]);
      }
      if (width % 2 == 1) samples.push_back(v[row * Chroma() + width / 2]);
      for (size_t i = 0; i < samples.size() && i / 3 * 4 + 4 <= pitch; ++i) {
        uint32_t word;
        uint8_t *at = packed.data() + pitch * row + i / 3 * 4;
        std::memcpy(&word, at, 4);
        word |= uint32_t{samples[i]} << (i % 3 * 10);
        std::memcpy(at, &word, 4);
      }
    }
    return packed;
  }
};

Picture RandomPicture(uint32_t width, uint32_t height, uint32_t limit = 1024) {
  std::mt19937 random(width * 7919 + height);
  Picture picture{width, height, {}, {}, {}};
  const auto fill = [&](std::vector<uint16_t> &plane, size_t size) {
    plane.resize(size);
    for (uint16_t &sample : plane) sample = static_cast<uint16_t>(random() % limit);
  };
  fill(picture.y, size_t{width} * height);
  fill(picture.u, size_t{picture.Chroma()} * height);
  fill(picture.v, size_t{picture.Chroma()} * height);
  return picture;
}

uint8_t Rounded(double sample) {
  return static_cast<uint8_t>(std::min(255.0, std::floor(sample / 4 + 0.5)));
}

// Y, then U and V of half the size, rounded down.
std::vector<uint8_t> Expected(const Picture &p) {
  std::vector<uint8_t> planes;
  for (uint16_t sample : p.y) planes.push_back(Rounded(sample));
  for (const auto *plane : {&p.u, &p.v})
    for (uint32_t row = 0; row < p.height / 2; ++row)
      for (uint32_t x = 0; x < p.width / 2; ++x)
        planes.push_back(
            Rounded(((*plane)[2 * row * p.Chroma() + x] + (*plane)[(2 * row + 1) * p.Chroma() + x]) / 2.0));
  return planes;
}

size_t PlaneBytes(uint32_t width, uint32_t height) {
  return size_t{width} * height + size_t{width / 2} * (height / 2) * 2;
}

constexpr uint8_t kFence = 0xA5;

// The planes, from a block with a fence behind it.
std::vector<uint8_t> Unpack(const obs_source_frame &frame, uint32_t width, uint32_t height) {
  const size_t size = PlaneBytes(width, height);
  std::vector<uint8_t> planes(size + 64, kFence);
  VantaDeckV210to420P(&frame, planes.data(), width, height);
  EXPECT_EQ(std::count(planes.begin() + static_cast<std::ptrdiff_t>(size), planes.end(), kFence), 64);
  planes.resize(size);
  return planes;
}

obs_source_frame Frame(std::vector<uint8_t> &packed, uint32_t width, uint32_t height, uint32_t pitch) {
  obs_source_frame frame{};
  frame.data[0] = packed.data();
  frame.linesize[0] = pitch;
  frame.width = width;
  frame.height = height;
  return frame;
}

size_t CardPitch(uint32_t width) {
  return (size_t{width} + 47) / 48 * 128;
}

TEST(DeckV210, GivesTheReferencesSamplesAtEverySize) {
  const std::pair<uint32_t, uint32_t> sizes[] = {{1, 1}, {2, 1},  {1, 2},  {2, 2},  {3, 3},  {5, 4},    {6, 2},
                                                 {7, 5}, {46, 2}, {47, 3}, {48, 4}, {49, 2}, {1922, 6}, {1920, 8}};
  for (const auto &[width, height] : sizes) {
    const Picture picture = RandomPicture(width, height);
    std::vector<uint8_t> packed = picture.Pack(CardPitch(width));
    EXPECT_EQ(Unpack(Frame(packed, width, height, 0), width, height), Expected(picture)) << width << "x" << height;
  }
}

TEST(DeckV210, GivesExtremesBackUnbent) {
  for (uint16_t sample : {0, 1023}) {
    Picture picture = RandomPicture(12, 4);
    for (auto *plane : {&picture.y, &picture.u, &picture.v}) std::fill(plane->begin(), plane->end(), sample);
    std::vector<uint8_t> packed = picture.Pack(CardPitch(12));
    const std::vector<uint8_t> planes = Unpack(Frame(packed, 12, 4, 0), 12, 4);
    EXPECT_EQ(std::count(planes.begin(), planes.end(), sample == 0 ? 0 : 255),
              static_cast<std::ptrdiff_t>(planes.size()));
  }
}

TEST(DeckV210, UndoesThePackingOf8Bits) {
  Picture picture = RandomPicture(50, 6, 256);
  for (uint32_t row = 1; row < picture.height; row += 2)  // chroma of 4:2:0: both rows of a pair are the same
    for (auto *plane : {&picture.u, &picture.v})
      std::copy_n(plane->begin() + (row - 1) * picture.Chroma(), picture.Chroma(),
                  plane->begin() + row * picture.Chroma());
  std::vector<uint8_t> expected(picture.y.begin(), picture.y.end());
  for (const auto *plane : {&picture.u, &picture.v})
    for (uint32_t row = 0; row < picture.height; row += 2)
      expected.insert(expected.end(), plane->begin() + row * picture.Chroma(),
                      plane->begin() + (row + 1) * picture.Chroma());
  for (auto *plane : {&picture.y, &picture.u, &picture.v})
    for (uint16_t &sample : *plane) sample = static_cast<uint16_t>(sample << 2);
  std::vector<uint8_t> packed = picture.Pack(CardPitch(50));
  EXPECT_EQ(Unpack(Frame(packed, 50, 6, 0), 50, 6), expected);
}

TEST(DeckV210, ReadsWhatAnotherEncoderWrote) {
  // 6x2 pixels as ffmpeg's v210 encoder packs them.
  const uint32_t words[2][4] = {{0x0212369f, 0x3676224a, 0x32bce796, 0x044d6f12},
                                {0x193424da, 0x1ff1907c, 0x1f7c3dbf, 0x1e79c9d0}};
  const Picture picture{6,
                        2,
                        {141, 586, 871, 825, 786, 68, 265, 124, 511, 783, 464, 487},
                        {671, 392, 811, 218, 100, 503},
                        {33, 918, 859, 403, 447, 626}};
  std::vector<uint8_t> packed(256);
  std::memcpy(packed.data(), words[0], sizeof(words[0]));
  std::memcpy(packed.data() + 128, words[1], sizeof(words[1]));
  EXPECT_EQ(Unpack(Frame(packed, 6, 2, 128), 6, 2), Expected(picture));
}

TEST(DeckV210, HonoursTheFramesPitch) {
  const Picture picture = RandomPicture(48, 4);
  for (uint32_t pitch : {128u, 144u, 256u}) {
    std::vector<uint8_t> packed = picture.Pack(pitch);
    EXPECT_EQ(Unpack(Frame(packed, 48, 4, pitch), 48, 4), Expected(picture)) << pitch;
  }
}

TEST(DeckV210, ReadsRowsThatEndInTheMiddleOfAGroup) {
  for (const auto &[width, pitch] : {std::pair<uint32_t, uint32_t>{1, 4}, {2, 8}, {3, 8}, {4, 12}, {8, 24}, {10, 28}}) {
    const Picture picture = RandomPicture(width, 2);
    std::vector<uint8_t> packed = picture.Pack(pitch);
    EXPECT_EQ(Unpack(Frame(packed, width, 2, pitch), width, 2), Expected(picture)) << width;
  }
}

TEST(DeckV210, ShowsBlackBesideRowsThatAreTooShort) {
  Picture picture = RandomPicture(12, 2);
  std::vector<uint8_t> packed = picture.Pack(16);  // six pixels of twelve
  const std::vector<uint8_t> planes = Unpack(Frame(packed, 12, 2, 16), 12, 2);
  const std::vector<uint8_t> whole = Expected(picture);
  for (uint32_t row = 0; row < 2; ++row)
    for (uint32_t x = 0; x < 12; ++x) EXPECT_EQ(planes[row * 12 + x], x < 6 ? whole[row * 12 + x] : 16) << x;
  for (uint32_t i = 24; i < 36; ++i) EXPECT_EQ(planes[i], (i - 24) % 6 < 3 ? whole[i] : 128) << i;
}

TEST(DeckV210, ShowsBlackBelowAFrameThatIsTooLow) {
  const Picture picture = RandomPicture(6, 3);
  std::vector<uint8_t> packed = picture.Pack(128);
  const std::vector<uint8_t> planes = Unpack(Frame(packed, 6, 3, 128), 6, 6);
  for (uint32_t i = 0; i < 36; ++i) EXPECT_EQ(planes[i], i < 18 ? Rounded(picture.y[i]) : 16) << i;
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(planes[36 + 3 + i], Rounded(picture.u[2 * 3 + i])) << i;  // the third row stands alone
    EXPECT_EQ(planes[36 + 6 + i], 128) << i;
  }
}

TEST(DeckV210, AFrameWithoutAPlaneIsBlack) {
  obs_source_frame frame{};
  frame.width = 4;
  frame.height = 2;
  const std::vector<uint8_t> planes = Unpack(frame, 4, 2);
  EXPECT_EQ(std::count(planes.begin(), planes.begin() + 8, 16), 8);
  EXPECT_EQ(std::count(planes.begin() + 8, planes.end(), 128), 4);
}

TEST(DeckV210, DoesNothingWithoutAFrameATargetOrASize) {
  std::vector<uint8_t> packed(128);
  const obs_source_frame frame = Frame(packed, 6, 1, 128);
  uint8_t untouched = kFence;
  VantaDeckV210to420P(nullptr, &untouched, 6, 1);
  VantaDeckV210to420P(&frame, nullptr, 6, 1);
  VantaDeckV210to420P(&frame, &untouched, 0, 1);
  VantaDeckV210to420P(&frame, &untouched, 6, 0);
  EXPECT_EQ(untouched, kFence);
}

}  // namespace
