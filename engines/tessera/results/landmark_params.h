// What "landmarks_param" asks for.
#pragma once

#include <string>

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {

inline constexpr int kMostFaces = 8;

struct LandmarkParams {
  int max_faces = 1;        // 1..kMostFaces
  bool synchronous = true;  // each picture is searched before its run returns
  std::string orientation;  // of the pictures; another one than before means other pictures
};

// Reads {"landmarks_param": {"max_face_num": "1", "sync_detect": "1", "orientation": any text}}; numbers may be texts.
// What is missing keeps its default, and the other entries (masks, tongue, eyeballs, teeth, finer eyes and mouth) name
// things that this runner has not.
LandmarkParams ReadLandmarkParams(const Any &param);

}  // namespace tessera
