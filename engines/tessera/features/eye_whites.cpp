#include "features/eye_whites.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "vision/blur.h"
#include "vision/numbers.h"
#include "vision/picture_view.h"

namespace tessera {
namespace {

constexpr double kDarkSkin = 90;             // luma code
constexpr double kBlack = 16;                // likewise
constexpr float kBlur = 0.035F;              // units, as all lengths below
constexpr float kAsides[] = {0.12F, 0.16F};  // of a white's middle from that of the iris; less in a turned head
constexpr float kBeyond = 0.2F;              // of the skin above and below a white
constexpr float kLeast = 0.45F;              // how much brighter than these, in brightnesses of the skin
constexpr float kReach = 0.45F;              // from where the eye is expected
constexpr float kApart = 0.1F;               // of two places that could be the same eye
constexpr size_t kMostPlaces = 5;            // on each side
constexpr float kShiftSpread = 0.3F;         // of both eyes
constexpr float kScaleSpread = 0.15F;
constexpr float kTiltSpread = 0.12F;

struct Place {
  cv::Point2f pixel;
  float strength = 0;
};

// How much brighter it is to both sides than here, and than above and below there, where that is enough; the strongest
// ones first.
std::vector<Place> PlacesNear(const cv::Mat &light, cv::Point2f middle, float skin, float density) {
  const int farthest = cvRound(kAsides[1] * density);
  const int beyond = cvRound(kBeyond * density);
  const int reach = cvRound(kReach * density);
  std::vector<Place> places;
  for (int y = std::max(beyond, cvRound(middle.y) - reach);
       y <= std::min(light.rows - 1 - beyond, cvRound(middle.y) + reach); ++y) {
    const float *row = light.ptr<float>(y);
    const float *above = light.ptr<float>(y - beyond);
    const float *below = light.ptr<float>(y + beyond);
    const auto white = [&](int x, float iris) { return row[x] - std::max({iris, above[x], below[x]}); };
    for (int x = std::max(farthest, cvRound(middle.x) - reach);
         x <= std::min(light.cols - 1 - farthest, cvRound(middle.x) + reach); ++x) {
      float strength = 0;
      for (const float part : kAsides) {
        const int aside = cvRound(part * density);
        strength = std::max(strength, std::min(white(x - aside, row[x]), white(x + aside, row[x])) / skin);
      }
      if (strength >= kLeast) places.push_back({cv::Point2f(static_cast<float>(x), static_cast<float>(y)), strength});
    }
  }
  std::sort(places.begin(), places.end(), [](const Place &a, const Place &b) { return a.strength > b.strength; });
  std::vector<Place> apart;
  for (const Place &place : places) {
    if (apart.size() == kMostPlaces) break;
    const bool same = std::any_of(apart.begin(), apart.end(), [&](const Place &other) {
      const cv::Point2f off = place.pixel - other.pixel;
      return std::hypot(off.x, off.y) < kApart * density;
    });
    if (!same) apart.push_back(place);
  }
  return apart;
}

}  // namespace

std::optional<EyePair> FindEyesByWhites(const cv::Mat &patch, cv::Point2f left, cv::Point2f right, float density) {
  const double skin = MedianCode(patch) - kBlack;
  if (skin > kDarkSkin - kBlack || skin < 4) return std::nullopt;
  cv::Mat light;
  patch.convertTo(light, CV_32F);
  light = Blurred(light, static_cast<double>(kBlur * density));
  const auto brightness = static_cast<float>(skin);
  const std::vector<Place> rights = PlacesNear(light, right, brightness, density);
  std::optional<EyePair> best;
  float best_score = 0;
  for (const Place &a : PlacesNear(light, left, brightness, density)) {
    for (const Place &b : rights) {
      const cv::Point2f across = (b.pixel - a.pixel) * (1 / density);
      const cv::Point2f shift = (a.pixel + b.pixel - left - right) * (0.5F / density);
      const float usual = (right.x - left.x) / density;
      const float score = std::min(a.strength, b.strength) * Bell(std::hypot(shift.x, shift.y), kShiftSpread) *
                          Bell(across.x / usual - 1, kScaleSpread) * Bell(across.y, kTiltSpread);
      if (score <= best_score) continue;
      best_score = score;
      best = EyePair{a.pixel, b.pixel};
    }
  }
  return best;
}

}  // namespace tessera
