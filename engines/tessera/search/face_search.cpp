#include "search/face_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <opencv2/imgproc.hpp>

namespace tessera {
namespace {

// Long sides of the pictures that are searched as a whole, pixels, and the smallest box in them.
constexpr int kUsualFaces = 400;
constexpr int kSmallFaces = 640;
constexpr int kSmallestBox = 24;
constexpr float kGoodScore = 6;
constexpr float kClearScore = 16;  // a second look at a dark face would tell no more

// An average face in the cascade's box, as parts of its width.
constexpr float kEyeHeight = 0.37F;
constexpr float kEyeDistance = 0.42F;

constexpr float kDegree = static_cast<float>(CV_PI) / 180;

// The box of a face whose eyes are at `last` has this many pixels in the patch in which it is looked for again.
constexpr float kTrackedBox = 48;

Placement PlacementOfBox(const cv::Rect &box) {
  const auto width = static_cast<float>(box.width);
  return {{static_cast<float>(box.x) + 0.5F * (width - 1), static_cast<float>(box.y) + kEyeHeight * width},
          kEyeDistance * width,
          0};
}

// So that a dark face in a bright room has what the cascades need: of the whole picture, and of a face alone.
cv::Mat EvenedPicture(const cv::Mat &luma) {
  return Evened(luma, 10, 8);
}

cv::Mat EvenedFace(const cv::Mat &luma) {
  return Evened(luma, 4, 2);
}

bool BoxIsDark(const cv::Mat &luma, const cv::Rect &box) {
  return IsDark(luma(box & cv::Rect(0, 0, luma.cols, luma.rows)));
}

// For the face that is expected there: by the skin of its cheeks and nose.
double WhiteOf(const cv::Mat &patch, const cv::Rect2f &window, float density) {
  return WhiteForSkin(SkinCode(patch, window, density));
}

bool SamePlace(const Placement &a, const Placement &b) {
  const cv::Point2f apart = a.origin - b.origin;
  return std::hypot(apart.x, apart.y) < std::max(a.unit, b.unit);
}

// Of boxes at one place, at whatever angle, the one with the most votes stays.
void AddFace(std::vector<CoarseFace> &faces, const CoarseFace &face) {
  for (CoarseFace &known : faces) {
    if (!SamePlace(known.placement, face.placement)) continue;
    if (face.score > known.score) known = face;
    return;
  }
  faces.push_back(face);
}

}  // namespace

std::vector<double> DarkWhites(const cv::Mat &luma) {
  constexpr std::array<int, 4> kWhites = {34, 44, 58, 80};
  constexpr int kBlack = 16;
  constexpr double kLeastPart = 0.01;  // of the picture
  std::array<int, 256> counts{};
  for (int y = 0; y < luma.rows; y += 4) {
    const uint8_t *row = luma.ptr(y);
    for (int x = 0; x < luma.cols; x += 4) ++counts[row[x]];
  }
  const double all = luma.total() / 16.0;
  std::vector<double> whites;
  for (const int white : kWhites) {
    const auto from = counts.begin() + kBlack + (white - kBlack) * 6 / 10;
    const int there = std::accumulate(from, counts.begin() + white, 0);
    if (there > kLeastPart * all) whites.push_back(white);
  }
  return whites;
}

SearchPass DarkPasses::Next(const cv::Mat &luma) {
  constexpr std::array<SearchPass, 5> kEvened = {
      {{320, 0, true}, {400, 0, true}, {320, -10 * kDegree, true}, {260, 0, true}, {320, 10 * kDegree, true}}};
  const size_t pass = pass_++;
  // Every third one cuts off, for small faces as often as for usual ones.
  if (pass % 3 == 2) {
    const std::vector<double> whites = DarkWhites(luma);
    const size_t which = pass / 3;
    if (!whites.empty()) return {which / whites.size() % 2 == 0 ? 320 : 400, 0, false, whites[which % whites.size()]};
  }
  return kEvened[(pass - pass / 3) % kEvened.size()];
}

std::string FaceSearch::Load(const std::string &file) {
  return cascade_.Load(file);
}

std::string FaceSearch::LoadQuick(const std::string &file) {
  return quick_.Load(file);
}

std::vector<CoarseFace> FaceSearch::Search(const cv::Mat &luma, const SearchPass &pass, bool quick) {
  const float scale =
      std::min(1.0F, static_cast<float>(pass.long_side) / static_cast<float>(std::max(luma.cols, luma.rows)));
  cv::Mat small = luma;
  if (scale < 1) {
    const cv::Size size(std::max(1, cvRound(static_cast<float>(luma.cols) * scale)),
                        std::max(1, cvRound(static_cast<float>(luma.rows) * scale)));
    cv::resize(luma, small, size, 0, 0, cv::INTER_AREA);
  }
  const cv::Mat plain = small;
  small = pass.white > 0 ? CutOffAbove(small, pass.white) : pass.evened ? EvenedPicture(small) : Lit(small);
  // The turned picture has room for all of it; a flat border costs the cascade next to nothing.
  const float c = std::cos(pass.angle);
  const float s = std::sin(pass.angle);
  const auto width = static_cast<float>(small.cols);
  const auto height = static_cast<float>(small.rows);
  const cv::Size size(cvCeil(width * std::abs(c) + height * std::abs(s)),
                      cvCeil(width * std::abs(s) + height * std::abs(c)));
  const cv::Point2f middle((width - 1) * 0.5F, (height - 1) * 0.5F);
  const cv::Point2f turned_middle(static_cast<float>(size.width - 1) * 0.5F,
                                  static_cast<float>(size.height - 1) * 0.5F);
  cv::Mat upright = small;
  cv::Mat upright_plain = plain;
  const bool dark = pass.evened || pass.white > 0;
  if (pass.angle != 0) {
    const cv::Point2f corner = middle + Turned(-turned_middle, pass.angle);
    const cv::Matx23f to_small(c, -s, corner.x, s, c, corner.y);
    const auto turn = [&](const cv::Mat &from, cv::Mat &to) {
      cv::warpAffine(from, to, to_small, size, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT,
                     cv::mean(from));
    };
    turn(small, upright);
    if (dark) turn(plain, upright_plain);
  }

  std::vector<CoarseFace> faces;
  const std::vector<VotedBox> boxes = !quick           ? cascade_.Find(upright, 1.15, 3, kSmallestBox)
                                      : quick_.empty() ? cascade_.FindAny(upright, 1.2, kSmallestBox)
                                                       : quick_.FindAny(upright, 1.2, kSmallestBox);
  for (const VotedBox &found : boxes) {
    if (dark && !BoxIsDark(upright_plain, found.box)) continue;
    Placement placement = PlacementOfBox(found.box);
    if (pass.angle != 0) {
      placement.origin = middle + Turned(placement.origin - turned_middle, pass.angle);
      placement.angle = pass.angle;
    }
    placement.origin = (placement.origin + cv::Point2f(0.5F, 0.5F)) * (1 / scale) - cv::Point2f(0.5F, 0.5F);
    placement.unit /= scale;
    faces.push_back({placement, static_cast<float>(found.votes)});
  }
  return faces;
}

std::vector<CoarseFace> FaceSearch::Whole(const cv::Mat &luma, float first_angle, int wanted) {
  std::vector<SearchPass> passes = {{kUsualFaces, first_angle}};
  for (const float angle : {0.0F, -20 * kDegree, 20 * kDegree, -40 * kDegree, 40 * kDegree}) {
    if (std::abs(angle - first_angle) > 5 * kDegree) passes.push_back({kUsualFaces, angle});
  }
  if (std::max(luma.cols, luma.rows) > kUsualFaces) passes.push_back({kSmallFaces, 0});
  passes.push_back({kUsualFaces, 0, true});
  for (const double white : DarkWhites(luma)) passes.push_back({kUsualFaces, 0, false, white});

  std::vector<CoarseFace> found;
  for (const SearchPass &pass : passes) {
    for (const CoarseFace &face : Search(luma, pass, false)) AddFace(found, face);
    const auto good =
        std::count_if(found.begin(), found.end(), [](const CoarseFace &face) { return face.score >= kGoodScore; });
    if (good >= wanted) break;
  }
  std::sort(found.begin(), found.end(), [](const CoarseFace &a, const CoarseFace &b) { return a.score > b.score; });
  return found;
}

std::vector<CoarseFace> FaceSearch::Sweep(const cv::Mat &luma, const SearchPass &pass) {
  return Search(luma, pass, true);
}

std::optional<CoarseFace> FaceSearch::Near(const cv::Mat &luma, const Placement &last) {
  const cv::Rect2f window(-2.1F, -1.9F, 4.2F, 4.4F);
  const float density = kTrackedBox * kEyeDistance;
  enum class Light { kPlain, kEvened, kCutOff };
  struct Try {
    float turn;
    Light light;
  };
  std::optional<CoarseFace> best;
  for (const Try &one : {Try{0.0F, Light::kPlain},
                         {-15 * kDegree, Light::kPlain},
                         {15 * kDegree, Light::kPlain},
                         {0.0F, Light::kEvened},
                         {0.0F, Light::kCutOff}}) {
    const bool plain = one.light == Light::kPlain;
    if (best && plain) continue;
    if (best && best->score >= kClearScore) break;
    Placement place = last;
    place.angle += one.turn;
    const cv::Mat cut = CutUpright(luma, place, window, density);
    if (!plain && !IsDark(cut)) break;
    const cv::Mat patch = plain                         ? Lit(cut)
                          : one.light == Light::kEvened ? EvenedFace(cut)
                                                        : CutOffAbove(cut, WhiteOf(cut, window, density));
    const std::vector<VotedBox> boxes = cascade_.Find(patch, 1.1, 3, 34, 70);
    if (boxes.empty() || (!plain && !BoxIsDark(cut, boxes[0].box))) continue;
    const auto score = static_cast<float>(boxes[0].votes);
    if (best && best->score >= score) continue;
    const Placement in_patch = PlacementOfBox(boxes[0].box);
    CoarseFace face;
    face.placement.origin = place.ToPicture((in_patch.origin + cv::Point2f(0.5F, 0.5F)) * (1 / density) + window.tl());
    face.placement.unit = in_patch.unit / density * place.unit;
    face.placement.angle = place.angle;
    face.score = score;
    best = face;
  }
  return best;
}

}  // namespace tessera
