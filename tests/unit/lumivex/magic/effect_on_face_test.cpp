// Layers on faces: where they lie, how large and how turned.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "fixtures/lumivex/engine_fixture.h"
#include "magic/effect_player.h"
#include "magic/placement.h"
#include "pixels/nv12_view.h"

namespace lumivex_test {
namespace {

using lumivex::Face;
using lumivex::FaceAnchor;
using lumivex::FramePoint;

// Eyes around the middle, 20 pixels apart, turned clockwise; a mirrored picture has them the other way round.
Face MakeFace(FramePoint middle, float roll = 0.0f, bool mirrored = false) {
  Face face{};
  face.eye_distance = 20.0f;
  face.roll = roll;
  face.right = {std::cos(roll), std::sin(roll)};
  face.down = {-std::sin(roll), std::cos(roll)};
  if (mirrored) face.right = {-face.right.x, -face.right.y};
  for (FramePoint &anchor : face.anchors) anchor = middle;
  face.anchors[static_cast<size_t>(FaceAnchor::kLeftEye)] = {middle.x - 10 * face.right.x,
                                                             middle.y - 10 * face.right.y};
  face.anchors[static_cast<size_t>(FaceAnchor::kRightEye)] = {middle.x + 10 * face.right.x,
                                                              middle.y + 10 * face.right.y};
  return face;
}

lumivex::LayerPlan Layer(FaceAnchor anchor, float size, float right, float down) {
  lumivex::LayerPlan layer;
  layer.anchor.face = anchor;
  layer.size = size;
  layer.offset_x = right;
  layer.offset_y = down;
  return layer;
}

void ExpectNear(FramePoint point, float x, float y) {
  EXPECT_NEAR(point.x, x, 1e-3f);
  EXPECT_NEAR(point.y, y, 1e-3f);
}

TEST(EffectOnFace, GrowsWithTheDistanceOfTheEyes) {
  const auto place = PlaceOnFace(Layer(FaceAnchor::kForehead, 2.0f, 0.5f, -1.0f), 0.5f, MakeFace({100, 80}));
  ExpectNear(place.center, 110, 60);
  ExpectNear(place.across, 40, 0);
  ExpectNear(place.down, 0, 20);
}

TEST(EffectOnFace, TurnsWithTheFace) {
  const float quarter = std::acos(0.0f);
  const auto place = PlaceOnFace(Layer(FaceAnchor::kForehead, 2.0f, 0.5f, -1.0f), 0.5f, MakeFace({100, 80}, quarter));
  ExpectNear(place.center, 120, 90);
  ExpectNear(place.across, 0, 40);
  ExpectNear(place.down, -20, 0);
}

TEST(EffectOnFace, IsMirroredOnAMirroredPicture) {
  const auto place = PlaceOnFace(Layer(FaceAnchor::kNose, 1.0f, 0.5f, 0.0f), 1.0f, MakeFace({100, 80}, 0.0f, true));
  ExpectNear(place.center, 90, 80);
  ExpectNear(place.across, -20, 0);
}

TEST(EffectOnFace, LiesBetweenTheEyes) {
  auto layer = Layer(FaceAnchor::kLeftEye, 1.0f, 0.0f, 0.0f);
  layer.anchor.between_eyes = true;
  ExpectNear(PlaceOnFace(layer, 1.0f, MakeFace({100, 80}, 0.3f)).center, 100, 80);
}

// One red layer, one eye distance wide, on the nose.
std::shared_ptr<const lumivex::Effect> NoseEffect() {
  auto effect = std::make_shared<lumivex::Effect>();
  effect->plan.layers = {Layer(FaceAnchor::kNose, 1.0f, 0.0f, 0.0f)};
  const cv::Mat red(8, 8, CV_8UC4, cv::Scalar(0, 0, 255, 255));
  effect->pictures = {{std::make_shared<const lumivex::Picture>(red)}};
  return effect;
}

bool IsRed(const Picture &picture, int x, int y) {
  return picture.V(x, y) > 230;
}

void Draw(lumivex::EffectPlayer &player, Picture &picture, const lumivex::Faces &faces) {
  const auto frame = picture.Frame();
  lumivex::Nv12View view;
  view.y = frame->planes[0];
  view.uv = frame->planes[1];
  view.y_stride = frame->strides[0];
  view.uv_stride = frame->strides[1];
  view.width = picture.Width();
  view.height = picture.Height();
  view.chroma_width = (picture.Width() + 1) / 2;
  view.chroma_height = (picture.Height() + 1) / 2;
  const lumivex::YuvSpace space = lumivex::SpaceOf(0);
  player.Draw({view, space, {}, faces, nullptr, 1.0f}, {});
  EXPECT_TRUE(picture.MarginsUntouched());
}

TEST(EffectOnFace, IsDrawnOnEveryFace) {
  lumivex::EffectPlayer player(NoseEffect());
  Picture picture(128, 64, kGrey);
  Draw(player, picture, {MakeFace({32, 32}), MakeFace({96, 32})});
  EXPECT_TRUE(IsRed(picture, 32, 32));
  EXPECT_TRUE(IsRed(picture, 96, 32));
  EXPECT_TRUE(IsRed(picture, 40, 40));
  EXPECT_FALSE(IsRed(picture, 44, 32));
  EXPECT_FALSE(IsRed(picture, 64, 32));
}

TEST(EffectOnFace, CoversTheTurnedSquare) {
  lumivex::EffectPlayer player(NoseEffect());
  Picture picture(64, 64, kGrey);
  Draw(player, picture, {MakeFace({32, 32}, std::acos(0.0f) / 2)});
  EXPECT_TRUE(IsRed(picture, 32, 20)) << "the corner points up now";
  EXPECT_FALSE(IsRed(picture, 23, 23)) << "where the corner was";
}

TEST(EffectOnFace, AtTheEdgeAndOutsideStaysWithinThePlanes) {
  lumivex::EffectPlayer player(NoseEffect());
  Picture picture(63, 47, kGrey, 5);
  for (const float x : {-1e6f, -12.0f, 0.0f, 62.9f, 75.0f, 1e6f}) {
    for (const float y : {-1e6f, -12.0f, 0.0f, 46.9f, 1e6f}) Draw(player, picture, {MakeFace({x, y}, 0.4f)});
  }
  EXPECT_TRUE(IsRed(picture, 0, 0));
  EXPECT_TRUE(IsRed(picture, 62, 46));
}

TEST(EffectOnFace, AsksForFacesOnlyWhileALayerIsShownOnThem) {
  auto effect = std::make_shared<lumivex::Effect>(*NoseEffect());
  effect->plan.layers[0].start_ms = 100;
  effect->plan.layers[0].end_ms = 200;
  lumivex::EffectPlayer player(effect);
  lumivex::EffectOutbox outbox;
  EXPECT_FALSE(player.NeedsFaces());
  player.Advance(150000000, outbox);
  EXPECT_TRUE(player.NeedsFaces());
  player.SetState(lumivex::kEffectStateStopped);
  EXPECT_FALSE(player.NeedsFaces());
  player.SetState(lumivex::kEffectStatePlaying);
  player.Advance(250000000, outbox);
  EXPECT_FALSE(player.NeedsFaces());
}

}  // namespace
}  // namespace lumivex_test
