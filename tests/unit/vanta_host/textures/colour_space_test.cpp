#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vanta_filter/module/host_extensions.h"

namespace {

struct Parameters {
  float matrix[16];
  float range_min[3];
  float range_max[3];
};

Parameters Of(video_colorspace space, bool full, video_format format) {
  Parameters p;
  EXPECT_TRUE(video_format_get_parameters_for_format(space, full ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL, format,
                                                     p.matrix, p.range_min, p.range_max));
  return p;
}

video_colorspace Find(const Parameters &p, video_format format, bool full) {
  return video_format_get_colorspace_from_matrix(p.matrix, p.range_min, p.range_max, format, full);
}

const std::vector<std::pair<video_colorspace, video_colorspace>> kMadeAndFound = {
    {VIDEO_CS_DEFAULT, VIDEO_CS_709}, {VIDEO_CS_601, VIDEO_CS_601},         {VIDEO_CS_709, VIDEO_CS_709},
    {VIDEO_CS_SRGB, VIDEO_CS_709},    {VIDEO_CS_2100_PQ, VIDEO_CS_2100_PQ}, {VIDEO_CS_2100_HLG, VIDEO_CS_2100_PQ},
};

constexpr int kFormats = VIDEO_FORMAT_YA2L + 1;

TEST(ColourSpace, IsFoundForEveryFormatSpaceAndRange) {
  for (int format = 0; format < kFormats; ++format)
    for (const auto &[made, found] : kMadeAndFound)
      for (bool full : {false, true}) {
        const auto video_format = static_cast<enum video_format>(format);
        EXPECT_EQ(Find(Of(made, full, video_format), video_format, full), found)
            << "format " << format << " space " << made << " full " << full;
      }
}

TEST(ColourSpace, IsFoundWhereTheMatrixWasMadeFor8Bits) {
  for (int format = 0; format < kFormats; ++format)
    for (const auto &[made, found] : kMadeAndFound)
      for (bool full : {false, true})
        EXPECT_EQ(Find(Of(made, full, VIDEO_FORMAT_NONE), static_cast<video_format>(format), full), found)
            << "format " << format << " space " << made << " full " << full;
}

TEST(ColourSpace, IsFoundWhereTheRangeFlagContradictsTheMatrix) {
  for (const auto &[made, found] : kMadeAndFound)
    for (bool full : {false, true})
      EXPECT_EQ(Find(Of(made, full, VIDEO_FORMAT_NV12), VIDEO_FORMAT_NV12, !full), found) << made << full;
}

TEST(ColourSpace, NeedsNoRanges) {
  const Parameters p = Of(VIDEO_CS_601, true, VIDEO_FORMAT_I420);
  EXPECT_EQ(video_format_get_colorspace_from_matrix(p.matrix, nullptr, nullptr, VIDEO_FORMAT_I420, true), VIDEO_CS_601);
}

TEST(ColourSpace, ASlightlyRoundedMatrixIsFound) {
  for (const auto &[made, found] : kMadeAndFound) {
    Parameters p = Of(made, false, VIDEO_FORMAT_NV12);
    for (float &entry : p.matrix) entry = std::round(entry * 100) / 100;
    EXPECT_EQ(Find(p, VIDEO_FORMAT_NV12, false), found) << made;
  }
}

TEST(ColourSpace, AZeroMatrixIsTheDefault) {
  const Parameters p{};
  EXPECT_EQ(Find(p, VIDEO_FORMAT_BGRA, false), VIDEO_CS_DEFAULT);
  EXPECT_EQ(Find(p, VIDEO_FORMAT_NV12, true), VIDEO_CS_DEFAULT);
}

TEST(ColourSpace, AnUnknownMatrixIsTheDefault) {
  Parameters p = Of(VIDEO_CS_709, false, VIDEO_FORMAT_NV12);
  p.matrix[2] += 0.05f;
  EXPECT_EQ(Find(p, VIDEO_FORMAT_NV12, false), VIDEO_CS_DEFAULT);
  Parameters identity{};
  for (int i = 0; i < 4; ++i) identity.matrix[i * 5] = 1;
  EXPECT_EQ(Find(identity, VIDEO_FORMAT_RGBA, true), VIDEO_CS_DEFAULT);
}

TEST(ColourSpace, NotANumberIsTheDefault) {
  Parameters p = Of(VIDEO_CS_709, false, VIDEO_FORMAT_NV12);
  p.matrix[7] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(Find(p, VIDEO_FORMAT_NV12, false), VIDEO_CS_DEFAULT);
}

TEST(ColourSpace, NoMatrixIsTheDefault) {
  EXPECT_EQ(video_format_get_colorspace_from_matrix(nullptr, nullptr, nullptr, VIDEO_FORMAT_NV12, false),
            VIDEO_CS_DEFAULT);
}

}  // namespace
