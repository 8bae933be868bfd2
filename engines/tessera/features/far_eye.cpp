#include "features/far_eye.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "features/face_depth.h"
#include "vision/blur.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// All lengths are units. What is compared of an eye, from its pupil:
constexpr float kAside = 0.24F;
constexpr float kHeight = 0.12F;
constexpr float kApart = 0.03F;
constexpr float kPupil = 0.5F;  // x of the mean shape
constexpr float kBlur = 0.03F;

// Around where it is expected:
constexpr float kNearer = 0.25F;
constexpr float kFarther = 0.1F;
constexpr float kHigher = 0.06F;
constexpr float kStep = 0.02F;
constexpr float kSpread = 0.2F;

constexpr float kLeastAlike = 0.3F;
constexpr float kMoreAlike = 0.02F;

float At(const cv::Mat &light, float x, float y) {
  const int left = std::clamp(cvFloor(x), 0, light.cols - 2);
  const int top = std::clamp(cvFloor(y), 0, light.rows - 2);
  const float across = Clamped01(x - static_cast<float>(left));
  const float down = Clamped01(y - static_cast<float>(top));
  const float *above = light.ptr<float>(top) + left;
  const float *below = light.ptr<float>(top + 1) + left;
  return Mixed(Mixed(above[0], above[1], across), Mixed(below[0], below[1], across), down);
}

struct Place {
  float out;  // from the pupil, away from the nose
  float down;
};

// Of an eye, as the camera sees them when the head is turned so far to the eye's side.
std::vector<Place> PlacesOfAnEye(float turned) {
  std::vector<Place> places;
  for (float y = -kHeight; y <= kHeight; y += kApart) {
    for (float x = -kAside; x <= kAside; x += kApart) {
      const float aside = turned * (FaceDepth(kPupil + x, y) - FaceDepth(kPupil, 0));
      places.push_back({x + aside, y * TurnStretch(turned)});
    }
  }
  return places;
}

// How bright it is at those places of the eye on the side `side` (-1: the left one), less their mean.
std::vector<float> Brightness(const cv::Mat &light, cv::Point2f pupil, const std::vector<Place> &places, float side,
                              float unit) {
  std::vector<float> codes;
  codes.reserve(places.size());
  float sum = 0;
  for (const Place &place : places) {
    codes.push_back(At(light, pupil.x + side * place.out * unit, pupil.y + place.down * unit));
    sum += codes.back();
  }
  for (float &code : codes) code -= sum / static_cast<float>(places.size());
  return codes;
}

float Product(const std::vector<float> &a, const std::vector<float> &b) {
  float sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += a[i] * b[i];
  return sum;
}

}  // namespace

std::optional<cv::Point2f> FindFarEye(const cv::Mat &patch, cv::Point2f near, cv::Point2f far, float tangent) {
  const float side = far.x > near.x ? 1.0F : -1.0F;
  const float usual = std::abs(far.x - near.x);
  const std::vector<Place> near_places = PlacesOfAnEye(-std::abs(tangent));
  const std::vector<Place> far_places = PlacesOfAnEye(std::abs(tangent));
  cv::Mat light;
  patch.convertTo(light, CV_32F);
  light = Blurred(light, static_cast<double>(kBlur * usual));
  const auto alike = [&](cv::Point2f place) {
    const float unit = std::abs(place.x - near.x);
    const std::vector<float> here = Brightness(light, near, near_places, -side, unit);
    const std::vector<float> there = Brightness(light, place, far_places, side, unit);
    return Product(here, there) / std::sqrt(Product(here, here) * Product(there, there) + 1e-3F);
  };
  cv::Point2f best = far;
  float most_alike = 0;
  float best_score = 0;
  for (float y = -kHigher; y <= kHigher; y += kStep) {
    for (float x = -kNearer; x <= kFarther; x += kStep) {
      const cv::Point2f place = far + cv::Point2f(side * x, y) * usual;
      const float here = alike(place);
      const float score = here * Bell(x, kSpread);
      if (score <= best_score) continue;
      best_score = score;
      best = place;
      most_alike = here;
    }
  }
  if (most_alike < kLeastAlike || most_alike < alike(far) + kMoreAlike) return std::nullopt;
  return best;
}

}  // namespace tessera
