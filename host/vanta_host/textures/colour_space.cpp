// From a frame's colour matrix back to the colour space that it was made from.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "vanta_filter/module/host_extensions.h"

namespace {

// Matrices of neighbouring spaces lie 0.09 and more apart in some entry, those of 8, 10 and 12 bits of one space at
// most 0.007 from each other.
constexpr float kTolerance = 0.02f;

// libobs gives the default and sRGB the matrix of 709, and HLG that of PQ: of spaces that share one, the one that names
// the matrix answers.
constexpr std::array kSpaces = {VIDEO_CS_709, VIDEO_CS_601, VIDEO_CS_2100_PQ};

struct Match {
  video_colorspace space = VIDEO_CS_DEFAULT;
  float distance = std::numeric_limits<float>::infinity();
};

// Largest difference over the entries that turn the picture's samples into colour; the fourth row is constant.
float Distance(const float *a, const float *b) {
  float distance = 0;
  for (int i = 0; i < 12; ++i) {
    const float difference = std::fabs(a[i] - b[i]);
    if (std::isnan(difference)) return std::numeric_limits<float>::infinity();
    distance = std::max(distance, difference);
  }
  return distance;
}

void Compare(const float *matrix, video_range_type range, video_format format, Match &best) {
  for (const video_colorspace space : kSpaces) {
    float known[16];
    float range_min[3], range_max[3];
    if (!video_format_get_parameters_for_format(space, range, format, known, range_min, range_max)) continue;
    const float distance = Distance(matrix, known);
    if (distance < best.distance) best = {space, distance};
  }
}

}  // namespace

// The ranges decide nothing: they are the same for each space, and libobs leaves them unset on full-range frames.
video_colorspace video_format_get_colorspace_from_matrix(const float *matrix, const float *, const float *,
                                                         video_format format, bool full_range) {
  if (!matrix) return VIDEO_CS_DEFAULT;
  const video_range_type said = full_range ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL;
  const video_range_type other = full_range ? VIDEO_RANGE_PARTIAL : VIDEO_RANGE_FULL;
  Match best;
  // Sources also hand over a range flag that was set later than the matrix.
  for (const video_range_type range : {said, other}) {
    Compare(matrix, range, format, best);
    if (best.distance <= kTolerance) return best.space;
  }
  return VIDEO_CS_DEFAULT;
}
