#include "results/landmark_params.h"

#include <algorithm>
#include <cmath>

namespace tessera {

LandmarkParams ReadLandmarkParams(const Any &param) {
  const Any nothing;
  const Any &map = param.asMap().get("landmarks_param", nothing);
  LandmarkParams params;
  const float faces = map.asMap().get("max_face_num", nothing).toFloat32();
  if (std::isfinite(faces) && faces >= 1) params.max_faces = static_cast<int>(std::min<float>(faces, kMostFaces));
  const Any one(1);
  params.synchronous = map.asMap().get("sync_detect", one).toFloat32() != 0;
  params.orientation = map.asMap().get("orientation", nothing).text;
  return params;
}

}  // namespace tessera
