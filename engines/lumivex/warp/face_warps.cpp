#include "warp/face_warps.h"

#include <tessera/point_layout.h>
#include <algorithm>
#include <array>
#include <cmath>

namespace lumivex {
namespace {

// What full intensity does, as parts of a length. None of the movements folds at these, whatever the face's points are;
// and what is chained of such movements folds nowhere either.
constexpr float kNarrow = 0.22f;     // of the face's half width: the most that all narrowing together takes
constexpr float kNarrowEnd = 1.08f;  // of the half width, from the middle: what is farther away stays
constexpr float kBeside = 0.035f;    // of the whole width, from its edges: no movement reaches farther
constexpr float kSlimPart = 0.70f;   // of that, each
constexpr float kCheekbonePart = 0.5f;
constexpr float kJawPart = 0.55f;
constexpr float kEyes = 0.30f;       // larger
constexpr float kNose = 0.30f;       // narrower
constexpr float kChin = 0.12f;       // of the eye distance, longer or shorter
constexpr float kMouth = 0.26f;      // larger or smaller
constexpr float kForehead = 0.11f;   // of the eye distance, higher or lower
constexpr float kEyesApart = 0.06f;  // of the eye distance, each
constexpr float kBrows = 0.075f;     // of the eye distance, higher or lower
constexpr float kLips = 0.34f;       // thicker or thinner

// In the face's own axes, from a place on it; to the right and down, in eye distances.
struct Offset {
  float right;
  float down;
};

// 1 at the center, 0 with level slope at a distance of 1 and beyond.
float Fade(float distance_squared) {
  const float rest = std::max(1.0f - distance_squared, 0.0f);
  return rest * rest;
}

float Smoothstep(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

// 1 up to 0, 0 with level slope from 1 on; steeper towards the end than Fade, but nowhere steep.
float Rest(float part) {
  const float clamped = std::clamp(part, 0.0f, 1.0f);
  const float rest = 1.0f - clamped * clamped;
  return rest * std::sqrt(rest);
}

// The place in the face's axes around `center`.
Offset InAxes(const Face &face, const FramePoint &center, const FramePoint &place) {
  const float x = (place.x - center.x) / face.eye_distance;
  const float y = (place.y - center.y) / face.eye_distance;
  return {x * face.right.x + y * face.right.y, x * face.down.x + y * face.down.y};
}

// Adds displacements that are given in the face's axes around `center`, up to `reach` eye distances away from it.
template <typename Displacement>
void AddAround(const Face &face, const FramePoint &center, float reach, WarpField &field,
               const Displacement &displacement) {
  const float unit = face.eye_distance;
  field.Add(center, reach * unit, reach * unit, [&](const FramePoint &place) {
    const Offset moved = displacement(InAxes(face, center, place));
    return FramePoint{unit * (moved.right * face.right.x + moved.down * face.down.x),
                      unit * (moved.right * face.right.y + moved.down * face.down.y)};
  });
}

// How far a movement may reach to the left and right of a place, in eye distances: what is straight beside the face
// stays so, also where a head that is turned has its eye at its edge.
struct Sides {
  float left = 0.0f;
  float right = 0.0f;
};

Sides SidesOf(const Face &face, const FramePoint &center) {
  Sides edges;
  for (size_t i = tessera::kContour.first; i <= tessera::kContour.last; ++i) {
    const float right = InAxes(face, center, face.points[i]).right;
    edges = {std::max(edges.left, -right), std::max(edges.right, right)};
  }
  const float beside = std::max(kBeside * (edges.left + edges.right), 1e-3f);
  return {edges.left + beside, edges.right + beside};
}

// An ellipse that is cut short where it would reach beyond the face's edge.
class Ellipse {
 public:
  Ellipse(const Face &face, const FramePoint &center, Offset radius) : radius_(radius) {
    const Sides sides = SidesOf(face, center);
    left_ = std::min(radius.right, sides.left);
    right_ = std::min(radius.right, sides.right);
  }

  float Reach() const { return std::max(radius_.right, radius_.down); }
  // How much of a shift it has room for: 1 where no side is shorter than half of its radius.
  float Room() const { return std::min(2.0f * std::min(left_, right_) / radius_.right, 1.0f); }
  // 1 in the middle, 0 with level slope at the edge and beyond.
  float FadeAt(Offset at) const {
    const float x = at.right / (at.right < 0.0f ? left_ : right_);
    const float y = at.down / radius_.down;
    return Fade(x * x + y * y);
  }

 private:
  const Offset radius_;
  float left_ = 0.0f;
  float right_ = 0.0f;
};

// Moves what lies within an ellipse, most at its middle; parts of the radius across must not shrink to nothing, so
// `way` stays below half of the smaller radius.
void AddShift(const Face &face, const FramePoint &center, Offset radius, Offset way, WarpField &field) {
  const Ellipse ellipse(face, center, radius);
  AddAround(face, center, ellipse.Reach(), field, [&](Offset at) {
    const float fade = ellipse.FadeAt(at) * ellipse.Room();
    return Offset{-way.right * fade, -way.down * fade};
  });
}

// Larger by `wider` and `taller`, smaller where they are negative, within an ellipse.
void AddScale(const Face &face, const FramePoint &center, Offset radius, float wider, float taller, WarpField &field) {
  const Ellipse ellipse(face, center, radius);
  AddAround(face, center, ellipse.Reach(), field, [&](Offset at) {
    const float fade = ellipse.FadeAt(at);
    return Offset{-at.right * wider * fade, -at.down * taller * fade};
  });
}

float Distance(const FramePoint &one, const FramePoint &other) {
  return std::hypot(one.x - other.x, one.y - other.y);
}

FramePoint EyesMiddle(const Face &face) {
  return face.Beside(FaceAnchor::kForehead, 0.0f, 0.75f);
}

// The face's edge on both sides of its own middle line, by height below the eyes, in eye distances. On a head that is
// turned aside the middle line lies nearer to one edge.
class FaceWidth {
 public:
  explicit FaceWidth(const Face &face) {
    const FramePoint eyes = EyesMiddle(face);
    const Offset root = InAxes(face, eyes, face.points[tessera::kNoseRoot]);
    const Offset chin = InAxes(face, eyes, face.At(FaceAnchor::kChin));
    chin_ = std::clamp(chin.down, 1.2f, 2.6f);
    slope_ = std::clamp((chin.right - root.right) / std::max(chin.down - root.down, 0.5f), -0.5f, 0.5f);
    at_eyes_ = std::clamp(root.right - slope_ * root.down, -0.6f, 0.6f);
    std::array<Offset, tessera::kContour.last + 1> edge;
    for (size_t i = 0; i < edge.size(); ++i) edge[i] = InAxes(face, eyes, face.points[i]);
    const Sides sides = SidesOf(face, eyes);
    // Where the half was widened to be measured by, the end lies beyond what moves in proportion.
    const auto end_of = [](float half, float most, float middle) {
      return std::max(std::min(kNarrowEnd * half, most), 0.9f * half) - middle;
    };
    for (size_t row = 0; row < kRows; ++row) {
      const float down = static_cast<float>(row) * Step();
      const float middle = Middle(down);
      left_[row] = Bounded(middle - EdgeAt(edge.data(), 1, down));
      right_[row] = Bounded(EdgeAt(edge.data() + tessera::kContourRight, -1, down) - middle);
      const float left_end = end_of(left_[row], sides.left + middle, middle);
      const float right_end = end_of(right_[row], sides.right - middle, -middle);
      left_end_[row] = row > 0 ? std::max(left_end_[row - 1], left_end) : left_end;
      right_end_[row] = row > 0 ? std::max(right_end_[row - 1], right_end) : right_end;
    }
  }

  float Chin() const { return chin_; }
  float Middle(float down) const { return at_eyes_ + slope_ * down; }
  // Half the width on the side of `from_middle`.
  float Half(float from_middle, float down) const { return At(from_middle < 0.0f ? left_ : right_, down); }
  // On that side, how far from the middle narrowing ends: a little beside the face, and no nearer to it than above, so
  // that a neck is drawn in with the jaw before it.
  float End(float from_middle, float down) const {
    return from_middle < 0.0f ? At(left_end_, down) + Middle(down) : At(right_end_, down) - Middle(down);
  }
  float Widest() const {
    return std::max(*std::max_element(left_.begin(), left_.end()), *std::max_element(right_.begin(), right_.end()));
  }

 private:
  static constexpr size_t kRows = 24;  // from the eyes to the chin
  using Rows = std::array<float, kRows>;

  float Step() const { return chin_ / static_cast<float>(kRows - 1); }
  // Towards the chin the edges meet; narrowing fades out there, and keeps a width to be measured by.
  static float Bounded(float half) { return std::clamp(half, 0.35f, 1.8f); }

  float At(const Rows &rows, float down) const {
    const float row = std::clamp(down / Step(), 0.0f, static_cast<float>(kRows - 1));
    const auto above = std::min(static_cast<size_t>(row), kRows - 2);
    return rows[above] + (rows[above + 1] - rows[above]) * (row - static_cast<float>(above));
  }

  // The edge from the ear to the chin, by the first of its sides that reaches as far down.
  static float EdgeAt(const Offset *ear, ptrdiff_t next, float down) {
    const Offset *one = ear;
    for (size_t i = 0; i < tessera::kChin; ++i, one += next) {
      const Offset &below = one[next];
      if (below.down < down) continue;
      const float height = below.down - one->down;
      const float part = height > 1e-3f ? std::clamp((down - one->down) / height, 0.0f, 1.0f) : 0.0f;
      return one->right + (below.right - one->right) * part;
    }
    return one->right;
  }

  float chin_ = 0.0f;
  float at_eyes_ = 0.0f;
  float slope_ = 0.0f;
  Rows left_;
  Rows right_;
  Rows left_end_;  // from the point between the eyes, to the left
  Rows right_end_;
};

// Everything between the eyes and the chin is drawn to the face's middle line: as one movement, since the parts
// overlap. It ends close beside the face, so that what is straight behind it stays so.
void AddNarrowing(const Face &face, const DeformValues &values, WarpField &field) {
  const float slim = kSlimPart * values[kDeformSlimFace];
  const float cheekbone = kCheekbonePart * values[kDeformCheekbone];
  const float jaw = kJawPart * values[kDeformJaw];
  if (slim == 0.0f && cheekbone == 0.0f && jaw == 0.0f) return;
  constexpr float kWhole = 0.72f;   // of the half width: as far as that everything moves in proportion
  constexpr float kBottom = 1.22f;  // of the way to the chin
  const FaceWidth width(face);
  const float chin = width.Chin();
  const float aside = std::max(std::fabs(width.Middle(0.0f)), std::fabs(width.Middle(chin)));
  const float reach = std::hypot(kNarrowEnd * width.Widest() + aside, kBottom * chin);
  AddAround(face, EyesMiddle(face), reach, field, [&](Offset at) {
    const float from_middle = at.right - width.Middle(at.down);
    const float way = std::fabs(from_middle);
    const float end = width.End(from_middle, at.down);
    if (way >= end || at.down <= 0.0f || at.down >= kBottom * chin) return Offset{0.0f, 0.0f};
    const float below = at.down / chin;
    const float whole = kWhole * width.Half(from_middle, at.down);
    const float low = 1.0f - Smoothstep(0.85f, kBottom, below);
    const float left = (1.0f - slim * Smoothstep(0.04f, 0.5f, below) * low) *
                       (1.0f - cheekbone * Smoothstep(0.02f, 0.25f, below) * (1.0f - Smoothstep(0.3f, 0.68f, below))) *
                       (1.0f - jaw * Smoothstep(0.42f, 0.72f, below) * low);
    return Offset{kNarrow * (1.0f - left) * from_middle * Rest((way - whole) / (end - whole)), 0.0f};
  });
}

void AddEyes(const Face &face, float amount, WarpField &field) {
  constexpr Offset kRadius{0.46f, 0.40f};
  for (const FaceAnchor eye : {FaceAnchor::kLeftEye, FaceAnchor::kRightEye})
    AddScale(face, face.At(eye), kRadius, kEyes * amount, kEyes * amount, field);
}

// With what is above them, so that brows do not stay behind.
void AddEyeDistance(const Face &face, float amount, WarpField &field) {
  constexpr Offset kRadius{0.48f, 0.62f};
  constexpr float kAbove = 0.1f;
  AddShift(face, face.Beside(FaceAnchor::kLeftEye, 0.0f, -kAbove), kRadius, {-kEyesApart * amount, 0.0f}, field);
  AddShift(face, face.Beside(FaceAnchor::kRightEye, 0.0f, -kAbove), kRadius, {kEyesApart * amount, 0.0f}, field);
}

// Somewhat above their middle, so that the lids stay.
void AddBrows(const Face &face, float amount, WarpField &field) {
  constexpr Offset kRadius{0.50f, 0.36f};
  for (const FaceAnchor brow : {FaceAnchor::kLeftBrow, FaceAnchor::kRightBrow})
    AddShift(face, face.Beside(brow, 0.0f, -0.10f), kRadius, {0.0f, -kBrows * amount}, field);
}

void AddForehead(const Face &face, float amount, WarpField &field) {
  AddShift(face, face.Beside(FaceAnchor::kForehead, 0.0f, -0.25f), {0.95f, 0.55f}, {0.0f, -kForehead * amount}, field);
}

void AddNose(const Face &face, float amount, WarpField &field) {
  const FramePoint &tip = face.At(FaceAnchor::kNose);
  AddScale(face, tip, {0.62f, 0.75f}, -kNose * amount, 0.0f, field);
}

void AddChin(const Face &face, float amount, WarpField &field) {
  AddShift(face, face.At(FaceAnchor::kChin), {0.75f, 0.95f}, {0.0f, kChin * amount}, field);
}

float MouthHalf(const Face &face) {
  return Distance(face.At(FaceAnchor::kMouthLeft), face.At(FaceAnchor::kMouthRight)) / 2.0f / face.eye_distance;
}

void AddMouth(const Face &face, float amount, WarpField &field) {
  const float radius = std::clamp(1.5f * MouthHalf(face), 0.4f, 1.1f);
  AddScale(face, face.At(FaceAnchor::kMouth), {radius, 0.75f * radius}, kMouth * amount, kMouth * amount, field);
}

// Away from the line between the lips, which stays, as does what is seen of an open mouth.
void AddLips(const Face &face, float amount, WarpField &field) {
  const FramePoint &center = face.At(FaceAnchor::kMouth);
  const float half = std::clamp(MouthHalf(face), 0.2f, 0.8f);
  const auto height = [&](FaceAnchor anchor) { return InAxes(face, center, face.At(anchor)).down; };
  const float corners = (height(FaceAnchor::kMouthLeft) + height(FaceAnchor::kMouthRight)) / 2.0f;
  const float upper = height(FaceAnchor::kUpperLipInner);
  const float lower = std::max(height(FaceAnchor::kLowerLipInner), upper);
  const float outermost = std::max(height(FaceAnchor::kLowerLip), -height(FaceAnchor::kUpperLip));
  const Ellipse ellipse(face, center, {1.25f * half, std::clamp(outermost + 0.28f, 0.3f, 0.9f)});
  AddAround(face, center, ellipse.Reach(), field, [&](Offset at) {
    // A smile's corners lie above its middle.
    const float aside = std::min(at.right * at.right / (half * half), 1.0f);
    const float top = upper + (corners - upper) * aside;
    const float bottom = lower + (corners - lower) * aside;
    const float from_line = at.down < top ? at.down - top : std::max(at.down - bottom, 0.0f);
    return Offset{0.0f, -kLips * amount * from_line * ellipse.FadeAt(at)};
  });
}

}  // namespace

bool AnyDeform(const DeformValues &values) {
  return std::any_of(values.begin(), values.end(), [](float value) { return value != 0.0f; });
}

void AddFaceWarps(const Face &face, const DeformValues &values, WarpField &field) {
  struct Part {
    int mode;
    void (*add)(const Face &, float, WarpField &);
  };
  // From what moves much to what moves little: each is given for the picture before those above it.
  constexpr Part kParts[] = {{kDeformForehead, AddForehead},       {kDeformChin, AddChin},
                             {kDeformEyeDistance, AddEyeDistance}, {kDeformBrowHeight, AddBrows},
                             {kDeformSlimNose, AddNose},           {kDeformMouthSize, AddMouth},
                             {kDeformLipFullness, AddLips},        {kDeformEyeSize, AddEyes}};
  AddNarrowing(face, values, field);
  for (const Part &part : kParts) {
    const float amount = values[static_cast<size_t>(part.mode)];
    if (amount != 0.0f) part.add(face, amount, field);
  }
}

}  // namespace lumivex
