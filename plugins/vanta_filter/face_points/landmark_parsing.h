// Reads the vision runner's tree of results into faces. A key that is missing, or of another kind, reads as empty.
#pragma once

#include <cstdint>
#include <memory>

#include "face_points/face_points.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace vanta {

// The landmark filter's path: points stay as they are. False, with `out` untouched, without a map. Threads: any.
bool ParseLandmarkAny(const std::shared_ptr<tessera::Any> &root, FacePointResult &out);

// The effect engine's path: `object` holds the runner's result. Points are cut to whole pixels and turned by `rotation`
// degrees in a picture of `width` by `height` pixels; boxes are not. False without an object or a result in it. Throws
// std::runtime_error when `object` is something else. Threads: any.
bool ParseLandmarkOut(const std::shared_ptr<tessera::Any> &object, FacePointResult &out, uint32_t width,
                      uint32_t height, int32_t rotation, uint64_t detect_key);

}  // namespace vanta
