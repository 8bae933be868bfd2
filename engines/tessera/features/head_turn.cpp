#include "features/head_turn.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "features/face_depth.h"
#include "vision/blur.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kDensity = 18;  // pixels per unit
constexpr int kColumns = 54;
const cv::Rect2f kWindow(-1.5F, -0.6F, 3, 2.7F);

constexpr float kApart = 0.045F;  // places that are compared, units
constexpr float kFine = 0.035F;   // units
constexpr float kAcross = 0.05F;
constexpr float kWide = 0.22F;
constexpr float kAround = 0.35F;
constexpr float kFaint = 6;  // luma codes of what counts little
// In darker skin the whites of the eyes, the room behind the head and shine, which goes with the light and not with the
// head, outshine the nose and the mouth: what is brighter than the skin is cut off.
constexpr double kDarkSkin = 90;  // luma code

// A place of the right half of a face; its image stands on the left.
struct Place {
  float x;
  float depth;
};

struct PlaceRow {
  float y;
  std::vector<Place> places;
};

std::vector<PlaceRow> Places(const cv::Rect2f &area) {
  std::vector<PlaceRow> rows;
  for (float y = area.y; y < area.br().y; y += kApart) {
    PlaceRow &row = rows.emplace_back(PlaceRow{y, {}});
    for (float x = area.x; x < area.br().x; x += kApart) row.places.push_back({x, FaceDepth(x, y)});
  }
  return rows;
}

// Details, as strong where the light is weak as elsewhere: of what lies across the face, as the lips and what is below
// the nose. Light from a side draws shadows down the face, which are not alike on both sides.
struct FaceDetails {
  cv::Mat picture;
  bool dark = false;  // the skin
};

FaceDetails Details(const cv::Mat &luma, const Placement &placement) {
  const auto blurred = [](const cv::Mat &picture, float across, float down) {
    cv::Mat smooth;
    cv::GaussianBlur(picture, smooth, cv::Size(0, 0), static_cast<double>(across * kDensity),
                     static_cast<double>(down * kDensity));
    return smooth;
  };
  const cv::Mat cut = CutUpright(luma, placement, kWindow, kDensity);
  cv::Mat patch;
  const double skin = SkinCode(cut, kWindow, kDensity);
  const bool dark = skin < kDarkSkin;
  cv::min(cut, dark ? skin : 255, patch);
  patch.convertTo(patch, CV_32F);
  const cv::Mat details = blurred(patch, kAcross, kFine) - blurred(patch, kAcross, kWide);
  cv::Mat strength;
  cv::sqrt(Blurred(details.mul(details), static_cast<double>(kAround * kDensity)), strength);
  return {details / (strength + static_cast<double>(kFaint)), dark};
}

// What lies along a line across a picture, between two of its rows.
class Line {
 public:
  Line(const cv::Mat &picture, float y) {
    const float row = (y - kWindow.y) * kDensity - 0.5F;
    const int top = cvFloor(row);
    if (top < 0 || top + 1 >= picture.rows) return;
    const auto *above = picture.ptr<float>(top);
    const auto *below = picture.ptr<float>(top + 1);
    const float down = row - static_cast<float>(top);
    columns_ = std::min(picture.cols, kColumns);
    for (int x = 0; x < columns_; ++x) values_[static_cast<size_t>(x)] = Mixed(above[x], below[x], down);
  }

  // 0 outside of the picture.
  float At(float x) const {
    const float column = (x - kWindow.x) * kDensity - 0.5F;
    const int left = cvFloor(column);
    if (left < 0 || left + 1 >= columns_) return 0;
    const auto at = static_cast<size_t>(left);
    return Mixed(values_[at], values_[at + 1], column - static_cast<float>(left));
  }

 private:
  std::array<float, kColumns> values_;
  int columns_ = 0;
};

// How alike both sides of some places are when the head is turned so far, -1 to 1.
float Likeness(const cv::Mat &details, const std::vector<PlaceRow> &rows, float tangent) {
  const float stretch = TurnStretch(tangent);
  float both = 0;
  float right = 0;
  float left = 0;
  for (const PlaceRow &row : rows) {
    const Line line(details, row.y * stretch);
    for (const Place &place : row.places) {
      const float aside = tangent * place.depth;
      const float a = line.At(place.x + aside);
      const float b = line.At(-place.x + aside);
      both += a * b;
      right += a * a;
      left += b * b;
    }
  }
  return both / std::sqrt(right * left + 1e-3F);
}

// A nose and a mouth count as much as each other. In dark skin a mouth is faint, and less alike at the true angle than
// at a small one; there the nose counts most, and the eyes as much as the mouth.
float Likeness(const FaceDetails &details, float tangent) {
  static const std::vector<PlaceRow> eyes = Places({0.2F, -0.14F, 0.6F, 0.3F});
  static const std::vector<PlaceRow> nose = Places({0.04F, 0.3F, 0.51F, 0.55F});
  static const std::vector<PlaceRow> mouth = Places({0.04F, 0.85F, 0.51F, 0.55F});
  const auto likeness = [&](const std::vector<PlaceRow> &rows) { return Likeness(details.picture, rows, tangent); };
  if (!details.dark) return (likeness(nose) + likeness(mouth)) * 0.5F;
  constexpr float kBesideNose = 0.3F;  // weight
  return (likeness(nose) + kBesideNose * (likeness(mouth) + likeness(eyes))) / (1 + 2 * kBesideNose);
}

}  // namespace

Turn FindTurn(const cv::Mat &luma, const Placement &placement) {
  constexpr float kStep = 0.1F;
  constexpr int kSteps = 10;
  constexpr float kUntold = -2;
  const FaceDetails details = Details(luma, placement);
  std::array<float, 2 * kSteps + 1> likeness{};
  likeness.fill(kUntold);
  const auto tell = [&](size_t i) {
    if (likeness[i] == kUntold) likeness[i] = Likeness(details, kStep * (static_cast<float>(i) - kSteps));
    return likeness[i];
  };
  const auto better = [&](size_t a, size_t b) { return tell(b) > tell(a) ? b : a; };
  size_t best = kSteps;
  for (size_t i = 0; i < likeness.size(); i += 2) best = better(best, i);
  const size_t last = likeness.size() - 1;
  best = better(best > 0 ? better(best, best - 1) : best, std::min(best + 1, last));
  Turn turn;
  turn.tangent = kStep * (static_cast<float>(best) - kSteps);
  // Finer than a step: the top of a parabola.
  if (best > 0 && best < last) {
    const float before = tell(best - 1);
    const float after = tell(best + 1);
    const float bend = 2 * likeness[best] - before - after;
    if (bend > 0) turn.tangent += kStep * std::clamp(0.5F * (after - before) / bend, -0.5F, 0.5F);
  }
  turn.confidence = Clamped01((likeness[best] - 0.4F) / 0.4F);
  return turn;
}

}  // namespace tessera
