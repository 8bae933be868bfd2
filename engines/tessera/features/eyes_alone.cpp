#include "features/eyes_alone.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "features/head_turn.h"
#include "vision/blur.h"

namespace tessera {
namespace {

constexpr float kDensity = 36;  // pixels per unit
const cv::Rect2f kWindow(-1, -0.7F, 2, 2.2F);
constexpr double kBlack = 16;
constexpr double kLeastSkin = 6;  // codes above black: in less nothing is told
constexpr double kBlur = 0.03;    // units

const cv::Rect2f kLeftEye(-0.82F, -0.25F, 0.64F, 0.5F);
const cv::Rect2f kRightEye(0.18F, -0.25F, 0.64F, 0.5F);
const cv::Rect2f kBridge(-0.15F, -0.25F, 0.3F, 0.5F);
const cv::Rect2f kCheeks(-0.6F, 0.28F, 1.2F, 0.5F);  // with the nose between them

constexpr int kEyesMayDiffer = 3;  // pixels by which an eye lies otherwise than the other
constexpr double kAlike = 0.85;    // correlation
constexpr float kSureTurn = 0.75F;
constexpr float kMostTurn = 0.25F;
// In brightnesses of the skin.
constexpr double kBrightestCheeks = 1.9;
constexpr double kBrightestBridge = 1.5;
constexpr double kBrightPart = 0.95;  // all but the brightest twentieth

cv::Mat Part(const cv::Mat &patch, const cv::Rect2f &area) {
  const cv::Rect pixels(cvRound((area.x - kWindow.x) * kDensity), cvRound((area.y - kWindow.y) * kDensity),
                        cvRound(area.width * kDensity), cvRound(area.height * kDensity));
  return patch(pixels & cv::Rect(0, 0, patch.cols, patch.rows));
}

double BrightCode(const cv::Mat &part) {
  std::vector<float> codes(part.begin<float>(), part.end<float>());
  const auto bright = codes.begin() + static_cast<std::ptrdiff_t>(kBrightPart * static_cast<double>(codes.size()));
  std::nth_element(codes.begin(), bright, codes.end());
  return static_cast<double>(*bright);
}

bool AreAlike(const cv::Mat &left, const cv::Mat &right) {
  cv::Mat mirrored;
  cv::flip(right, mirrored, 1);
  const cv::Rect inner(kEyesMayDiffer, kEyesMayDiffer, mirrored.cols - 2 * kEyesMayDiffer,
                       mirrored.rows - 2 * kEyesMayDiffer);
  cv::Mat likeness;
  cv::matchTemplate(left, mirrored(inner), likeness, cv::TM_CCOEFF_NORMED);
  double most = 0;
  cv::minMaxLoc(likeness, nullptr, &most);
  return most > kAlike;
}

}  // namespace

bool AreEyesOfAFace(const cv::Mat &luma, const Placement &eyes) {
  const cv::Mat cut = CutUpright(luma, eyes, kWindow, kDensity);
  const double skin = SkinCode(cut, kWindow, kDensity) - kBlack;
  if (!IsDark(cut) || skin < kLeastSkin) return false;
  cv::Mat patch;
  cut.convertTo(patch, CV_32F);
  patch = Blurred(patch, kBlur * static_cast<double>(kDensity));
  if (BrightCode(Part(patch, kBridge)) - kBlack > kBrightestBridge * skin) return false;
  if (BrightCode(Part(patch, kCheeks)) - kBlack > kBrightestCheeks * skin) return false;
  if (!AreAlike(Part(patch, kLeftEye), Part(patch, kRightEye))) return false;
  const Turn turn = FindTurn(luma, eyes);
  return turn.confidence > kSureTurn && std::abs(turn.tangent) < kMostTurn;
}

}  // namespace tessera
