#include "capture/key_color.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace vanta_run {
namespace {

constexpr int kWorkingWidth = 640;     // pixels; more would not move the middle
constexpr double kBorder = 0.15;       // of each side
constexpr double kBorderShare = 0.2;   // of the border's pixels
constexpr double kPictureShare = 0.1;  // of all pixels
constexpr float kLeastSaturation = 0.25f;
constexpr float kLeastValue = 0.12f;
constexpr int kBinDegrees = 5;
constexpr int kBins = 360 / kBinDegrees;
constexpr float kHueReach = 12.5f;  // degrees to either side of the peak

struct Pixel {
  cv::Vec3b bgr;
  float hue;  // degrees
};

bool IsBackingHue(float degrees) {
  return (degrees >= 75 && degrees <= 170) || (degrees >= 195 && degrees <= 265);
}

// Saturated green and blue pixels of the masked part, and how many pixels that part has.
struct Candidates {
  std::vector<Pixel> pixels;
  int looked_at = 0;
};

Candidates Collect(const cv::Mat &bgr, const cv::Mat &mask) {
  cv::Mat scaled, hsv;
  bgr.convertTo(scaled, CV_32F, 1.0 / 255);
  cv::cvtColor(scaled, hsv, cv::COLOR_BGR2HSV);  // degrees, 0 to 1, 0 to 1
  Candidates found;
  for (int y = 0; y < bgr.rows; ++y) {
    for (int x = 0; x < bgr.cols; ++x) {
      if (mask.at<uint8_t>(y, x) == 0) continue;
      ++found.looked_at;
      const cv::Vec3f color = hsv.at<cv::Vec3f>(y, x);
      if (color[1] < kLeastSaturation || color[2] < kLeastValue || !IsBackingHue(color[0])) continue;
      found.pixels.push_back({bgr.at<cv::Vec3b>(y, x), color[0]});
    }
  }
  return found;
}

// Three bins together, so that a hue on the limit of two bins is not halved.
float PeakHue(const std::vector<Pixel> &pixels) {
  std::array<int, kBins> bins{};
  for (const Pixel &pixel : pixels) ++bins[static_cast<size_t>(pixel.hue) / kBinDegrees % kBins];
  int best = 0, most = -1;
  for (int i = 0; i < kBins; ++i) {
    const auto bin = [&bins](int at) { return bins[static_cast<size_t>((at + kBins) % kBins)]; };
    const int sum = bin(i - 1) + bin(i) + bin(i + 1);
    if (sum > most) {
      most = sum;
      best = i;
    }
  }
  return (static_cast<float>(best) + 0.5f) * kBinDegrees;
}

std::optional<cv::Vec3d> Dominant(const Candidates &candidates, double least_share) {
  if (candidates.pixels.empty()) return std::nullopt;
  const float peak = PeakHue(candidates.pixels);
  std::array<std::vector<uint8_t>, 3> channels;  // red, green, blue
  for (const Pixel &pixel : candidates.pixels) {
    if (std::fabs(pixel.hue - peak) > kHueReach) continue;
    for (size_t i = 0; i < 3; ++i) channels[i].push_back(pixel.bgr[static_cast<int>(2 - i)]);
  }
  if (static_cast<double>(channels[0].size()) < least_share * candidates.looked_at || channels[0].empty()) {
    return std::nullopt;
  }
  cv::Vec3d color;
  for (size_t i = 0; i < 3; ++i) {
    const auto middle = channels[i].begin() + static_cast<std::ptrdiff_t>(channels[i].size() / 2);
    std::nth_element(channels[i].begin(), middle, channels[i].end());
    color[static_cast<int>(i)] = *middle / 255.0;
  }
  return color;
}

// Without the lower side, where the subject enters the picture.
cv::Mat BorderMask(const cv::Size &size) {
  const int across = std::max(1, static_cast<int>(size.width * kBorder));
  const int down = std::max(1, static_cast<int>(size.height * kBorder));
  cv::Mat mask = cv::Mat::ones(size, CV_8U);
  const cv::Rect inner(across, down, size.width - 2 * across, size.height - down);
  if (inner.width > 0 && inner.height > 0) mask(inner) = 0;
  return mask;
}

}  // namespace

std::optional<cv::Vec3d> FindBackingColor(const cv::Mat &bgr) {
  cv::Mat picture = bgr;
  if (bgr.cols > kWorkingWidth) {
    const double factor = static_cast<double>(kWorkingWidth) / bgr.cols;
    cv::resize(bgr, picture, {}, factor, factor, cv::INTER_AREA);
  }
  if (const auto color = Dominant(Collect(picture, BorderMask(picture.size())), kBorderShare)) return color;
  return Dominant(Collect(picture, cv::Mat::ones(picture.size(), CV_8U)), kPictureShare);
}

std::string KeyColorConfig(const cv::Vec3d &color) {
  char text[80];
  std::snprintf(text, sizeof(text), "{\"keyColor\":[%.3f,%.3f,%.3f]}", color[0], color[1], color[2]);
  return text;
}

}  // namespace vanta_run
