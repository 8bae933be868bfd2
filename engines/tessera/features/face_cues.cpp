#include "features/face_cues.h"

#include <algorithm>

#include <opencv2/imgproc.hpp>
#include <vector>

#include "features/face_depth.h"
#include "vision/blur.h"

namespace tessera {
namespace {

// What the cues' thresholds are made for, and how far a dark picture is raised towards it.
constexpr double kWellLit = 130;  // mean luma code above black
constexpr double kMostGain = 5;
constexpr double kBlack = 16;

// In skin darker than this, what is so much brighter than it, the room behind the head and shine on lips and chin,
// would make lines and spots where none are; an end of a line is told less well beside a bright room than its place.
constexpr double kDarkSkin = 115;         // luma code
constexpr double kMostBeside = 1.1;       // brightnesses of the skin
constexpr double kMostBesideLine = 1.35;  // likewise

// In darker skin what is between open lips is hardly darker than they are.
constexpr double kDarkestSkin = 70;  // luma code

constexpr float kMostColourGain = 2;
constexpr float kTongueRed = 0.07F;  // chroma codes, in brightnesses of the skin

}  // namespace

cv::Mat FaceCues::Blurred(const cv::Mat &picture, float units) const {
  return tessera::Blurred(picture, static_cast<double>(units * window_.density));
}

float FaceCues::Column(float x) const {
  return (x - window_.area.x) * window_.density - 0.5F;
}

float FaceCues::Row(float y) const {
  return (y - window_.area.y) * window_.density - 0.5F;
}

int FaceCues::NearestColumn(float x) const {
  return std::clamp(cvRound(Column(x)), 0, lines.cols - 1);
}

int FaceCues::NearestRow(float y) const {
  return std::clamp(cvRound(Row(y)), 0, lines.rows - 1);
}

float FaceCues::X(float column) const {
  return (column + 0.5F) / window_.density + window_.area.x;
}

float FaceCues::Y(float row) const {
  return (row + 0.5F) / window_.density + window_.area.y;
}

float FaceCues::Brightness(float code) const {
  return std::max(1.0F, code - static_cast<float>(kBlack) * gain_);
}

float FaceCues::TongueRed() const {
  return kTongueRed * dark_skin_ * std::min(1.0F, kMostColourGain / gain_);
}

cv::Mat FaceCues::Cut(const cv::Mat &plane, const Placement &placement, bool halved) const {
  cv::Rect2f area = window_.area;
  area.x += turn_ * window_.depth;
  return CutUpright(plane, placement, area, window_.density, halved, TurnStretch(turn_));
}

FaceCues::FaceCues(const cv::Mat &luma, const Placement &placement, const CueWindow &window, float turn)
    : window_(window), turn_(turn) {
  const cv::Mat patch = Cut(luma, placement, false);
  const double mean = std::max(1.0, cv::mean(patch)[0] - kBlack);
  gain_ = static_cast<float>(std::clamp(kWellLit / mean, 0.8, kMostGain));
  cv::Mat lit;
  patch.convertTo(lit, CV_32F, static_cast<double>(gain_));
  const cv::Mat fine = Blurred(lit, 0.02F);
  light = fine;
  const double skin = window.cut_off ? SkinCode(patch, window.area, window.density) : 255;
  const auto darker = [&](float around, double most) {
    const double white = (kBlack + most * (skin - kBlack)) * static_cast<double>(gain_);
    if (skin >= kDarkSkin) return cv::Mat(cv::max(Blurred(lit, around) - fine, 0));
    return cv::Mat(cv::max(Blurred(cv::min(lit, white), around) - cv::min(fine, white), 0));
  };
  lines = darker(0.22F, kMostBesideLine);
  if (skin < kDarkestSkin) dark_skin_ = static_cast<float>(std::max(1.0, skin - kBlack)) * gain_;
  line_ends = skin < kDarkSkin ? darker(0.22F, kMostBeside) : lines;
  spots = darker(0.09F, kMostBeside);
}

void FaceCues::AddColour(const PictureView &picture, const Placement &placement) {
  if (picture.u.empty() || picture.v.empty()) return;
  const auto cut = [&](const cv::Mat &plane) {
    cv::Mat patch;
    Cut(plane, placement, true).convertTo(patch, CV_32F);
    return Blurred(patch, 0.03F);
  };
  const cv::Mat u = cut(picture.u);
  const cv::Mat v = cut(picture.v);
  // The skin's colour: what cheeks and chin have in common.
  const auto skin = [this](const cv::Mat &chroma) {
    std::vector<float> values;
    const auto take = [&](float x, float y) {
      values.push_back(chroma.at<float>(NearestRow(y), NearestColumn(x + Aside(FaceDepth(x, y)))));
    };
    for (float y = 0.4F; y < 0.75F; y += 0.03F) {
      for (const float x : {-0.7F, -0.6F, -0.5F, 0.5F, 0.6F, 0.7F}) take(x, y);
    }
    for (float y = 1.4F; y < 1.5F; y += 0.03F) {
      for (float x = -0.2F; x <= 0.2F; x += 0.05F) take(x, y);
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  };
  const auto gain = static_cast<double>(std::min(gain_, kMostColourGain));
  red = (v - skin(v)) * gain;
  blue = (u - skin(u)) * gain;
}

}  // namespace tessera
