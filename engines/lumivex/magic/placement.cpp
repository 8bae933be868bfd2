#include "magic/placement.h"

#include <algorithm>
#include <array>

namespace lumivex {
namespace {

struct Edges {
  float x;  // 0 left, 0.5 middle, 1 right
  float y;
};

Edges EdgesOf(ScreenAnchor anchor) {
  constexpr std::array<Edges, kScreenAnchorCount> kEdges = {{{0.5f, 0.5f},
                                                             {0.0f, 0.0f},
                                                             {0.5f, 0.0f},
                                                             {1.0f, 0.0f},
                                                             {0.0f, 0.5f},
                                                             {0.5f, 0.5f},
                                                             {1.0f, 0.5f},
                                                             {0.0f, 1.0f},
                                                             {0.5f, 1.0f},
                                                             {1.0f, 1.0f}}};
  return kEdges[static_cast<size_t>(anchor)];
}

// The upright picture, and the way from it to the stored one.
struct Upright {
  Upright(int stored_width, int stored_height, const Orientation &standing) : orientation(standing) {
    const bool sideways = orientation.quarter_turns % 2 != 0;
    width = static_cast<float>(sideways ? stored_height : stored_width);
    height = static_cast<float>(sideways ? stored_width : stored_height);
  }

  // A way, not a place: to the right and down on the upright picture.
  FramePoint Way(float right, float down) const {
    FramePoint stored;
    switch (orientation.quarter_turns) {
      case 1:
        stored = {down, -right};
        break;
      case 2:
        stored = {-right, -down};
        break;
      case 3:
        stored = {-down, right};
        break;
      default:
        stored = {right, down};
        break;
    }
    if (orientation.mirror) stored.x = -stored.x;
    return stored;
  }

  // The middle of both pictures is the same place.
  Placement Placed(FramePoint middle, float layer_width, float layer_height, int stored_width,
                   int stored_height) const {
    const FramePoint way = Way(middle.x - width / 2.0f, middle.y - height / 2.0f);
    return {{static_cast<float>(stored_width) / 2.0f + way.x, static_cast<float>(stored_height) / 2.0f + way.y},
            Way(layer_width, 0.0f),
            Way(0.0f, layer_height)};
  }

  Orientation orientation;
  float width;
  float height;
};

}  // namespace

Placement PlaceOnScreen(const LayerPlan &layer, float shape, int width, int height, const Orientation &orientation) {
  const Upright upright(width, height, orientation);
  const float unit = std::min(upright.width, upright.height);
  const bool cover = layer.anchor.screen == ScreenAnchor::kScreen;
  const float wide = cover ? std::max(upright.width, upright.height / shape) : layer.size * unit;
  const float high = wide * shape;
  // The layer's own edge lies on the picture's.
  const Edges edges = EdgesOf(layer.anchor.screen);
  const FramePoint middle = {
      edges.x * upright.width + (0.5f - edges.x) * (cover ? 0.0f : wide) + layer.offset_x * unit,
      edges.y * upright.height + (0.5f - edges.y) * (cover ? 0.0f : high) + layer.offset_y * unit};
  return upright.Placed(middle, wide, high, width, height);
}

Placement PlaceOnFace(const LayerPlan &layer, float shape, const Face &face) {
  FramePoint center = face.Beside(*layer.anchor.face, layer.offset_x, layer.offset_y);
  if (layer.anchor.between_eyes) {
    const FramePoint other = face.Beside(FaceAnchor::kRightEye, layer.offset_x, layer.offset_y);
    center = {(center.x + other.x) / 2.0f, (center.y + other.y) / 2.0f};
  }
  const float wide = layer.size * face.eye_distance;
  const float high = wide * shape;
  return {center, {face.right.x * wide, face.right.y * wide}, {face.down.x * high, face.down.y * high}};
}

Placement MovedBy(const WarpField &warp, const Placement &placement) {
  const FramePoint &center = placement.center;
  // From edge to edge: the two halves may be moved differently.
  const auto way = [&](const FramePoint &whole) {
    const FramePoint from = warp.Moved({center.x - whole.x / 2.0f, center.y - whole.y / 2.0f});
    const FramePoint to = warp.Moved({center.x + whole.x / 2.0f, center.y + whole.y / 2.0f});
    return FramePoint{to.x - from.x, to.y - from.y};
  };
  return {warp.Moved(center), way(placement.across), way(placement.down)};
}

Placement PlaceWhole(float shape, int width, int height, const Orientation &orientation) {
  const Upright upright(width, height, orientation);
  const float wide = std::min(upright.width, upright.height / shape);
  return upright.Placed({upright.width / 2.0f, upright.height / 2.0f}, wide, wide * shape, width, height);
}

}  // namespace lumivex
