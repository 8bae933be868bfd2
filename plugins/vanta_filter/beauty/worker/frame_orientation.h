// How the engine must turn a frame: the scene item's orientation and the host frame's own flip as one rotation and one
// mirror, since the engine's frame has no vertical flag.
#pragma once

#include <cstdint>

namespace vanta {

struct SceneOrientation {
  bool hor_flip = false;
  bool ver_flip = false;
  int32_t rot_deg = 0;  // degrees, any value
};

struct FrameOrientation {
  int32_t rotation;  // degrees
  bool flip;         // mirror left and right
};

// `frame_flip` is the host frame's vertical flip; it counts only with `use_frame_flip`. A vertical flip is a half turn
// plus a horizontal mirror; the remainder truncates toward zero, so -90 becomes 90.
constexpr FrameOrientation OrientFrame(const SceneOrientation &scene, bool frame_flip, bool use_frame_flip) {
  const bool vertical = use_frame_flip ? frame_flip != scene.ver_flip : scene.ver_flip;
  if (!vertical) return {scene.rot_deg, scene.hor_flip};
  return {static_cast<int32_t>((int64_t{scene.rot_deg} + 180) % 360), !scene.hor_flip};
}

// 0 none, 1 is 90, 2 is 180, 3 is 270 degrees; anything else is 0.
constexpr uint32_t RotateType(int32_t rot_deg) {
  return rot_deg == 90 ? 1 : rot_deg == 180 ? 2 : rot_deg == 270 ? 3 : 0;
}

}  // namespace vanta
