#include "frames/conversion/pack_v210.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>
#include <libyuv/cpu_id.h>

#include "fixtures/frames/guarded_memory.h"
#include "fixtures/frames/i420_picture.h"

namespace vanta {
namespace {

constexpr uint32_t kUntouched = 0xA5A5A5A5;

struct Packing {
  uint32_t width, height;
  std::vector<uint8_t> src;
  std::vector<uint32_t> dst;

  Packing(uint32_t w, uint32_t h) : width(w), height(h), src(size_t{w} * h * 2 + 8) {
    vanta_test::FillRandom(src.data(), src.size(), w * 31 + h);
    dst.assign(V210RowBytes(w) / 4 * h, kUntouched);
    PackV210(src.data(), dst.data(), w, h);
  }

  uint32_t Y(uint32_t x, uint32_t row) const { return src[row * width + x]; }
  uint32_t U(uint32_t x, uint32_t row) const { return src[width * height + row / 2 * (width / 2) + x]; }
  uint32_t V(uint32_t x, uint32_t row) const {
    return src[width * height + width * height / 4 + row / 2 * (width / 2) + x];
  }
  uint32_t Word(uint32_t row, uint32_t index) const { return dst[V210RowBytes(width) / 4 * row + index]; }
};

uint32_t Fields(uint32_t a, uint32_t b, uint32_t c) {
  return a * 4 + b * 4 * 1024 + c * 4 * 1024 * 1024;
}

// The words of a row one after the other, from the samples in the order in which the layout lists them.
std::vector<uint32_t> ReferenceRow(const Packing &p, uint32_t row) {
  std::vector<uint32_t> words;
  for (uint32_t x = 0; x < p.width; x += 6) {
    const uint32_t rest = p.width - x, c = x / 2;
    words.push_back(Fields(p.U(c, row), p.Y(x, row), p.V(c, row)));
    if (rest == 2) words.push_back(Fields(p.Y(x + 1, row), 0, 0));
    if (rest == 4 || rest >= 6) words.push_back(Fields(p.Y(x + 1, row), p.U(c + 1, row), p.Y(x + 2, row)));
    if (rest == 4) words.push_back(Fields(p.V(c + 1, row), p.Y(x + 3, row), 0));
    if (rest >= 6) {
      words.push_back(Fields(p.V(c + 1, row), p.Y(x + 3, row), p.U(c + 2, row)));
      words.push_back(Fields(p.Y(x + 4, row), p.V(c + 2, row), p.Y(x + 5, row)));
    }
  }
  words.resize(V210RowBytes(p.width) / 4, kUntouched);
  return words;
}

// With the processor's vectors, where it has them, and without.
class PackV210Paths : public testing::TestWithParam<bool> {
 protected:
  PackV210Paths() { libyuv::MaskCpuFlags(GetParam() ? -1 : 1); }
  ~PackV210Paths() override { libyuv::MaskCpuFlags(-1); }
};

INSTANTIATE_TEST_SUITE_P(PackV210, PackV210Paths, testing::Bool(),
                         [](const auto &vectors) { return vectors.param ? "Vectors" : "Plain"; });

TEST_P(PackV210Paths, EveryWidthIsAsTheReferenceHasItAndTheRestOfARowStays) {
  for (const uint32_t height : {1u, 2u, 3u, 6u}) {
    std::vector<uint32_t> widths{1920, 1922, 3840};
    for (uint32_t width = 2; width <= 66; ++width) widths.push_back(width);
    for (const uint32_t width : widths) {
      const Packing packing(width, height);
      for (uint32_t row = 0; row < height; ++row) {
        const std::vector<uint32_t> wanted = ReferenceRow(packing, row);
        for (uint32_t i = 0; i < wanted.size(); ++i)
          ASSERT_EQ(packing.Word(row, i), wanted[i]) << width << "x" << height << ", row " << row << ", word " << i;
      }
    }
  }
}

TEST(PackV210, RowOf1920PixelsHas5120BytesAllOfThemWritten) {
  EXPECT_EQ(V210RowBytes(1920), 5120u);
  const Packing packing(1920, 2);
  EXPECT_EQ(std::count(packing.dst.begin(), packing.dst.end(), kUntouched), 0);
}

TEST(PackV210, RowOf1922PixelsHas5248BytesAndAPartGroupOfTwo) {
  EXPECT_EQ(V210RowBytes(1922), 5248u);
  const Packing packing(1922, 2);
  EXPECT_EQ(packing.Word(0, 1280), Fields(packing.U(960, 0), packing.Y(1920, 0), packing.V(960, 0)));
  EXPECT_EQ(packing.Word(0, 1281), Fields(packing.Y(1921, 0), 0, 0));
  EXPECT_EQ(packing.Word(0, 1282), kUntouched);
}

TEST(PackV210, OddRestWritesOneWordAlone) {
  for (const uint32_t width : {7u, 9u, 11u}) {
    const Packing packing(width, 2);
    EXPECT_NE(packing.Word(0, 4), kUntouched);
    EXPECT_EQ(packing.Word(0, 5), kUntouched) << width;
  }
}

TEST_P(PackV210Paths, ReadAndWriteNothingOutsideAPictureOfEvenSides) {
  for (uint32_t width = 2; width <= 66; width += 2) {
    const vanta_test::GuardedMemory src(width * 2 * 3 / 2, vanta_test::GuardSide::kBehind);
    const vanta_test::GuardedMemory dst(V210RowBytes(width) * 2, vanta_test::GuardSide::kBehind);
    PackV210(src.data(), reinterpret_cast<uint32_t *>(dst.data()), width, 2);
  }
}

}  // namespace
}  // namespace vanta
