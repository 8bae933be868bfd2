// Layers on faces: where they lie, how large and how turned.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "files/loader.h"
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
  effect->pictures = {{{std::make_shared<const lumivex::Picture>(red)}, {}}};
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
  lumivex::Loader loader;
  lumivex::EffectPlayer player(NoseEffect(), loader);
  Picture picture(128, 64, kGrey);
  Draw(player, picture, {MakeFace({32, 32}), MakeFace({96, 32})});
  EXPECT_TRUE(IsRed(picture, 32, 32));
  EXPECT_TRUE(IsRed(picture, 96, 32));
  EXPECT_TRUE(IsRed(picture, 40, 40));
  EXPECT_FALSE(IsRed(picture, 44, 32));
  EXPECT_FALSE(IsRed(picture, 64, 32));
}

TEST(EffectOnFace, CoversTheTurnedSquare) {
  lumivex::Loader loader;
  lumivex::EffectPlayer player(NoseEffect(), loader);
  Picture picture(64, 64, kGrey);
  Draw(player, picture, {MakeFace({32, 32}, std::acos(0.0f) / 2)});
  EXPECT_TRUE(IsRed(picture, 32, 20)) << "the corner points up now";
  EXPECT_FALSE(IsRed(picture, 23, 23)) << "where the corner was";
}

TEST(EffectOnFace, AtTheEdgeAndOutsideStaysWithinThePlanes) {
  lumivex::Loader loader;
  lumivex::EffectPlayer player(NoseEffect(), loader);
  Picture picture(63, 47, kGrey, 5);
  for (const float x : {-1e6f, -12.0f, 0.0f, 62.9f, 75.0f, 1e6f}) {
    for (const float y : {-1e6f, -12.0f, 0.0f, 46.9f, 1e6f}) Draw(player, picture, {MakeFace({x, y}, 0.4f)});
  }
  EXPECT_TRUE(IsRed(picture, 0, 0));
  EXPECT_TRUE(IsRed(picture, 62, 46));
}

// ---- Triggers ----

constexpr lumivex::Expression kCalm = {1.0f, {0.0f, 1.0f}, {1.0f, 1.0f}, {1.0f, 1.0f}};

Face WithMouth(Face face, float open, float confidence = 1.0f) {
  face.expression = kCalm;
  face.expression.mouth = {open, confidence};
  return face;
}

Face WithLids(Face face, float left, float right, float confidence = 1.0f) {
  face.expression = kCalm;
  face.expression.left_eye = {left, confidence};
  face.expression.right_eye = {right, confidence};
  return face;
}

// One face at 32, 32, and for the tests with two another one at 96, 32; 40 ms from frame to frame.
class EffectTrigger : public ::testing::Test {
 protected:
  void Use(lumivex::FaceTrigger trigger, bool on_screen = false) {
    auto effect = std::make_shared<lumivex::Effect>(*NoseEffect());
    lumivex::LayerPlan &layer = effect->plan.layers[0];
    layer.trigger = trigger;
    if (trigger == lumivex::FaceTrigger::kBlink) layer.end_ms = lumivex::kBlinkShownMs;
    if (on_screen) layer.anchor = {lumivex::ScreenAnchor::kScreen, std::nullopt, false};
    player_ = std::make_unique<lumivex::EffectPlayer>(effect, loader_);
  }

  // What the frame with those faces shows on its left and on its right.
  std::pair<bool, bool> Shown(const lumivex::Faces &faces, int64_t milliseconds = 40) {
    player_->Advance(milliseconds * 1000000, outbox_);
    Picture picture(128, 64, kGrey);
    Draw(*player_, picture, faces);
    return {IsRed(picture, 32, 32), IsRed(picture, 96, 32)};
  }
  bool ShownOn(const Face &face, int64_t milliseconds = 40) { return Shown({face}, milliseconds).first; }

  // The layer's after so many frames with those lids and one with open ones.
  bool ShownAfterLids(float left, float right, int frames, float confidence = 1.0f) {
    ShownOn(WithLids(left_, 1.0f, 1.0f));
    for (int i = 0; i < frames; ++i) EXPECT_FALSE(ShownOn(WithLids(left_, left, right, confidence)));
    return ShownOn(WithLids(left_, 1.0f, 1.0f));
  }

  const Face left_ = MakeFace({32, 32});
  const Face right_ = MakeFace({96, 32});
  lumivex::Loader loader_;
  std::unique_ptr<lumivex::EffectPlayer> player_;
  lumivex::EffectOutbox outbox_;
};

TEST_F(EffectTrigger, OfAMouthShowsTheLayerWhileItIsOpen) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.0f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.4f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.4f), 5000));
  EXPECT_EQ(player_->ShownLayers(), std::vector<std::string>{"0"});
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.0f)));
  EXPECT_TRUE(player_->ShownLayers().empty());
}

TEST_F(EffectTrigger, OfAMouthNeedsMoreToOpenThanToStayOpen) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.24f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.30f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.24f)));
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.18f)));
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.24f)));
}

TEST_F(EffectTrigger, OfEachFaceIsItsOwn) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  EXPECT_EQ(Shown({WithMouth(left_, 0.4f), WithMouth(right_, 0.0f)}), std::pair(true, false));
  EXPECT_EQ(Shown({WithMouth(right_, 0.24f), WithMouth(left_, 0.24f)}), std::pair(true, false)) << "in another order";
  EXPECT_EQ(Shown({WithMouth(right_, 0.24f)}), std::pair(false, false));
}

TEST_F(EffectTrigger, StaysWithAFaceThatMoves) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  for (const float x : {32.0f, 45.0f, 58.0f, 71.0f, 84.0f}) Shown({WithMouth(MakeFace({x, 32}), 0.4f)});
  EXPECT_TRUE(Shown({WithMouth(right_, 0.24f)}).second);
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.24f))) << "somebody else";
}

TEST_F(EffectTrigger, TakesNothingForSureThatIsNot) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.4f, 0.45f)));
  Face lost = WithMouth(left_, 0.4f);
  lost.expression.confidence = 0.3f;
  EXPECT_FALSE(ShownOn(lost));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.4f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.0f, 0.4f), 200)) << "not surely closed";
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.4f, 0.4f), 210)) << "nothing sure for 410 ms";
}

TEST_F(EffectTrigger, OfABlinkShowsTheLayerFromItsEndForASecond) {
  Use(lumivex::FaceTrigger::kBlink);
  EXPECT_TRUE(ShownAfterLids(0.1f, 0.2f, 3));
  for (int milliseconds = 40; milliseconds < 1000; milliseconds += 40) EXPECT_TRUE(ShownOn(left_)) << milliseconds;
  EXPECT_FALSE(ShownOn(left_));
  EXPECT_TRUE(ShownAfterLids(0.1f, 0.2f, 3)) << "again";
}

TEST_F(EffectTrigger, OfABlinkTakesBothEyesSurelyAndShortly) {
  Use(lumivex::FaceTrigger::kBlink);
  EXPECT_FALSE(ShownAfterLids(0.1f, 1.0f, 3)) << "a wink";
  EXPECT_FALSE(ShownAfterLids(0.5f, 0.5f, 3)) << "eyes half shut";
  EXPECT_FALSE(ShownAfterLids(0.1f, 0.1f, 3, 0.4f)) << "not sure";
  EXPECT_FALSE(ShownAfterLids(0.1f, 0.1f, 17)) << "eyes shut for 680 ms";
  EXPECT_TRUE(ShownAfterLids(0.1f, 0.1f, 1));
}

TEST_F(EffectTrigger, OnTheScreenIsAnybodys) {
  Use(lumivex::FaceTrigger::kMouthOpen, true);
  EXPECT_TRUE(player_->NeedsFaces());
  EXPECT_FALSE(Shown({WithMouth(left_, 0.0f), WithMouth(right_, 0.0f)}).first);
  EXPECT_TRUE(Shown({WithMouth(left_, 0.0f), WithMouth(right_, 0.4f)}).first);
  EXPECT_TRUE(Shown({}, 200).first) << "a face that is not found for a moment";
  EXPECT_FALSE(Shown({}, 210).first);
}

TEST_F(EffectTrigger, BeginsTheLayersTimes) {
  Use(lumivex::FaceTrigger::kMouthOpen);
  auto effect = std::make_shared<lumivex::Effect>(*NoseEffect());
  effect->plan.layers[0].trigger = lumivex::FaceTrigger::kMouthOpen;
  effect->plan.layers[0].start_ms = 100;
  effect->plan.layers[0].end_ms = 200;
  player_ = std::make_unique<lumivex::EffectPlayer>(effect, loader_);
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.0f), 1000));
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.4f)));
  EXPECT_TRUE(ShownOn(WithMouth(left_, 0.4f), 120));
  EXPECT_FALSE(ShownOn(WithMouth(left_, 0.4f), 120));
}

TEST(EffectOnFace, AsksForFacesOnlyWhileALayerIsShownOnThem) {
  auto effect = std::make_shared<lumivex::Effect>(*NoseEffect());
  effect->plan.layers[0].start_ms = 100;
  effect->plan.layers[0].end_ms = 200;
  lumivex::Loader loader;
  lumivex::EffectPlayer player(effect, loader);
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
