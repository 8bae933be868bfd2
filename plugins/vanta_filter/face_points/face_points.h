// Parsed face landmarks, as both paths to the host's signal carry them.
#pragma once

#include <cstdint>
#include <vector>

namespace vanta {

struct FacePoint {
  int32_t index = 0;  // place in the reordered list
  float x = 0;        // pixels
  float y = 0;        // pixels
};

struct FaceRecord {
  int64_t index = -1;  // nobody numbers faces yet
  std::vector<FacePoint> points;
};

// The face's box, pixels.
struct FaceRoi {
  float left = 0;
  float top = 0;
  float width = 0;
  float height = 0;
};

// Starts zeroed: a failed parse leaves what is published as it was.
struct FacePointResult {
  int32_t face_count = 0;
  std::vector<FaceRecord> faces;
  std::vector<FaceRoi> rois;  // entry i belongs to face i
  uint64_t detect_key = 0;    // 0 on the landmark filter's path
};

}  // namespace vanta
