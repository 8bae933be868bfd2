#include "following/own_shape.h"

#include "shape/shape_fit.h"

namespace tessera {
namespace {

constexpr float kStep = 0.15F;  // of the way to what was told last, for each picture

}  // namespace

void OwnShape::Told(const std::vector<cv::Point2f> &told, const Features &features) {
  if (told.empty()) return;
  wanted_ = FitShape(SamePlacement(), features);
  for (size_t i = 0; i < wanted_.size(); ++i) wanted_[i] = told[i] - wanted_[i];
  if (now_.empty()) now_ = wanted_;
}

void OwnShape::Step() {
  for (size_t i = 0; i < now_.size(); ++i) now_[i] += (wanted_[i] - now_[i]) * kStep;
}

void OwnShape::Apply(const Placement &place, std::vector<cv::Point2f> &points) const {
  for (size_t i = 0; i < now_.size(); ++i) points[i] += Turned(now_[i] * place.unit, place.angle);
}

}  // namespace tessera
