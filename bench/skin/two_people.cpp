// A second person, whose face is not found, beside one whose face is known.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "skin_measures.h"
#include "skin_scenes.h"
#include "skin_tables.h"

namespace skin_bench {

namespace {

// Why the second person's face is not found.
enum class Hidden { kUpsideDown, kTurned, kEyesCovered, kHalfCovered };
struct Hiding {
  const char *name;
  Hidden how;
};
constexpr Hiding kHidings[] = {{"upside down", Hidden::kUpsideDown},
                               {"turned", Hidden::kTurned},
                               {"eyes covered", Hidden::kEyesCovered},
                               {"half covered", Hidden::kHalfCovered}};

// Two people before a backdrop, the second one's face hidden.
struct Two {
  PortraitPicture plain, spotted;  // both of them, the second one with spots and without
  PortraitPicture first, second;   // each alone, without spots: for the places
  std::vector<Spot> first_spots, spots;
  cv::Mat mask;
};

void Cover(PortraitPicture &picture, Hidden how) {
  const bool half = how == Hidden::kHalfCovered;
  std::vector<cv::Point> board;
  for (const cv::Point2f &corner :
       half ? std::array<cv::Point2f, 4>{{{-1.6F, -2}, {0.05F, -2}, {0.05F, 2}, {-1.6F, 2}}}
            : std::array<cv::Point2f, 4>{{{-1.3F, -0.24F}, {1.3F, -0.24F}, {1.3F, 0.28F}, {-1.3F, 0.28F}}})
    board.push_back(vanta_test::OnFace(picture, corner));
  picture.bgr = picture.bgr.clone();
  cv::fillPoly(picture.bgr, std::vector<std::vector<cv::Point>>{board}, half ? Bgr(84, 96, 110) : Bgr(40, 52, 84));
}

void Lay(const PortraitPicture &person, const cv::Mat &mask, PortraitPicture &onto) {
  cv::Mat part;
  cv::cvtColor(mask, part, cv::COLOR_GRAY2BGR);
  cv::Mat there;
  cv::Mat rest;
  cv::multiply(person.bgr, part, there, 1.0 / 255);
  cv::multiply(onto.bgr, cv::Scalar::all(255) - part, rest, 1.0 / 255);
  onto.bgr = there + rest;
}

Two MakeTwo(const cv::Mat &portrait, size_t first_tone, size_t second_tone, Hidden how, bool second_half) {
  vanta_test::PortraitSetup setup;
  setup.size = {kWidth, kHeight};
  setup.eye_distance = second_half ? 74 : 80;
  setup.middle = {400, 290};
  setup.mirror = second_half;
  Two two;
  two.first = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[first_tone]), setup);
  setup.middle = {900, 310};
  setup.eye_distance = second_half ? 86 : 76;
  if (how == Hidden::kUpsideDown) setup.degrees = second_half ? 172 : 180;
  two.second = vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[second_tone]), setup);
  two.first_spots = vanta_test::SpotsOn(two.first, 0.045F);
  two.spots = vanta_test::SpotsOn(two.second, 0.045F);
  PortraitPicture plain = two.second;
  PortraitPicture spotted = two.second;
  vanta_test::AddSpots(spotted, two.spots);
  PortraitPicture first_spotted = two.first;
  vanta_test::AddSpots(first_spotted, two.first_spots);
  const cv::Mat mask = PersonMask(two.second);
  if (how == Hidden::kTurned) TurnBoth(plain, spotted, two.spots, second_half ? -58.0F : 58.0F);
  if (how == Hidden::kEyesCovered || how == Hidden::kHalfCovered) {
    Cover(plain, how);
    Cover(spotted, how);
    // Those that are still seen.
    std::erase_if(two.spots, [&](const Spot &spot) {
      const auto x = cvRound(spot.middle.x);
      const auto y = cvRound(spot.middle.y);
      return cv::norm(plain.bgr.at<cv::Vec3b>(y, x), spotted.bgr.at<cv::Vec3b>(y, x)) == 0;
    });
  }
  two.plain = two.first;
  two.spotted = first_spotted;
  Lay(plain, mask, two.plain);
  Lay(spotted, mask, two.spotted);
  cv::max(mask, PersonMask(two.first), two.mask);
  return two;
}

// Beside, between and above the two.
const std::array<cv::Rect, 3> kOutsideTwo = {cv::Rect{0, 0, 180, 450}, cv::Rect{560, 0, 110, 400},
                                             cv::Rect{1120, 0, 160, 450}};

}  // namespace

void PrintBeside(const cv::Mat &portrait, bool second_half, uint64_t seed, const Look &look, size_t only,
                 const std::string &part, const std::string &folder) {
  std::printf(
      "%-34s  one face  left: luma (worst) chroma  edges  first  outside   nobody known: luma chroma  outside\n",
      "scene");
  for (const Scene &scene : Scenes(second_half, seed)) {
    for (const Hiding &hiding : kHidings) {
      const std::string name = std::string(scene.name) + ", " + hiding.name;
      if (name.find(part) == std::string::npos) continue;
      int one = 0;
      double tones = 0, luma = 0, worst = 0, chroma = 0, edges = 9, first = 0, outside = 0;
      double luma_unknown = 0, chroma_unknown = 0, outside_unknown = 0;
      for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
        if (only != 0 && tone + 1 != only) continue;
        const Two two = MakeTwo(portrait, (tone + (second_half ? 3 : 5)) % 10, tone, hiding.how, second_half);
        const Planes before = PlanesOf(InScene(two.plain, scene, two.mask));
        const Planes in = PlanesOf(InScene(two.spotted, scene, two.mask));
        int faces = 0;
        int faces_spotted = 0;
        const Planes after = Through(before, look, &faces);
        const Planes out = Through(in, look, &faces_spotted);
        if (!folder.empty()) {
          cv::Mat pair;
          cv::vconcat(in.Bgr(), out.Bgr(), pair);
          cv::imwrite(folder + "/" + name + " " + std::to_string(tone + 1) + ".png", pair);
        }
        if (faces != 1 || faces_spotted != 1) continue;
        ++one;
        ++tones;
        Look nobody = look;
        nobody.unknown = true;
        nobody.called = hiding.how == Hidden::kUpsideDown ? 90 : 180;
        const Planes unknown = Through(before, nobody);
        const Planes unknown_spotted = Through(in, nobody);
        const Contrast had = SpotContrast(in, before, two.spots);
        const Contrast has = SpotContrast(out, after, two.spots);
        const Contrast has_unknown = SpotContrast(unknown_spotted, unknown, two.spots);
        const auto left = [](double has, double had) { return had > 0 ? has / had : 0.0; };
        luma += left(has.luma, had.luma);
        worst = std::max(worst, left(has.luma, had.luma));
        chroma += left(has.chroma, had.chroma);
        luma_unknown += left(has_unknown.luma, had.luma);
        chroma_unknown += left(has_unknown.chroma, had.chroma);
        first += SpotContrast(out, after, two.first_spots).luma / SpotContrast(in, before, two.first_spots).luma;
        if (hiding.how == Hidden::kUpsideDown) edges = std::min(edges, EdgesKept(two.second, before, after));
        for (const cv::Rect &rect : kOutsideTwo) {
          outside = std::max(outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
          outside_unknown =
              std::max(outside_unknown, cv::norm(unknown.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
        }
      }
      std::printf(
          "%-34s  %8d        %5.2f  (%.2f)  %5.2f  %5.2f  %5.2f    %5.2f                 %5.2f  %5.2f    %5.2f\n",
          name.c_str(), one, luma / tones, worst, chroma / tones, edges, first / tones, outside, luma_unknown / tones,
          chroma_unknown / tones, outside_unknown);
      std::fflush(stdout);
    }
  }
}

}  // namespace skin_bench
