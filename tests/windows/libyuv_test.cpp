// libyuv as compiled for Windows gives what its formulas say.
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>
#include <libyuv/convert.h>
#include <libyuv/planar_functions.h>

namespace {

constexpr int kWidth = 66;  // no multiple of a vector's width: the rest of each row counts too
constexpr int kHeight = 10;

std::vector<uint8_t> Ramp(size_t size, unsigned step) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * step);
  return bytes;
}

TEST(Libyuv, Nv12SplitsIntoThreePlanes) {
  const std::vector<uint8_t> luma = Ramp(kWidth * kHeight, 3);
  const std::vector<uint8_t> chroma = Ramp(kWidth * kHeight / 2, 7);
  std::vector<uint8_t> y(kWidth * kHeight);
  std::vector<uint8_t> u(kWidth / 2 * kHeight / 2);
  std::vector<uint8_t> v(u.size());
  ASSERT_EQ(libyuv::NV12ToI420(luma.data(), kWidth, chroma.data(), kWidth, y.data(), kWidth, u.data(), kWidth / 2,
                               v.data(), kWidth / 2, kWidth, kHeight),
            0);
  EXPECT_EQ(y, luma);
  for (size_t i = 0; i < u.size(); ++i) {
    ASSERT_EQ(u[i], chroma[2 * i]) << i;
    ASSERT_EQ(v[i], chroma[2 * i + 1]) << i;
  }
}

TEST(Libyuv, WhiteAndBlackTakeTheLimitsOfPartialRange) {
  const std::vector<uint8_t> white(kWidth * kHeight * 4, 255);
  std::vector<uint8_t> y(kWidth * kHeight);
  std::vector<uint8_t> u(kWidth / 2 * kHeight / 2);
  std::vector<uint8_t> v(u.size());
  ASSERT_EQ(libyuv::ARGBToI420(white.data(), kWidth * 4, y.data(), kWidth, u.data(), kWidth / 2, v.data(), kWidth / 2,
                               kWidth, kHeight),
            0);
  EXPECT_EQ(y, std::vector<uint8_t>(y.size(), 235));
  EXPECT_EQ(u, std::vector<uint8_t>(u.size(), 128));
  EXPECT_EQ(v, std::vector<uint8_t>(v.size(), 128));
}

TEST(Libyuv, MirrorTurnsEachRowRound) {
  const std::vector<uint8_t> from = Ramp(kWidth * kHeight, 5);
  std::vector<uint8_t> to(from.size());
  libyuv::MirrorPlane(from.data(), kWidth, to.data(), kWidth, kWidth, kHeight);
  for (int row = 0; row < kHeight; ++row) {
    for (int x = 0; x < kWidth; ++x) ASSERT_EQ(to[row * kWidth + x], from[row * kWidth + kWidth - 1 - x]) << x;
  }
}

}  // namespace
