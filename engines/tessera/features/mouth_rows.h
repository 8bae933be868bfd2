// The middle of a mouth as a profile: one number for each row of a cue.
#pragma once

#include <algorithm>
#include <opencv2/core.hpp>
#include <vector>

#include "features/face_cues.h"
#include "features/face_features.h"

namespace tessera {

inline constexpr float kClearRed = 4.5F;  // chroma codes by which lips are surely redder than what is beside them

// Means of rows over the middle of a mouth: noise in them is small. `reach` is that to either side.
inline std::vector<float> RowsOf(const FaceCues &face, const cv::Mat &cue, const Mouth &mouth, float reach) {
  const float middle = (mouth.left.x + mouth.right.x) * 0.5F;
  const cv::Range columns(face.NearestColumn(middle - reach), face.NearestColumn(middle + reach) + 1);
  cv::Mat rows;
  cv::reduce(cue.colRange(columns), rows, 1, cv::REDUCE_AVG);
  return {rows.begin<float>(), rows.end<float>()};
}

// Of the rows from `from` to `to` (y in units): their mean, and the greatest.
inline float MeanOf(const FaceCues &face, const std::vector<float> &profile, float from, float to) {
  const int first = face.NearestRow(from);
  const int last = std::max(first, face.NearestRow(to));
  float sum = 0;
  for (int row = first; row <= last; ++row) sum += profile[static_cast<size_t>(row)];
  return sum / static_cast<float>(last - first + 1);
}

inline float MostOf(const FaceCues &face, const std::vector<float> &profile, float from, float to) {
  const int first = face.NearestRow(from);
  const int last = std::max(first, face.NearestRow(to));
  return *std::max_element(profile.begin() + first, profile.begin() + last + 1);
}

}  // namespace tessera
