// What the retouching of known faces does to drawn ones, whose every flaw is known.
#include <gtest/gtest.h>

#include <tessera/point_layout.h>

#include <cmath>
#include <functional>
#include <opencv2/core.hpp>
#include <vector>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 360;
constexpr float kEyes = 80.0F;
constexpr LXBeautyType kAll[] = {lumivex::kBeautyEvenTone,   lumivex::kBeautySpots,      lumivex::kBeautyDarkCircles,
                                 lumivex::kBeautySmileLines, lumivex::kBeautyBrightEyes, lumivex::kBeautyWhiteTeeth};

class Retouch : public WithScriptedRunner {
 protected:
  Retouch() {
    Script().faces = {face_};
    points_ = PointsOf(face_);
  }

  Picture With(const Picture &before, LXBeautyType type) {
    const auto engine = MakeEngine(kWidth, kHeight);
    engine->setBeautyIntensityWithType(type, 1.0F);
    Picture after = before;
    Process(*engine, after);
    return after;
  }

  // A soft dent of that depth, and so many codes redder.
  static void Dent(Picture &picture, cv::Point2f at, float radius_x, float radius_y, float depth, float red = 0) {
    const Picture before = picture;
    const auto part = [&](int x, int y) {
      const float dx = (static_cast<float>(x) - at.x) / radius_x;
      const float dy = (static_cast<float>(y) - at.y) / radius_y;
      return std::exp(-0.5F * (dx * dx + dy * dy));
    };
    picture.FillLuma([&](int x, int y) { return cvRound(static_cast<float>(before.Luma(x, y)) - depth * part(x, y)); });
    picture.FillChroma([&](int x, int y) {
      return std::pair<int, int>(before.U(x, y), cvRound(static_cast<float>(before.V(x, y)) + red * part(x, y)));
    });
  }

  cv::Point2f Beside(cv::Point2f place) const { return face_.eyes + kEyes * place; }

  const ScriptedFace face_{{240, 150}, kEyes};
  std::vector<cv::Point2f> points_;
  Picture plain_{kWidth, kHeight, kSkin};
};

TEST_F(Retouch, SpotsFadeToLessThanHalf) {
  Picture spotted = plain_;
  const cv::Point2f cheek = Beside({-0.5F, 0.62F});
  Dent(spotted, cheek, 3, 3, 24);
  const cv::Point at = cheek;
  const Picture after = With(spotted, lumivex::kBeautySpots);
  EXPECT_LT(kSkin.y - after.Luma(at.x, at.y), (kSkin.y - spotted.Luma(at.x, at.y)) / 2);
}

TEST_F(Retouch, RednessOfSpotsFadesWithThem) {
  Picture spotted = plain_;
  const cv::Point2f cheek = Beside({0.5F, 0.62F});
  Dent(spotted, cheek, 4, 4, 0, 12);
  const cv::Point at = cheek;
  const Picture after = With(spotted, lumivex::kBeautySpots);
  EXPECT_LT(after.V(at.x, at.y) - kSkin.v, (spotted.V(at.x, at.y) - kSkin.v) * 6 / 10);
}

TEST_F(Retouch, TextureStaysWhereSpotsFade) {
  Picture pores = plain_;
  pores.FillLuma([](int x, int y) { return kSkin.y + Noise(x, y, 3); });
  const Picture after = With(pores, lumivex::kBeautySpots);
  const cv::Point cheek = Beside({-0.5F, 0.62F});
  const double had = pores.LumaDeviation(cheek.x - 10, cheek.y - 10, cheek.x + 10, cheek.y + 10);
  const double has = after.LumaDeviation(cheek.x - 10, cheek.y - 10, cheek.x + 10, cheek.y + 10);
  EXPECT_GT(has, 0.85 * had);
}

TEST_F(Retouch, SkinBelowTheEyesIsLiftedTowardsTheCheeks) {
  Picture tired = plain_;
  for (const size_t pupil : {tessera::kLeftPupil, tessera::kRightPupil})
    Dent(tired, points_[pupil] + cv::Point2f(0, 0.26F * kEyes), 14, 7, 22);
  const Picture after = With(tired, lumivex::kBeautyDarkCircles);
  for (const size_t pupil : {tessera::kLeftPupil, tessera::kRightPupil}) {
    const cv::Point at = points_[pupil] + cv::Point2f(0, 0.26F * kEyes);
    EXPECT_LT(kSkin.y - after.Luma(at.x, at.y), (kSkin.y - tired.Luma(at.x, at.y)) * 6 / 10);
  }
}

TEST_F(Retouch, LinesBesideTheMouthGetWeaker) {
  Picture lined = plain_;
  const cv::Point2f left = points_[tessera::kMouthLeftCorner] + cv::Point2f(-0.15F * kEyes, -0.03F * kEyes);
  const cv::Point2f right = points_[tessera::kMouthRightCorner] + cv::Point2f(0.15F * kEyes, -0.03F * kEyes);
  Dent(lined, left, 2.5F, 12, 20);
  Dent(lined, right, 2.5F, 12, 20);
  const Picture after = With(lined, lumivex::kBeautySmileLines);
  for (const cv::Point at : {cv::Point(left), cv::Point(right)})
    EXPECT_LT(kSkin.y - after.Luma(at.x, at.y), (kSkin.y - lined.Luma(at.x, at.y)) * 65 / 100);
}

TEST_F(Retouch, BlotchesTakeTheColourOfTheFace) {
  Picture blotched = plain_;
  const cv::Point2f cheek = Beside({-0.5F, 0.7F});
  Dent(blotched, cheek, 14, 14, 0, 8);
  const cv::Point at = cheek;
  const Picture after = With(blotched, lumivex::kBeautyEvenTone);
  EXPECT_LT(after.V(at.x, at.y) - kSkin.v, (blotched.V(at.x, at.y) - kSkin.v) * 7 / 10);
}

// White of the eye on both sides of a dark iris.
TEST_F(Retouch, TheWhiteOfTheEyeGetsLighterAndThePupilStays) {
  Picture picture = plain_;
  const cv::Point pupil = points_[tessera::kLeftPupil];
  const int half = cvRound(0.12F * kEyes);
  picture.FillRect((pupil.x - 2 * half) & ~1, (pupil.y - half) & ~1, (pupil.x + 2 * half) & ~1, (pupil.y + half) & ~1,
                   {150, 124, 134});
  picture.FillRect((pupil.x - 3) & ~1, (pupil.y - half) & ~1, (pupil.x + 5) & ~1, (pupil.y + half) & ~1,
                   {30, 128, 128});
  const Picture after = With(picture, lumivex::kBeautyBrightEyes);
  EXPECT_LE(std::abs(after.Luma(pupil.x, pupil.y) - 30), 1);
  EXPECT_GT(after.Luma(pupil.x - 9, pupil.y), 150 + 12);
  EXPECT_LT(after.V(pupil.x - 9, pupil.y), 134) << "less red";
  EXPECT_EQ(after.Luma(pupil.x, pupil.y + 20), kSkin.y) << "skin beside the eye";
}

class RetouchOpenMouth : public Retouch {
 protected:
  RetouchOpenMouth() {
    Open(0.25F);
    mouth_ = (points_[tessera::kUpperLipMiddle] + points_[tessera::kLowerLipMiddle]) * 0.5F;
  }

  // The lips so many eye distances apart.
  void Open(float by) {
    points_ = PointsOf(face_);
    for (size_t i = tessera::kLowerLipInner.first; i <= tessera::kLowerLipInner.last; ++i) points_[i].y += by * kEyes;
    for (size_t i = tessera::kLowerLipOuter.first; i <= tessera::kLowerLipOuter.last; ++i) points_[i].y += by * kEyes;
    Script().faces.clear();
    Script().raw_faces = {points_};
  }

  void FillMouth(Picture &picture, Codes codes) const {
    picture.FillRect((mouth_.x - 16) & ~1, (mouth_.y - 8) & ~1, (mouth_.x + 16) & ~1, (mouth_.y + 8) & ~1, codes);
  }

  cv::Point mouth_;
};

TEST_F(RetouchOpenMouth, TeethGetWhiterAndLessYellow) {
  Picture picture = plain_;
  FillMouth(picture, {140, 112, 136});
  const Picture after = With(picture, lumivex::kBeautyWhiteTeeth);
  EXPECT_GT(after.Luma(mouth_.x, mouth_.y), 140 + 12);
  EXPECT_GT(after.U(mouth_.x, mouth_.y), 112 + 8);
}

TEST_F(RetouchOpenMouth, TongueAndTheDarkBehindStay) {
  for (const Codes &codes : {Codes{110, 118, 158}, Codes{35, 126, 134}}) {
    Picture picture = plain_;
    FillMouth(picture, codes);
    const Picture after = With(picture, lumivex::kBeautyWhiteTeeth);
    EXPECT_NEAR(after.Luma(mouth_.x, mouth_.y), codes.y, 1);
    EXPECT_NEAR(after.V(mouth_.x, mouth_.y), codes.v, 1);
  }
}

TEST_F(RetouchOpenMouth, WhatIsLightOnClosedLipsIsNoTeeth) {
  Open(0.0F);
  Picture picture = plain_;
  FillMouth(picture, {140, 112, 136});
  EXPECT_TRUE(With(picture, lumivex::kBeautyWhiteTeeth) == picture);
}

TEST_F(Retouch, NothingChangesWithoutAFace) {
  Script().faces.clear();
  Picture picture = plain_;
  Dent(picture, Beside({-0.5F, 0.62F}), 3, 3, 24, 10);
  for (const LXBeautyType type : kAll) EXPECT_TRUE(With(picture, type) == picture) << static_cast<int>(type);
}

TEST_F(Retouch, SkinOutsideTheFaceStays) {
  Picture picture = plain_;
  picture.FillLuma([](int x, int y) { return kSkin.y + Noise(x, y, 6); });
  for (const LXBeautyType type : kAll) {
    const Picture after = With(picture, type);
    for (int y = 0; y < kHeight; ++y) {
      for (const int x : {10, 60, kWidth - 60, kWidth - 10}) ASSERT_EQ(after.Luma(x, y), picture.Luma(x, y));
    }
  }
}

TEST_F(Retouch, SmoothingLeavesAWallOfTheSkinsColourBesideTheHead) {
  Picture picture = plain_;
  picture.FillLuma([](int x, int y) { return kSkin.y + Noise(x, y, 6); });
  const Picture after = With(picture, lumivex::kBeautySmooth);
  const cv::Point cheek = Beside({-0.5F, 0.62F});
  EXPECT_LT(after.LumaDeviation(cheek.x - 10, cheek.y - 10, cheek.x + 10, cheek.y + 10),
            0.7 * picture.LumaDeviation(cheek.x - 10, cheek.y - 10, cheek.x + 10, cheek.y + 10));
  for (int y = 0; y < kHeight; ++y) {
    for (const int x : {10, 60, kWidth - 60, kWidth - 10}) ASSERT_EQ(after.Luma(x, y), picture.Luma(x, y)) << x;
  }
}

TEST_F(Retouch, NaturalityWeakensIt) {
  Picture spotted = plain_;
  const cv::Point2f cheek = Beside({-0.5F, 0.62F});
  Dent(spotted, cheek, 3, 3, 24);
  const cv::Point at = cheek;
  const Picture whole = With(spotted, lumivex::kBeautySpots);
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBeautyIntensityWithType(lumivex::kBeautySpots, 1.0F);
  engine->setNaturalityIntensity(1.0F);
  Picture natural = spotted;
  Process(*engine, natural);
  EXPECT_LT(natural.Luma(at.x, at.y), whole.Luma(at.x, at.y) - 4);
  EXPECT_GT(natural.Luma(at.x, at.y), spotted.Luma(at.x, at.y));
}

// ---- The key light on faces ----

class FaceLight : public WithScriptedRunner {
 protected:
  FaceLight() { engine_->setBeautyIntensityWithType(lumivex::kBeautyRelight, 1.0F); }

  // Levels added to a grey picture.
  Picture Lit() {
    Picture picture(kWidth, kHeight, kGrey);
    Process(*engine_, picture);
    return picture;
  }
  static int Added(const Picture &lit, cv::Point2f at) { return lit.Luma(cvRound(at.x), cvRound(at.y)) - kGrey.y; }

  const std::shared_ptr<LX::LumivexSync> engine_ = MakeEngine(kWidth, kHeight);
};

TEST_F(FaceLight, FallsOnTheFaceFromTheUpperLeftWhereverItIs) {
  for (const cv::Point2f eyes : {cv::Point2f(140, 120), cv::Point2f(340, 230)}) {
    const auto engine = MakeEngine(kWidth, kHeight);
    engine->setBeautyIntensityWithType(lumivex::kBeautyRelight, 1.0F);
    Script().faces = {{eyes, 60}};
    Picture lit(kWidth, kHeight, kGrey);
    Process(*engine, lit);
    const int bright = Added(lit, eyes + cv::Point2f(-35, -10));
    EXPECT_GT(bright, 25);
    EXPECT_GT(bright, Added(lit, eyes + cv::Point2f(40, 40)) + 10);
    EXPECT_EQ(Added(lit, {470, 10}), 0) << "beside the face there is none";
  }
}

TEST_F(FaceLight, ComesFromTheSameSideOnATiltedHead) {
  Script().faces = {{{240, 150}, 60, 0.5F}};
  const Picture lit = Lit();
  EXPECT_GT(Added(lit, {205, 145}), Added(lit, {265, 200}) + 10);
}

TEST_F(FaceLight, ChangesSlowlyOverThePicture) {
  Script().faces = {{{240, 150}, 80}};
  const Picture lit = Lit();
  for (int y = 0; y < kHeight - 1; ++y) {
    for (int x = 0; x < kWidth - 1; ++x) {
      ASSERT_LE(std::abs(lit.Luma(x + 1, y) - lit.Luma(x, y)), 2) << x << ", " << y;
      ASSERT_LE(std::abs(lit.Luma(x, y + 1) - lit.Luma(x, y)), 2) << x << ", " << y;
    }
  }
}

TEST_F(FaceLight, FadesIntoTheLightOfTheWholePictureWhenTheFaceGoes) {
  Script().faces = {{{240, 150}, 80}};
  Picture before = Lit();
  Script().faces.clear();
  for (int i = 0; i < 12; ++i) {
    const Picture after = Lit();
    for (int y = 0; y < kHeight; y += 7) {
      for (int x = 0; x < kWidth; x += 7) ASSERT_LE(std::abs(after.Luma(x, y) - before.Luma(x, y)), 7);
    }
    before = after;
  }
  const auto fresh = MakeEngine(kWidth, kHeight);
  fresh->setBeautyIntensityWithType(lumivex::kBeautyRelight, 1.0F);
  Picture plain(kWidth, kHeight, kGrey);
  Process(*fresh, plain);
  EXPECT_TRUE(before == plain);
}

}  // namespace
}  // namespace lumivex_test
