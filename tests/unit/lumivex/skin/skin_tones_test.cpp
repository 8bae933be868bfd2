// What smoothing does to a portrait in the ten tones of the Monk scale, with dark and red spots on it. The face's
// points are known, as a script gives them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/portrait/skin_tones.h"

namespace lumivex_test {
namespace {

using vanta_test::kMonkTones;
using vanta_test::kSkinTones;
using vanta_test::PortraitPicture;

constexpr int kWidth = 480;
constexpr int kHeight = 360;
constexpr float kEyes = 70.0F;
constexpr float kSpotSize = 0.035F;

Picture ToPicture(const cv::Mat &bgr) {
  cv::Mat i420;
  cv::cvtColor(bgr, i420, cv::COLOR_BGR2YUV_I420);
  Picture picture(bgr.cols, bgr.rows, kGrey);
  picture.FillLuma([&](int x, int y) { return i420.at<uint8_t>(y, x); });
  const uint8_t *u = i420.ptr(bgr.rows);
  const uint8_t *v = u + bgr.rows * bgr.cols / 4;
  picture.FillChroma([&](int x, int y) {
    const int at = y / 2 * (bgr.cols / 2) + x / 2;
    return std::pair<int, int>(u[at], v[at]);
  });
  return picture;
}

Picture Smoothed(const Picture &before, float smooth) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, smooth);
  Picture after = before;
  Process(*engine, after);
  return after;
}

struct Person {
  PortraitPicture plain;
  PortraitPicture spotted;
  std::vector<vanta_test::Spot> spots;
};

class SkinTones : public WithScriptedRunner {
 protected:
  Person Make(size_t tone) {
    static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
    vanta_test::PortraitSetup setup;
    setup.size = {kWidth, kHeight};
    setup.middle = {240, 150};
    setup.eye_distance = kEyes;
    Person person;
    person.plain = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, kMonkTones[tone]), setup);
    person.spotted = person.plain;
    person.spots = vanta_test::SpotsOn(person.plain, kSpotSize);
    vanta_test::AddSpots(person.spotted, person.spots);
    Script().faces = {{setup.middle, kEyes}};
    return person;
  }
};

// How far the middle of the spots differs from the same skin without them.
double SpotLuma(const Picture &with, const Picture &without, const Person &person) {
  double sum = 0;
  for (const auto &spot : person.spots) {
    double here = 0;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        const int x = cvRound(spot.middle.x) + dx;
        const int y = cvRound(spot.middle.y) + dy;
        here += with.Luma(x, y) - without.Luma(x, y);
      }
    }
    sum += std::abs(here) / 9;
  }
  return sum;
}

double SpotRedness(const Picture &with, const Picture &without, const Person &person) {
  double sum = 0;
  for (const auto &spot : person.spots) {
    if (!spot.red) continue;
    const int x = cvRound(spot.middle.x);
    const int y = cvRound(spot.middle.y);
    sum += std::hypot(with.U(x, y) - without.U(x, y), with.V(x, y) - without.V(x, y));
  }
  return sum;
}

TEST_F(SkinTones, LoseTheirSpotsAlike) {
  std::vector<double> luma;
  std::vector<double> chroma;
  for (size_t tone = 0; tone < kSkinTones; ++tone) {
    const Person person = Make(tone);
    const Picture plain = ToPicture(person.plain.bgr);
    const Picture spotted = ToPicture(person.spotted.bgr);
    const Picture plain_after = Smoothed(plain, 0.8F);
    const Picture spotted_after = Smoothed(spotted, 0.8F);
    luma.push_back(SpotLuma(spotted_after, plain_after, person) / SpotLuma(spotted, plain, person));
    chroma.push_back(SpotRedness(spotted_after, plain_after, person) / SpotRedness(spotted, plain, person));
    RecordProperty("luma_left_tone_" + std::to_string(tone + 1), std::to_string(luma.back()));
  }
  const auto mean = [](const std::vector<double> &values) {
    double sum = 0;
    for (const double value : values) sum += value;
    return sum / static_cast<double>(values.size());
  };
  EXPECT_LE(mean(luma), 0.45);
  EXPECT_LE(mean(chroma), 0.5);
  const auto [least, most] = std::minmax_element(luma.begin(), luma.end());
  EXPECT_GE((1 - *most) / (1 - *least), 0.85) << "worst tone against best: left " << *most << " and " << *least;
}

TEST_F(SkinTones, KeepTheEdgesOfEyesAndLips) {
  for (size_t tone = 0; tone < kSkinTones; ++tone) {
    const Person person = Make(tone);
    const Picture before = ToPicture(person.plain.bgr);
    const Picture after = Smoothed(before, 0.8F);
    const auto edges = [&](const Picture &picture) {
      std::vector<int> steps;
      for (const size_t mark : {size_t{4}, size_t{5}, size_t{9}, size_t{10}}) {
        const cv::Point2f at = person.plain.marks[mark];
        for (int dy = -8; dy <= 8; ++dy) {
          for (int dx = -14; dx <= 14; ++dx) {
            const int x = cvRound(at.x) + dx;
            const int y = cvRound(at.y) + dy;
            steps.push_back(std::abs(picture.Luma(x, y + 1) - picture.Luma(x, y - 1)));
          }
        }
      }
      std::sort(steps.rbegin(), steps.rend());
      double sum = 0;
      for (size_t i = 0; i < steps.size() / 5; ++i) sum += steps[i];
      return sum;
    };
    EXPECT_GE(edges(after) / edges(before), 0.93) << "tone " << tone + 1;
  }
}

TEST_F(SkinTones, LeaveWhatIsNoSkinNearlyUntouched) {
  for (size_t tone = 0; tone < kSkinTones; ++tone) {
    const Person person = Make(tone);
    const Picture before = ToPicture(person.plain.bgr);
    const Picture after = Smoothed(before, 0.8F);
    double sum = 0;
    int count = 0;
    for (int y = 0; y < 240; ++y) {
      for (const int left : {0, kWidth - 90}) {
        for (int x = left; x < left + 90; ++x) {
          sum += std::abs(after.Luma(x, y) - before.Luma(x, y));
          ++count;
        }
      }
    }
    EXPECT_LE(sum / count, 0.4) << "tone " << tone + 1;
  }
}

TEST_F(SkinTones, KeepTheirPoresAtLowStrength) {
  for (size_t tone = 0; tone < kSkinTones; ++tone) {
    const Person person = Make(tone);
    const Picture plain = ToPicture(person.plain.bgr);
    Picture pores = plain;
    pores.FillLuma([&](int x, int y) { return plain.Luma(x, y) + Noise(x, y, 3); });
    const Picture plain_after = Smoothed(plain, 0.3F);
    const Picture pores_after = Smoothed(pores, 0.3F);
    const cv::Point2f cheek = vanta_test::OnFace(person.plain, {-0.55F, 0.55F});
    double had = 0;
    double has = 0;
    for (int y = cvRound(cheek.y) - 10; y < cvRound(cheek.y) + 10; ++y) {
      for (int x = cvRound(cheek.x) - 10; x < cvRound(cheek.x) + 10; ++x) {
        had += std::pow(pores.Luma(x, y) - plain.Luma(x, y), 2);
        has += std::pow(pores_after.Luma(x, y) - plain_after.Luma(x, y), 2);
      }
    }
    EXPECT_GE(std::sqrt(has / had), 0.8) << "tone " << tone + 1;
  }
}

TEST_F(SkinTones, AreWhitenedWithinTheirOwnHue) {
  for (size_t tone = 2; tone < 8; ++tone) {  // the others are nearly grey
    const Person person = Make(tone);
    const Picture before = ToPicture(person.plain.bgr);
    const auto engine = MakeEngine(kWidth, kHeight);
    engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 1.0F);
    Picture after = before;
    Process(*engine, after);
    const cv::Point cheek = vanta_test::OnFace(person.plain, {-0.5F, 0.55F});
    const auto hue = [&](const Picture &picture) {
      return std::atan2(picture.V(cheek.x, cheek.y) - 128, picture.U(cheek.x, cheek.y) - 128);
    };
    const auto saturation = [&](const Picture &picture) {
      return std::hypot(picture.V(cheek.x, cheek.y) - 128, picture.U(cheek.x, cheek.y) - 128);
    };
    EXPECT_GT(after.Luma(cheek.x, cheek.y), before.Luma(cheek.x, cheek.y)) << "tone " << tone + 1;
    EXPECT_NEAR(hue(after), hue(before), 0.25) << "tone " << tone + 1;
    EXPECT_GT(saturation(after), 0.8 * saturation(before)) << "tone " << tone + 1;
  }
}

// Two people, of whom the one on the left is found.
class OneOfTwoKnown : public WithScriptedRunner {
 protected:
  static constexpr int kWide = 640;

  struct Two {
    Picture plain{2, 2, kGrey};
    Picture spotted{2, 2, kGrey};
    Person right;
  };

  Two Make(size_t left_tone, size_t right_tone) {
    static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
    vanta_test::PortraitSetup setup;
    setup.size = {kWide, kHeight};
    setup.middle = {160, 150};
    setup.eye_distance = 50;
    PortraitPicture picture = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, kMonkTones[left_tone]), setup);
    Script().faces = {{setup.middle, setup.eye_distance}};
    setup.middle = {480, 150};
    const cv::Mat second = vanta_test::Recoloured(portrait, kMonkTones[right_tone]);
    vanta_test::AddPortrait(picture, second, setup);
    Two two;
    two.right.plain = vanta_test::PlacePortrait(second, setup);
    two.right.spots = vanta_test::SpotsOn(two.right.plain, 0.05F);
    two.plain = ToPicture(picture.bgr);
    vanta_test::AddSpots(picture, two.right.spots);
    two.spotted = ToPicture(picture.bgr);
    return two;
  }

  Picture After(const Picture &before, LXBeautyType type, float intensity) {
    const auto engine = MakeEngine(kWide, kHeight);
    engine->setBeautyIntensityWithType(type, intensity);
    Picture after = before;
    Process(*engine, after);
    return after;
  }

  double LumaLeft(const Two &two) {
    return SpotLuma(After(two.spotted, lumivex::kBeautySmooth, 0.8F), After(two.plain, lumivex::kBeautySmooth, 0.8F),
                    two.right) /
           SpotLuma(two.spotted, two.plain, two.right);
  }
};

TEST_F(OneOfTwoKnown, TheOtherLosesSpotsAsWhereNobodyIsKnown) {
  for (size_t tone = 0; tone < kSkinTones; ++tone) {
    const Two two = Make((tone + 5) % kSkinTones, tone);
    const double beside = LumaLeft(two);
    Script().faces.clear();
    EXPECT_LT(beside, LumaLeft(two) + 0.1) << "tone " << tone + 1;
    EXPECT_LT(beside, 0.9) << "tone " << tone + 1;
  }
}

TEST_F(OneOfTwoKnown, TheOtherIsNotWhitenedTowardsTheKnownOnesHue) {
  const Two two = Make(5, 8);
  const Picture beside = After(two.plain, lumivex::kBeautyWhiten, 1.0F);
  Script().faces.clear();
  const Picture alone = After(two.plain, lumivex::kBeautyWhiten, 1.0F);
  const cv::Point cheek = vanta_test::OnFace(two.right.plain, {-0.5F, 0.55F});
  EXPECT_GT(beside.Luma(cheek.x, cheek.y), two.plain.Luma(cheek.x, cheek.y));
  EXPECT_NEAR(beside.Luma(cheek.x, cheek.y), alone.Luma(cheek.x, cheek.y), 2);
  EXPECT_NEAR(beside.U(cheek.x, cheek.y), alone.U(cheek.x, cheek.y), 1);
  EXPECT_NEAR(beside.V(cheek.x, cheek.y), alone.V(cheek.x, cheek.y), 1);
}

TEST_F(OneOfTwoKnown, AShelfOfSkinsColourInTheOthersPlaceStays) {
  Two two = Make(4, 4);
  two.plain.FillRect(380, 40, 600, 280, {130, 113, 145});
  const Picture flat = two.plain;
  two.plain.FillLuma([&](int x, int y) {
    const bool on_shelf = x >= 380 && x < 600 && y >= 40 && y < 280;
    return flat.Luma(x, y) + (on_shelf ? Noise(x / 3, y, 9) : 0);
  });
  const Picture after = After(two.plain, lumivex::kBeautySmooth, 0.8F);
  for (int y = 60; y < 260; ++y) {
    for (int x = 400; x < 580; ++x) ASSERT_EQ(after.Luma(x, y), two.plain.Luma(x, y)) << x << ',' << y;
  }
}

}  // namespace
}  // namespace lumivex_test
