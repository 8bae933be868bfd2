// Other ways to recolour the portrait and to draw spots, in some conditions.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "fixtures/portrait/expressions.h"
#include "skin_measures.h"
#include "skin_scenes.h"
#include "skin_tables.h"

namespace skin_bench {

namespace {

using vanta_test::Recolouring;
using vanta_test::SkinArea;
using vanta_test::SpotKind;

// How a portrait comes to its tone and its spots.
struct Way {
  const char *name;
  Recolouring recolouring;
  SkinArea area;
  SpotKind spots;
};
constexpr Way kWays[] = {
    {"gain", Recolouring::kGain, SkinArea::kFace, SpotKind::kSoft},
    {"linear light", Recolouring::kLinearLight, SkinArea::kFace, SpotKind::kLab},
    {"lab", Recolouring::kLab, SkinArea::kFace, SpotKind::kLab},
    {"lab, scaled", Recolouring::kLabScaled, SkinArea::kEllipse, SpotKind::kLab},
    {"gamma", Recolouring::kGamma, SkinArea::kEllipse, SpotKind::kSoft},
    {"lab by colour", Recolouring::kLab, SkinArea::kByColour, SpotKind::kLab},
    {"gain by colour", Recolouring::kGain, SkinArea::kByColour, SpotKind::kDiscs},
    {"linear, ellipse", Recolouring::kLinearLight, SkinArea::kEllipse, SpotKind::kDiscs},
};

// In which the picture is taken.
struct Condition {
  const char *name;
  cv::Scalar light = cv::Scalar::all(1);
  float noise = 0;
  int jpeg = 0;  // quality; 0: not compressed
  float eye_distance = 100;
  float degrees = 0;
  float turned = 0;  // degrees
  bool two = false;  // people
  float spot = 0.035F;
};

std::vector<Condition> Conditions() {
  std::vector<Condition> all = {{"plain"},
                                {"bright", cv::Scalar::all(1.3)},
                                {"dim", cv::Scalar::all(0.5), 1},
                                {"warm", Bgr(1.08, 0.9, 0.66)},
                                {"cold", Bgr(0.82, 0.95, 1.12)},
                                {"jpeg", cv::Scalar::all(1), 2, 55}};
  all.push_back({"small face", cv::Scalar::all(1), 0, 0, 45});
  all.push_back({"smaller, jpeg", cv::Scalar::all(1), 1, 75, 34});
  all.push_back({"large face", cv::Scalar::all(1), 0, 0, 150});
  all.push_back({"tilted", cv::Scalar::all(1), 0, 0, 90, 14});
  all.push_back({"turned", cv::Scalar::all(1), 0, 0, 90, 0, 20});
  Condition two{"two people"};
  two.two = true;
  all.push_back(two);
  Condition wide{"large spots"};
  wide.spot = 0.07F;
  all.push_back(wide);
  return all;
}

cv::Mat InCondition(const cv::Mat &bgr, const Condition &condition) {
  cv::Mat lit;
  bgr.convertTo(lit, CV_32FC3);
  cv::multiply(lit, condition.light, lit);
  const cv::Mat result = WithNoise(lit, condition.noise, 7);
  if (condition.jpeg == 0) return result;
  std::vector<uint8_t> file;
  cv::imencode(".jpg", result, file, {cv::IMWRITE_JPEG_QUALITY, condition.jpeg});
  return cv::imdecode(file, cv::IMREAD_COLOR);
}

}  // namespace

void PrintWays(const cv::Mat &portrait, const Look &look, size_t only, const std::string &part,
               const std::string &folder) {
  std::printf("%-30s  faces  left: luma  worst/best  chroma  edges  outside  of each tone (*: no face)\n",
              "recoloured by");
  for (const Way &way : kWays) {
    for (const Condition &condition : Conditions()) {
      const std::string name = std::string(way.name) + ", " + condition.name;
      if (name.find(part) == std::string::npos) continue;
      double luma = 0, chroma = 0, least = 9, most = 0, edges = 9, outside = 0;
      int found = 0;
      double tones = 0;
      std::string each;
      for (size_t tone = 0; tone < vanta_test::kSkinTones; ++tone) {
        if (only != 0 && tone + 1 != only) continue;
        const cv::Mat person =
            vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone], way.recolouring, way.area);
        vanta_test::PortraitSetup setup;
        setup.size = {kWidth, kHeight};
        setup.middle = condition.two ? cv::Point2f(420, 300) : cv::Point2f(640, 300);
        setup.eye_distance = condition.eye_distance;
        setup.degrees = condition.degrees;
        PortraitPicture plain = vanta_test::PlacePortrait(person, setup);
        if (condition.two) {
          vanta_test::PortraitSetup second = setup;
          second.middle.x = 940;
          second.mirror = true;
          AddPortrait(
              plain,
              vanta_test::Recoloured(portrait, vanta_test::kMonkTones[(tone + 5) % 10], way.recolouring, way.area),
              second);
        }
        PortraitPicture spotted = plain;
        auto spots = vanta_test::SpotsOn(spotted, condition.spot);
        vanta_test::AddSpots(spotted, spots, way.spots);
        if (condition.turned != 0) {
          TurnBoth(plain, spotted, spots, condition.turned);
        }
        const Planes before = PlanesOf(InCondition(plain.bgr, condition));
        const Planes in = PlanesOf(InCondition(spotted.bgr, condition));
        int found_plain = 0;
        int found_spotted = 0;
        const Planes after = Through(before, look, &found_plain);
        const Planes out = Through(in, look, &found_spotted);
        const Contrast had = SpotContrast(in, before, spots);
        const Contrast has = SpotContrast(out, after, spots);
        const double left = has.luma / had.luma;
        luma += left;
        chroma += has.chroma / had.chroma;
        least = std::min(least, left);
        most = std::max(most, left);
        if (condition.turned == 0) edges = std::min(edges, EdgesKept(plain, before, after));
        found += (found_plain > 0) + (found_spotted > 0);
        ++tones;
        char text[40];
        std::snprintf(text, sizeof(text), " %.2f/%.2f%s", left, has.chroma / had.chroma, found_spotted ? "" : "*");
        each += text;
        for (const cv::Rect &rect : kOutside) {
          if (condition.two) break;
          outside = std::max(outside, cv::norm(after.y(rect), before.y(rect), cv::NORM_L1) / rect.area());
        }
        if (!folder.empty()) {
          cv::Mat pair;
          cv::hconcat(Cut(in, plain), Cut(out, plain), pair);
          cv::imwrite(folder + "/" + name + " " + std::to_string(tone + 1) + ".png", pair);
        }
      }
      std::printf("%-30s  %5d       %5.2f       %5.2f   %5.2f  %5.2f    %5.2f %s\n", name.c_str(), found, luma / tones,
                  (1 - most) / (1 - least), chroma / tones, edges, outside, each.c_str());
      std::fflush(stdout);
    }
  }
}

}  // namespace skin_bench
