// What "landmarks_param" asks for.
#pragma once

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {

inline constexpr int kMostFaces = 8;

struct LandmarkParams {
  int max_faces = 1;  // 1..kMostFaces
};

// Reads {"landmarks_param": {"max_face_num": "1", ...}}; numbers may be texts. What is missing keeps its default, and
// the other entries (masks, tongue, eyeballs, teeth, finer eyes and mouth) name things that this runner has not.
LandmarkParams ReadLandmarkParams(const Any &param);

}  // namespace tessera
