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

constexpr double kDarkSkin = 90;                    // luma code
constexpr double kBlack = 16;                       // likewise
constexpr float kBlur = 0.035F;                     // units, as all lengths below
constexpr float kAsides[] = {0.09F, 0.12F, 0.16F};  // of a white's middle from that of the iris; less in a turned head
constexpr float kBeyond = 0.2F;                     // of the skin above and below a white
constexpr float kLeast = 0.25F;                     // how much brighter than these, in brightnesses of the skin
constexpr float kReach = 0.45F;                     // from where the eye is expected
constexpr float kApart = 0.1F;                      // of two places that could be the same eye
constexpr size_t kMostPlaces = 5;                   // on each side
constexpr float kShiftSpread = 0.3F;                // of both eyes
constexpr float kScaleSpread = 0.15F;
constexpr float kTiltSpread = 0.12F;

// Whites beside one iris.
constexpr float kFine = 0.02F;      // blur
constexpr float kFromIris = 0.10F;  // aside of its middle
constexpr float kToIris = 0.17F;
constexpr float kLeastBeside = 0.45F;  // brighter than the skin, in brightnesses of that
constexpr float kHeights = 0.17F;      // above and below it
constexpr float kShadow = 0.01F;       // the upper lid's, which makes the white's middle look so much lower
constexpr float kFarthest = 0.1F;      // from the iris's middle; what lies farther is no white of that eye

struct Place {
  cv::Point2f pixel;
  float strength = 0;
};

// How much brighter it is to both sides than here, and than above and below there, where that is enough; the strongest
// ones first.
std::vector<Place> PlacesNear(const cv::Mat &light, cv::Point2f middle, float skin, float density) {
  const int farthest = cvRound(kAsides[2] * density);
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

std::optional<float> MiddleOfWhites(const cv::Mat &patch, cv::Point2f iris, float density) {
  if (MedianCode(patch) > kDarkSkin) return std::nullopt;
  const int first = std::max(0, cvRound(iris.y - kHeights * density));
  const int last = std::min(patch.rows - 1, cvRound(iris.y + kHeights * density));
  cv::Mat light;
  patch.convertTo(light, CV_32F);
  light = Blurred(light, static_cast<double>(kFine * density));
  cv::Mat beside(std::max(0, last - first + 1), 2, CV_32F);
  for (const int side : {-1, 1}) {
    const auto sign = static_cast<float>(side);
    const auto [from, to] =
        std::minmax({cvRound(iris.x + sign * kFromIris * density), cvRound(iris.x + sign * kToIris * density)});
    if (from < 0 || to >= patch.cols || beside.empty()) return std::nullopt;
    cv::reduce(light.rowRange(first, last + 1).colRange(from, to + 1), beside.col(side < 0 ? 0 : 1), 1, cv::REDUCE_AVG);
  }
  std::vector<float> white;
  for (int row = 0; row < beside.rows; ++row) white.push_back(beside.at<float>(row, 0) + beside.at<float>(row, 1));
  const auto peak = static_cast<size_t>(std::max_element(white.begin(), white.end()) - white.begin());
  const float skin = std::max(white.front(), white.back());
  if (white[peak] - skin < kLeastBeside * (skin - 2 * static_cast<float>(kBlack))) return std::nullopt;
  const float half = (white[peak] + skin) * 0.5F;
  const auto crossing = [&](size_t in, size_t out) { return (white[in] - half) / (white[in] - white[out]); };
  size_t top = peak;
  while (top > 0 && white[top - 1] > half) --top;
  size_t bottom = peak;
  while (bottom + 1 < white.size() && white[bottom + 1] > half) ++bottom;
  if (top == 0 || bottom + 1 == white.size()) return std::nullopt;
  const float middle =
      (static_cast<float>(top) - crossing(top, top - 1) + static_cast<float>(bottom) + crossing(bottom, bottom + 1)) *
          0.5F +
      static_cast<float>(first) - kShadow * density;
  if (std::abs(middle - iris.y) > kFarthest * density) return std::nullopt;
  return middle;
}

}  // namespace tessera
