// What each shape does to the places of a face.
#include "warp/face_warps.h"

#include <gtest/gtest.h>

#include <random>

#include "fixtures/lumivex/made_faces.h"
#include "tessera/point_layout.h"
#include "warp/body_warps.h"

namespace lumivex_test {
namespace {

using lumivex::DeformValues;
using lumivex::Face;
using lumivex::FaceAnchor;
using lumivex::FramePoint;
using lumivex::WarpField;

constexpr int kWidth = 480;
constexpr int kHeight = 480;

DeformValues Only(int mode, float value) {
  DeformValues values = {};
  values[static_cast<size_t>(mode)] = value;
  return values;
}

DeformValues Everything(bool most) {
  DeformValues values;
  for (const auto &info : lumivex::kDeformModes)
    values[static_cast<size_t>(info.mode)] = most ? info.maximum : info.minimum;
  return values;
}

WarpField FieldOf(const Face &face, const DeformValues &values) {
  WarpField field;
  field.Begin(kWidth, kHeight);
  lumivex::AddFaceWarps(face, values, field);
  field.End();
  return field;
}

// The smallest part of a pixel's area that one is made from. Within a cell the area changes along straight lines, so
// its corners tell all.
float LeastArea(const WarpField &field) {
  constexpr float kStep = WarpField::kStep;
  float least = 1.0f;
  for (int row = 0; row + 1 < field.Rows(); ++row) {
    for (int column = 0; column + 1 < field.Columns(); ++column) {
      const FramePoint *upper = field.Row(row) + column;
      const FramePoint *lower = field.Row(row + 1) + column;
      for (const auto *across : {upper, lower}) {
        for (const int side : {0, 1}) {
          const float xx = kStep + across[1].x - across[0].x;
          const float xy = across[1].y - across[0].y;
          const float yx = lower[side].x - upper[side].x;
          const float yy = kStep + lower[side].y - upper[side].y;
          least = std::min(least, (xx * yy - xy * yx) / (kStep * kStep));
        }
      }
    }
  }
  return least;
}

std::vector<FaceShape> SomeFaces() {
  std::vector<FaceShape> shapes(8);
  shapes[1].roll = 0.5f;
  shapes[2].aside = 0.8f;
  shapes[3].aside = -0.8f;
  shapes[4].eye_distance = 22;
  shapes[5].eye_distance = 110;
  shapes[6].mouth = 0.35f;
  shapes[7].eyes = {30, 60};
  return shapes;
}

TEST(FaceWarps, OfOneValueFoldNowhere) {
  for (const FaceShape &shape : SomeFaces()) {
    const Face face = MakeFace(shape);
    for (const auto &info : lumivex::kDeformModes) {
      for (const float value : {info.minimum, info.maximum})
        EXPECT_GT(LeastArea(FieldOf(face, Only(info.mode, value))), 0.2f) << info.name << ' ' << value;
    }
  }
}

TEST(FaceWarps, OfAllValuesAtOnceFoldNowhere) {
  std::mt19937 random(7);
  for (const FaceShape &shape : SomeFaces()) {
    const Face face = MakeFace(shape);
    EXPECT_GT(LeastArea(FieldOf(face, Everything(true))), 0.05f);
    EXPECT_GT(LeastArea(FieldOf(face, Everything(false))), 0.05f);
    for (int i = 0; i < 4; ++i) {
      DeformValues values;
      for (const auto &info : lumivex::kDeformModes)
        values[static_cast<size_t>(info.mode)] = random() % 2 ? info.maximum : info.minimum;
      EXPECT_GT(LeastArea(FieldOf(face, values)), 0.05f) << testing::PrintToString(values);
    }
  }
}

TEST(FaceWarps, WithABodySlimmedFoldNowhere) {
  lumivex::SlimmingValues slimming;
  slimming.fill(1.0f);
  FaceShape shape;
  shape.eyes = {240, 90};
  shape.eye_distance = 26;
  const lumivex::Faces faces = {MakeFace(shape)};
  WarpField field;
  field.Begin(kWidth, kHeight);
  lumivex::AddBodyWarps(faces, {}, kWidth, kHeight, slimming, std::nullopt, field);
  lumivex::AddFaceWarps(faces[0], Everything(true), field);
  field.End();
  EXPECT_GT(LeastArea(field), 0.05f);
}

TEST(FaceWarps, LeaveStraightWhatStandsBesideTheFace) {
  for (const float aside : {0.0f, 0.8f, -0.8f}) {
    FaceShape shape;
    shape.aside = aside;
    const Face face = MakeFace(shape);
    float left = kWidth;
    float right = 0;
    for (size_t i = tessera::kContour.first; i <= tessera::kContour.last; ++i) {
      left = std::min(left, face.points[i].x);
      right = std::max(right, face.points[i].x);
    }
    const float beside = 0.05f * (right - left);
    std::vector<DeformValues> all = {Everything(true), Everything(false)};
    for (const auto &info : lumivex::kDeformModes) all.push_back(Only(info.mode, info.maximum));
    for (const DeformValues &values : all) {
      const WarpField field = FieldOf(face, values);
      for (const float line : {left - beside, right + beside}) {
        for (float y = 0; y < kHeight; y += 4) {
          const FramePoint moved = field.Moved({line, y});
          ASSERT_LT(std::hypot(moved.x - line, moved.y - y), 1.0f) << y << ' ' << testing::PrintToString(values);
        }
      }
    }
  }
}

// A head that turns far has an eye and a brow close to its edge, and its far half is wide.
TEST(FaceWarps, LeaveStraightWhatStandsBesideALargeFaceThatTurnsFar) {
  constexpr float kEyes = 240.0f;
  for (const float aside : {1.0f, -1.0f}) {
    for (const float roll : {0.0f, 0.4f}) {
      FaceShape shape;
      shape.eyes = {960, 420};
      shape.eye_distance = kEyes;
      shape.aside = aside;
      shape.roll = roll;
      const Face face = MakeFace(shape);
      const auto to_right = [&](const FramePoint &point) {
        return (point.x - shape.eyes.x) * face.right.x + (point.y - shape.eyes.y) * face.right.y;
      };
      float left = 0;
      float right = 0;
      for (size_t i = tessera::kContour.first; i <= tessera::kContour.last; ++i) {
        left = std::min(left, to_right(face.points[i]));
        right = std::max(right, to_right(face.points[i]));
      }
      const float beside = 0.05f * (right - left);
      std::vector<DeformValues> all = {Everything(true), Everything(false)};
      for (const auto &info : lumivex::kDeformModes) {
        all.push_back(Only(info.mode, info.maximum));
        all.push_back(Only(info.mode, info.minimum));
      }
      for (const DeformValues &values : all) {
        WarpField field;
        field.Begin(1920, 1080);
        lumivex::AddFaceWarps(face, values, field);
        field.End();
        for (const float line : {left - beside, right + beside}) {
          for (float down = -1.5f * kEyes; down < 2.5f * kEyes; down += 4) {
            const FramePoint place{shape.eyes.x + line * face.right.x + down * face.down.x,
                                   shape.eyes.y + line * face.right.y + down * face.down.y};
            const FramePoint moved = field.Moved(place);
            ASSERT_LT(std::hypot(moved.x - place.x, moved.y - place.y), 1.0f)
                << line << ' ' << down << ' ' << testing::PrintToString(values);
          }
        }
      }
    }
  }
}

// What the jaw hides of a neck begins in the middle of its edge: were the jaw drawn in alone, the neck would stick out.
TEST(FaceWarps, DrawTheNeckInWithTheJaw) {
  for (const float aside : {0.0f, 0.8f, -0.8f}) {
    FaceShape shape;
    shape.aside = aside;
    const Face face = MakeFace(shape);
    const float chin = face.points[tessera::kChin].y;
    for (const int mode : {lumivex::kDeformSlimFace, lumivex::kDeformJaw}) {
      const WarpField field = FieldOf(face, Only(mode, 1.0f));
      for (const size_t corner : {tessera::kContourLeft + 4, tessera::kContourRight - 4}) {
        // Straight down from the jaw's corner.
        const FramePoint &top = face.points[corner];
        float last = field.Moved(top).x;
        float steepest = 0.0f;
        for (float y = top.y + 1; y < chin + 0.3f * shape.eye_distance; y += 1) {
          const float here = field.Moved({top.x, y}).x;
          steepest = std::max(steepest, std::fabs(here - last));
          last = here;
        }
        EXPECT_LT(steepest, 0.3f) << "pixels aside for each one down; mode " << mode << ", " << aside;
      }
    }
  }
}

TEST(FaceWarps, NarrowToTheFacesOwnMiddleLineWhenTheHeadTurns) {
  FaceShape shape;
  shape.aside = 0.8f;
  const Face face = MakeFace(shape);
  const WarpField field = FieldOf(face, Only(lumivex::kDeformSlimFace, 1.0f));
  const FramePoint &base = face.points[tessera::kNoseRoot];
  const FramePoint &chin = face.points[tessera::kChin];
  const float part = 0.6f;
  const FramePoint middle{base.x + (chin.x - base.x) * part, base.y + (chin.y - base.y) * part};
  ASSERT_GT(std::fabs(middle.x - shape.eyes.x), 10.0f) << "the head is turned";
  EXPECT_NEAR(field.Moved(middle).x, middle.x, 0.3f);
  const FramePoint &left = face.points[tessera::kContourLeft + 4];
  const FramePoint &right = face.points[tessera::kContourRight - 4];
  const float from_left = field.Moved(left).x - left.x;
  const float from_right = right.x - field.Moved(right).x;
  EXPECT_GT(from_left, 1.0f);
  EXPECT_GT(from_right, 0.5f);
  EXPECT_NEAR(from_left / from_right, (middle.x - left.x) / (right.x - middle.x), 0.6f);
}

// What the moved place of a point tells, in eye distances: to the right and down.
struct Way {
  float right;
  float down;
};

Way WayOf(const FramePoint &from, const DeformValues &values) {
  const FaceShape shape;
  const FramePoint moved = FieldOf(MakeFace(shape), values).Moved(from);
  return {(moved.x - from.x) / shape.eye_distance, (moved.y - from.y) / shape.eye_distance};
}

TEST(FaceWarps, JawComesInWhereTheJawIs) {
  const Face face = MakeFace({});
  const DeformValues values = Only(lumivex::kDeformJaw, 1.0f);
  EXPECT_GT(WayOf(face.points[tessera::kContourLeft + 5], values).right, 0.03f);
  EXPECT_LT(WayOf(face.points[tessera::kContourRight - 5], values).right, -0.03f);
  EXPECT_NEAR(WayOf(face.points[tessera::kContourLeft + 1], values).right, 0.0f, 0.002f) << "not the cheekbones";
}

TEST(FaceWarps, CheekbonesComeInWhereTheyAre) {
  const Face face = MakeFace({});
  const DeformValues values = Only(lumivex::kDeformCheekbone, 1.0f);
  EXPECT_GT(WayOf(face.points[tessera::kContourLeft + 2], values).right, 0.03f);
  EXPECT_LT(WayOf(face.points[tessera::kContourRight - 2], values).right, -0.03f);
  EXPECT_NEAR(WayOf(face.points[tessera::kContourLeft + 6], values).right, 0.0f, 0.002f) << "not the jaw";
}

TEST(FaceWarps, ForeheadGoesBothWaysAndLeavesTheEyes) {
  const Face face = MakeFace({});
  const FramePoint hairline = face.Beside(FaceAnchor::kForehead, 0.0f, -0.3f);
  EXPECT_LT(WayOf(hairline, Only(lumivex::kDeformForehead, 1.0f)).down, -0.08f);
  EXPECT_GT(WayOf(hairline, Only(lumivex::kDeformForehead, -1.0f)).down, 0.08f);
  EXPECT_NEAR(WayOf(face.At(FaceAnchor::kLeftEye), Only(lumivex::kDeformForehead, 1.0f)).down, 0.0f, 0.002f);
}

TEST(FaceWarps, EyesGoApartAndTogether) {
  const Face face = MakeFace({});
  const FramePoint &left = face.At(FaceAnchor::kLeftEye);
  const FramePoint &right = face.At(FaceAnchor::kRightEye);
  EXPECT_LT(WayOf(left, Only(lumivex::kDeformEyeDistance, 1.0f)).right, -0.04f);
  EXPECT_GT(WayOf(right, Only(lumivex::kDeformEyeDistance, 1.0f)).right, 0.04f);
  EXPECT_GT(WayOf(left, Only(lumivex::kDeformEyeDistance, -1.0f)).right, 0.04f);
  EXPECT_NEAR(WayOf(face.At(FaceAnchor::kNose), Only(lumivex::kDeformEyeDistance, 1.0f)).right, 0.0f, 0.002f);
}

TEST(FaceWarps, BrowsGoUpAndDownWithoutTheLids) {
  const Face face = MakeFace({});
  const FramePoint &brow = face.At(FaceAnchor::kLeftBrow);
  EXPECT_LT(WayOf(brow, Only(lumivex::kDeformBrowHeight, 1.0f)).down, -0.045f);
  EXPECT_GT(WayOf(brow, Only(lumivex::kDeformBrowHeight, -1.0f)).down, 0.045f);
  const FramePoint &lid = face.points[tessera::kLeftUpperLid.first + 3];
  EXPECT_NEAR(WayOf(lid, Only(lumivex::kDeformBrowHeight, 1.0f)).down, 0.0f, 0.01f);
}

TEST(FaceWarps, LipsSwellAwayFromTheLineBetweenThem) {
  const Face face = MakeFace({});
  const DeformValues values = Only(lumivex::kDeformLipFullness, 1.0f);
  EXPECT_LT(WayOf(face.At(FaceAnchor::kUpperLip), values).down, -0.015f);
  EXPECT_GT(WayOf(face.At(FaceAnchor::kLowerLip), values).down, 0.02f);
  EXPECT_NEAR(WayOf(face.At(FaceAnchor::kUpperLipInner), values).down, 0.0f, 0.01f);
  EXPECT_NEAR(WayOf(face.At(FaceAnchor::kMouthLeft), values).right, 0.0f, 0.001f) << "no wider mouth";
  EXPECT_LT(WayOf(face.At(FaceAnchor::kLowerLip), Only(lumivex::kDeformLipFullness, -1.0f)).down, -0.015f);
}

TEST(FaceWarps, FullerLipsLeaveAnOpenMouthAsOpenAsItWas) {
  FaceShape shape;
  shape.mouth = 0.3f;
  const Face face = MakeFace(shape);
  const WarpField field = FieldOf(face, Only(lumivex::kDeformLipFullness, 1.0f));
  const FramePoint &upper = face.At(FaceAnchor::kUpperLipInner);
  const FramePoint &lower = face.At(FaceAnchor::kLowerLipInner);
  EXPECT_NEAR(field.Moved(lower).y - field.Moved(upper).y, lower.y - upper.y, 0.8f);
  EXPECT_GT(field.Moved(face.At(FaceAnchor::kLowerLip)).y, face.At(FaceAnchor::kLowerLip).y + 1.0f);
}

}  // namespace
}  // namespace lumivex_test
