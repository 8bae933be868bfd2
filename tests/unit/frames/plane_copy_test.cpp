#include "frames/plane_copy.h"

#include <cstring>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "fixtures/frames/guarded_memory.h"

namespace vanta {
namespace {

using vanta_test::GuardedMemory;
using vanta_test::GuardSide;

std::vector<uint8_t> Ramp(size_t size) {
  std::vector<uint8_t> bytes(size);
  std::iota(bytes.begin(), bytes.end(), uint8_t{1});
  return bytes;
}

TEST(MakePlane, CountsHalfRows) {
  uint8_t byte = 0;
  EXPECT_EQ(MakePlane(&byte, 6, 10).size, 30u);
  EXPECT_EQ(MakePlane(&byte, 6, 5).size, 15u);
  EXPECT_EQ(MakePlane(&byte, 6, 5).pitch, 6u);
}

TEST(MakePlane, HoldsNothingWithoutMemoryPitchOrRows) {
  uint8_t byte = 0;
  EXPECT_EQ(MakePlane(nullptr, 6, 10).size, 0u);
  EXPECT_EQ(MakePlane(&byte, 0, 10).size, 0u);
  EXPECT_EQ(MakePlane(&byte, 6, 0).size, 0u);
}

TEST(MakePlane, HoldsNothingWithAPitchThatIsNoPitch) {
  uint8_t byte = 0;
  EXPECT_EQ(MakePlane(&byte, -4, 10).size, 0u);
  EXPECT_EQ(MakePlane(&byte, int64_t{0x80000000}, 10).size, 0u);
  EXPECT_EQ(MakePlane(&byte, int64_t{0xFFFFFFFF}, 10).size, 0u);
}

TEST(MakePlane, TakesTheLargestFiguresWithoutOverflow) {
  uint8_t byte = 0;
  EXPECT_EQ(MakePlane(&byte, INT32_MAX, uint64_t{UINT32_MAX} * 2).size,
            static_cast<uint64_t>(INT32_MAX) * uint64_t{UINT32_MAX});
}

TEST(CopyPlane, TakesEqualPitchesAsOneBlockWithTheBytesBetweenTheRows) {
  auto from = Ramp(24);
  std::vector<uint8_t> to(24);
  EXPECT_TRUE(CopyPlane(MakePlane(to.data(), 8, 6), MakePlane(from.data(), 8, 6)));
  EXPECT_EQ(to, from);
}

TEST(CopyPlane, GoesRowByRowIntoAWiderPitch) {
  auto from = Ramp(6);
  std::vector<uint8_t> to(10, 0);
  EXPECT_TRUE(CopyPlane(MakePlane(to.data(), 5, 4), MakePlane(from.data(), 3, 4)));
  EXPECT_EQ(to, (std::vector<uint8_t>{1, 2, 3, 0, 0, 4, 5, 6, 0, 0}));
}

TEST(CopyPlane, GoesRowByRowIntoANarrowerPitch) {
  auto from = Ramp(10);
  std::vector<uint8_t> to(6, 0);
  EXPECT_TRUE(CopyPlane(MakePlane(to.data(), 3, 4), MakePlane(from.data(), 5, 4)));
  EXPECT_EQ(to, (std::vector<uint8_t>{1, 2, 3, 6, 7, 8}));
}

TEST(CopyPlane, CopiesHalfOfALastHalfRow) {
  auto from = Ramp(6);
  std::vector<uint8_t> to(12, 0);
  EXPECT_TRUE(CopyPlane(MakePlane(to.data(), 6, 3), MakePlane(from.data(), 4, 3)));
  EXPECT_EQ(to, (std::vector<uint8_t>{1, 2, 3, 4, 0, 0, 5, 6, 0, 0, 0, 0}));
}

TEST(CopyPlane, EndsWithTheShorterPlane) {
  auto from = Ramp(12);
  std::vector<uint8_t> to(12, 0);
  EXPECT_TRUE(CopyPlane(MakePlane(to.data(), 4, 4), MakePlane(from.data(), 4, 6)));
  EXPECT_TRUE(CopyPlane(MakePlane(to.data() + 8, 3, 2), MakePlane(from.data(), 4, 6)));
  EXPECT_EQ(to, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 0}));
}

TEST(CopyPlane, RefusesPlanesThatHoldNothing) {
  auto bytes = Ramp(8);
  const Plane good = MakePlane(bytes.data(), 4, 4);
  EXPECT_FALSE(CopyPlane(Plane(), good));
  EXPECT_FALSE(CopyPlane(good, Plane()));
}

TEST(CopyPlane, StaysInsideBothPlanesForAllSmallShapes) {
  for (const GuardSide side : {GuardSide::kBehind, GuardSide::kBefore}) {
    for (size_t from_pitch = 1; from_pitch <= 9; ++from_pitch) {
      for (size_t to_pitch = 1; to_pitch <= 9; ++to_pitch) {
        for (uint64_t half_rows = 1; half_rows <= 6; ++half_rows) {
          const size_t from_size = from_pitch * half_rows / 2;
          const size_t to_size = to_pitch * half_rows / 2;
          GuardedMemory from(from_size, side), to(to_size, side);
          const bool copied = CopyPlane(MakePlane(to.data(), static_cast<int64_t>(to_pitch), half_rows),
                                        MakePlane(from.data(), static_cast<int64_t>(from_pitch), half_rows));
          EXPECT_EQ(copied, from_size > 0 && to_size > 0);
        }
      }
    }
  }
}

TEST(CopyNv12, LeavesTheTargetAloneWhenAPlaneIsMissing) {
  auto bytes = Ramp(16);
  std::vector<uint8_t> target(16, 0);
  const Nv12Planes to{MakePlane(target.data(), 4, 4), MakePlane(target.data() + 8, 4, 2)};
  EXPECT_FALSE(CopyNv12(to, {MakePlane(bytes.data(), 4, 4), Plane()}));
  EXPECT_FALSE(CopyNv12(to, {Plane(), MakePlane(bytes.data(), 4, 2)}));
  EXPECT_EQ(target, std::vector<uint8_t>(16, 0));
}

TEST(Nv12PlanesOf, TakesSizesFromPitchAndHeight) {
  uint8_t luma = 0, chroma = 0;
  obs_source_frame frame = {};
  frame.data[0] = &luma;
  frame.data[1] = &chroma;
  frame.linesize[0] = 100;
  frame.linesize[1] = 104;
  frame.height = 7;
  const Nv12Planes planes = Nv12PlanesOf(frame);
  EXPECT_EQ(planes.luma.size, 700u);
  EXPECT_EQ(planes.chroma.size, 364u);
}

TEST(Nv12PlanesOf, HoldsNothingForAnEngineFrameWithNegativeFigures) {
  uint8_t byte = 0;
  LX::FrameData frame;
  frame.planes[0] = frame.planes[1] = &byte;
  frame.strides[0] = -8;
  frame.strides[1] = 8;
  frame.height = 4;
  EXPECT_EQ(Nv12PlanesOf(frame).luma.size, 0u);
  frame.height = -4;
  EXPECT_EQ(Nv12PlanesOf(frame).chroma.size, 0u);
}

}  // namespace
}  // namespace vanta
