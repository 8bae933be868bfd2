#include "warp/body_warps.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// An adult's parts, in eye distances (63 mm) below the eyes and beside the middle line.
constexpr float kNeck = 2.4f;
constexpr float kShoulder = 3.6f;
constexpr float kWaist = 8.9f;
constexpr float kHip = 11.3f;
constexpr float kLegs = 12.4f;
constexpr float kSole = 25.0f;
constexpr float kArm = 3.4f;  // beside

// What full intensity does at the slope's steepest, as a part of the width.
constexpr float kMostSlim = 0.16f;
constexpr float kMostSlimShoulder = 0.14f;
constexpr float kMostSlimArm = 0.25f;
constexpr float kMostShrinkHead = 0.16f;
constexpr float kMostLengthen = 0.22f;  // of the legs' length

struct Offset {
  float right;
  float down;
};

float Fade(float part) {
  const float rest = std::max(1.0f - part * part, 0.0f);
  return rest * rest;
}

float Smoothstep(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

// The upright picture's axes on the stored one.
struct Axes {
  FramePoint right;
  FramePoint down;
};

Axes AxesOf(const Orientation &orientation) {
  const Place corner = FromUpright(orientation, {0.0f, 0.0f});
  const Place right = FromUpright(orientation, {1.0f, 0.0f});
  const Place down = FromUpright(orientation, {0.0f, 1.0f});
  return {{right.x - corner.x, right.y - corner.y}, {down.x - corner.x, down.y - corner.y}};
}

// One body in units of its eye distance. Threads: one.
class Body {
 public:
  Body(const Face &face, const Axes &axes, WarpField &field)
      : eyes_(face.Beside(FaceAnchor::kForehead, 0.0f, 0.75f)), unit_(face.eye_distance), axes_(axes), field_(field) {}

  void Slim(LXBodySlimmingType type, float amount) {
    switch (type) {
      case kSlimWhole:
        return Narrow(
            9.0f, kMostSlim * amount, [](float down) { return Smoothstep(kNeck, kShoulder + 1.0f, down); }, kNeck,
            kSole + 4.0f);
      case kSlimWaist:
        return NarrowAround(kWaist, 4.0f, 6.5f, kMostSlim * amount);
      case kSlimHip:
        return NarrowAround(kHip, 3.5f, 7.0f, kMostSlim * amount);
      case kSlimShoulder:
        return NarrowAround(kShoulder, 1.8f, 7.0f, kMostSlimShoulder * amount);
      case kSlimArm:
        return SlimArms(kMostSlimArm * amount);
      case kSlimHead:
        return ShrinkHead(kMostShrinkHead * amount);
      default:
        return;
    }
  }

 private:
  // Draws everything between `top` and `bottom` to the middle line, by the part that `height` gives.
  template <typename Height>
  void Narrow(float reach, float amount, const Height &height, float top, float bottom) {
    Add({0.0f, (top + bottom) / 2.0f}, reach, (bottom - top) / 2.0f, [&](Offset at) {
      return Offset{amount * at.right * Fade(at.right / reach) * height(at.down), 0.0f};
    });
  }

  void NarrowAround(float middle, float half, float reach, float amount) {
    Narrow(
        reach, amount, [&](float down) { return Fade((down - middle) / half); }, middle - half, middle + half);
  }

  // Each arm about its own middle.
  void SlimArms(float amount) {
    constexpr float kHalf = 1.4f;
    constexpr float kTop = kShoulder - 0.6f;
    constexpr float kBottom = kHip + 1.0f;
    for (const float side : {-kArm, kArm}) {
      Add({side, (kTop + kBottom) / 2.0f}, kHalf, (kBottom - kTop) / 2.0f, [&](Offset at) {
        const float x = at.right - side;
        const float height =
            Smoothstep(kTop, kTop + 1.0f, at.down) * (1.0f - Smoothstep(kBottom - 1.0f, kBottom, at.down));
        return Offset{amount * x * Fade(x / kHalf) * height, 0.0f};
      });
    }
  }

  void ShrinkHead(float amount) {
    constexpr float kMiddle = 0.1f;
    constexpr float kReach = 3.6f;
    Add({0.0f, kMiddle}, kReach, kReach, [&](Offset at) {
      const float y = at.down - kMiddle;
      const float more = amount * Fade(std::hypot(at.right, y) / kReach);
      return Offset{at.right * more, y * more};
    });
  }

  // `center` and what `displacement` takes and gives are in eye distances from the eyes.
  template <typename Displacement>
  void Add(Offset center, float reach_right, float reach_down, const Displacement &displacement) {
    const FramePoint &right = axes_.right;
    const FramePoint &down = axes_.down;
    const FramePoint middle{eyes_.x + unit_ * (center.right * right.x + center.down * down.x),
                            eyes_.y + unit_ * (center.right * right.y + center.down * down.y)};
    const float reach_x = unit_ * (reach_right * std::fabs(right.x) + reach_down * std::fabs(down.x));
    const float reach_y = unit_ * (reach_right * std::fabs(right.y) + reach_down * std::fabs(down.y));
    field_.Add(middle, reach_x, reach_y, [&](const FramePoint &place) {
      const float x = (place.x - eyes_.x) / unit_;
      const float y = (place.y - eyes_.y) / unit_;
      const Offset moved = displacement(Offset{x * right.x + y * right.y, x * down.x + y * down.y});
      return FramePoint{unit_ * (moved.right * right.x + moved.down * down.x),
                        unit_ * (moved.right * right.y + moved.down * down.y)};
    });
  }

  const FramePoint eyes_;
  const float unit_;  // pixels
  const Axes axes_;
  WarpField &field_;
};

// From the first face; empty when the legs are below the picture.
std::optional<LegRange> LegsBelow(const Face &face, const Orientation &orientation, int width, int height) {
  constexpr float kLeastPart = 0.05f;  // of the picture
  const FramePoint eyes = face.Beside(FaceAnchor::kForehead, 0.0f, 0.75f);
  const Place upright =
      ToUpright(orientation, {eyes.x / static_cast<float>(width), eyes.y / static_cast<float>(height)});
  const float unit = face.eye_distance / static_cast<float>(orientation.quarter_turns % 2 ? width : height);
  const LegRange legs{upright.y + kLegs * unit, std::min(upright.y + kSole * unit, 1.0f), false};
  return legs.bottom - legs.top >= kLeastPart ? std::optional(legs) : std::nullopt;
}

// The legs take room from what is above them: the picture's edges and what is below the legs stay where they are.
void LengthenLegs(const LegRange &legs, const Orientation &orientation, int width, int height, float amount,
                  WarpField &field) {
  const auto size_x = static_cast<float>(width);
  const auto size_y = static_cast<float>(height);
  const Axes axes = AxesOf(orientation);
  const FramePoint along = legs.lies ? axes.right : axes.down;
  const float length = along.x != 0.0f ? size_x : size_y;  // pixels of the picture along the body
  const float more = kMostLengthen * amount * std::min(legs.bottom - legs.top, legs.top);
  if (more <= 0.0f) return;
  field.Add({size_x / 2.0f, size_y / 2.0f}, size_x / 2.0f, size_y / 2.0f, [&](const FramePoint &place) {
    const Place upright = ToUpright(orientation, {place.x / size_x, place.y / size_y});
    const float at = legs.lies ? upright.x : upright.y;
    const float part = at < legs.top ? Smoothstep(0.0f, legs.top, at) : 1.0f - Smoothstep(legs.top, legs.bottom, at);
    const float shift = more * part * length;
    return FramePoint{shift * along.x, shift * along.y};
  });
}

}  // namespace

bool AnySlimming(const SlimmingValues &values) {
  return std::any_of(values.begin(), values.end(), [](float value) { return value != 0.0f; });
}

bool AddBodyWarps(const Faces &faces, const Orientation &orientation, int width, int height,
                  const SlimmingValues &values, const std::optional<LegRange> &legs, WarpField &field) {
  bool found = false;
  const Axes axes = AxesOf(orientation);
  for (const Face &face : faces) {
    Body body(face, axes, field);
    for (int32_t type = 0; type < kSlimLegLength; ++type) {
      const float amount = values[static_cast<size_t>(type)];
      if (amount == 0.0f) continue;
      body.Slim(LXBodySlimmingType{type}, amount);
      found = true;
    }
  }
  const float lengthen = values[static_cast<size_t>(kSlimLegLength)];
  if (lengthen == 0.0f) return found;
  std::optional<LegRange> range = legs;
  if (!range && !faces.empty()) range = LegsBelow(faces.front(), orientation, width, height);
  if (!range) return found;
  LengthenLegs(*range, orientation, width, height, lengthen, field);
  return true;
}

}  // namespace lumivex
