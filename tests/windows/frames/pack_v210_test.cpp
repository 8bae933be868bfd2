// The vectors of V210 packing as compiled for Windows give what the plain code gives.
#include "frames/conversion/pack_v210.h"

#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <libyuv/cpu_id.h>

namespace vanta {
namespace {

std::vector<uint32_t> Packed(const std::vector<uint8_t> &i420, uint32_t width, uint32_t height, int cpu_flags) {
  std::vector<uint32_t> words(V210RowBytes(width) / 4 * height);
  libyuv::MaskCpuFlags(cpu_flags);
  PackV210(i420.data(), words.data(), width, height);
  libyuv::MaskCpuFlags(-1);
  return words;
}

TEST(PackV210, VectorsGiveWhatThePlainCodeGives) {
  for (const uint32_t width : {6u, 18u, 22u, 48u, 66u, 1920u, 1922u}) {
    std::vector<uint8_t> i420(width * 4 * 3 / 2);
    std::minstd_rand random(width);
    for (uint8_t &byte : i420) byte = static_cast<uint8_t>(random() >> 8);
    EXPECT_EQ(Packed(i420, width, 4, -1), Packed(i420, width, 4, 1)) << width;
  }
}

TEST(PackV210, FirstWordHoldsTheFirstSamples) {
  const std::vector<uint8_t> i420 = {1, 2, 3, 4, 5, 6};  // 2x2: four of luma, one of each chroma
  const std::vector<uint32_t> words = Packed(i420, 2, 2, -1);
  EXPECT_EQ(words[0], 5u << 2 | 1u << 12 | 6u << 22);
  EXPECT_EQ(words[1], 2u << 2);
}

}  // namespace
}  // namespace vanta
