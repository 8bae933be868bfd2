#include "skin_measures.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace skin_bench {

namespace {

double EdgeEnergy(const cv::Mat &luma, const std::vector<cv::Rect> &places) {
  double sum = 0.0;
  for (const cv::Rect &place : places) {
    cv::Mat x;
    cv::Mat y;
    cv::Sobel(luma(place), x, CV_32F, 1, 0);
    cv::Sobel(luma(place), y, CV_32F, 0, 1);
    cv::Mat strength;
    cv::magnitude(x, y, strength);
    std::vector<float> values(strength.begin<float>(), strength.end<float>());
    std::sort(values.begin(), values.end());
    for (size_t i = values.size() * 8 / 10; i < values.size(); ++i) sum += values[i];  // the edges themselves
  }
  return sum;
}

}  // namespace

Contrast SpotContrast(const Planes &with, const Planes &without, const std::vector<Spot> &spots) {
  Contrast sum;
  for (const Spot &spot : spots) {
    const cv::Point at(cvRound(spot.middle.x), cvRound(spot.middle.y));
    const int half = std::max(cvRound(spot.radius * 0.7F), 1);
    const cv::Rect place(at.x - half, at.y - half, 2 * half + 1, 2 * half + 1);
    const cv::Rect ring(at.x - 6 * half, at.y - 6 * half, 12 * half + 1, 12 * half + 1);
    const auto contrast = [&](const cv::Mat &a, const cv::Mat &b, const cv::Rect &inner, const cv::Rect &outer) {
      return (cv::mean(a(inner)) - cv::mean(a(outer))) - (cv::mean(b(inner)) - cv::mean(b(outer)));
    };
    const auto halved = [](const cv::Rect &r) { return cv::Rect(r.x / 2, r.y / 2, r.width / 2 + 1, r.height / 2 + 1); };
    sum.luma += std::abs(contrast(with.y, without.y, place, ring)[0]);
    const cv::Scalar chroma = contrast(with.uv, without.uv, halved(place), halved(ring));
    if (spot.red) sum.chroma += std::hypot(chroma[0], chroma[1]);
  }
  return sum;
}

double EdgesKept(const PortraitPicture &picture, const Planes &before, const Planes &after) {
  const float e = picture.eye_distance;
  std::vector<cv::Rect> features;
  for (const size_t mark : {size_t{4}, size_t{5}}) {
    features.emplace_back(cvRound(picture.marks[mark].x - 0.28F * e), cvRound(picture.marks[mark].y - 0.14F * e),
                          cvRound(0.56F * e), cvRound(0.28F * e));
  }
  const cv::Point2f mouth = (picture.marks[7] + picture.marks[8]) * 0.5F;
  features.emplace_back(cvRound(mouth.x - 0.5F * e), cvRound(mouth.y - 0.1F * e), cvRound(e), cvRound(0.45F * e));
  return EdgeEnergy(after.y, features) / EdgeEnergy(before.y, features);
}

cv::Mat Cut(const Planes &planes, const PortraitPicture &face) {
  const float e = face.eye_distance;
  const cv::Point2f eyes = (face.marks[4] + face.marks[5]) * 0.5F;
  const cv::Rect wanted(cvRound(eyes.x - 1.5F * e), cvRound(eyes.y - 1.4F * e), cvRound(3.0F * e), cvRound(3.45F * e));
  return planes.Bgr()(wanted & cv::Rect(0, 0, kWidth, kHeight)).clone();
}

}  // namespace skin_bench
