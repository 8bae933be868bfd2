#include "frames/conversion/frame_makers.h"

#include <malloc.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>
#include <obs.h>

namespace vanta {
namespace {

bool AllZero(const uint8_t *bytes, size_t size) {
  return std::count(bytes, bytes + size, 0) == static_cast<ptrdiff_t>(size);
}

void ExpectCommonFields(const LX::FrameData &frame) {
  EXPECT_EQ(frame.width, 7);
  EXPECT_EQ(frame.height, 5);
  EXPECT_EQ(frame.word, 1);
  EXPECT_EQ(frame.color_code, 2);
  EXPECT_EQ(std::bit_cast<uint32_t>(frame.prepared_mark), 0x428720E1u);
  EXPECT_EQ(frame.flip, 1);
}

TEST(MakeI420Frame, FillsTheFieldsAndRoundsChromaUp) {
  const auto frame = MakeI420Frame(7, 5);
  ExpectCommonFields(*frame);
  EXPECT_EQ(frame->layout_code, 2);
  EXPECT_EQ(frame->pixel_format, 3);
  EXPECT_EQ(frame->planes[1], frame->planes[0] + 35);
  EXPECT_EQ(frame->planes[2], frame->planes[1] + 12);
  EXPECT_EQ(frame->strides[0], 7);
  EXPECT_EQ(frame->strides[1], 4);
  EXPECT_EQ(frame->strides[2], 4);
}

TEST(MakeI420Frame, BufferIsZeroUpToItsAlignedEnd) {
  const auto size = static_cast<size_t>(base_get_alignment()) * 5;
  EXPECT_TRUE(AllZero(MakeI420Frame(7, 5)->planes[0], size > 140 && size - 140 < 32 ? size : 160));
}

TEST(MakeNV12Frame, FillsTheFieldsAndPointsIntoTheMiddleOfChroma) {
  const auto frame = MakeNV12Frame(7, 5);
  ExpectCommonFields(*frame);
  EXPECT_EQ(frame->layout_code, 1);
  EXPECT_EQ(frame->pixel_format, LX::FrameData().pixel_format);
  EXPECT_EQ(frame->planes[1], frame->planes[0] + 35);
  EXPECT_EQ(frame->planes[2], frame->planes[1] + 17);
  EXPECT_EQ(frame->strides[0], 7);
  EXPECT_EQ(frame->strides[1], 7);
  EXPECT_EQ(frame->strides[2], 4);
  EXPECT_TRUE(AllZero(frame->planes[0], 70));
}

TEST(MakePackedFrame, HasOnePlaneOfFourBytesAPixel) {
  const auto frame = MakePackedFrame(7, 5);
  ExpectCommonFields(*frame);
  EXPECT_EQ(frame->layout_code, 3);
  EXPECT_EQ(frame->pixel_format, 3);
  EXPECT_NE(frame->planes[0], nullptr);
  EXPECT_EQ(frame->planes[1], nullptr);
  EXPECT_EQ(frame->planes[2], nullptr);
  EXPECT_EQ(frame->strides[0], 28);
}

#if !defined(VANTA_TEST_SANITIZED)
// What lay in the memory before shows through: the allocator fills fresh memory with the complement of a byte.
TEST(MakePackedFrame, BufferIsNotCleared) {
  ASSERT_EQ(mallopt(M_PERTURB, 0x5A), 1);
  const auto frame = MakePackedFrame(64, 64);
  const bool cleared = AllZero(frame->planes[0], 64 * 64 * 4);
  mallopt(M_PERTURB, 0);
  EXPECT_FALSE(cleared);
}
#endif

TEST(FrameMakers, BufferGoesWithTheLastSharedPointer) {
  const long before = bnum_allocs();
  auto frame = MakeI420Frame(8, 4);
  auto second = frame;
  EXPECT_EQ(bnum_allocs(), before + 1);
  frame.reset();
  EXPECT_EQ(bnum_allocs(), before + 1);
  second.reset();
  EXPECT_EQ(bnum_allocs(), before);
}

TEST(FrameMakers, SizeThatCannotBeGivesNoFrame) {
  constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
  for (const auto make : {MakeI420Frame, MakeNV12Frame, MakePackedFrame}) {
    EXPECT_EQ(make(0, 4), nullptr);
    EXPECT_EQ(make(4, 0), nullptr);
    EXPECT_EQ(make(-4, -4), nullptr);
    EXPECT_EQ(make(kMost, kMost), nullptr);
  }
}

}  // namespace
}  // namespace vanta
