#include "skin/face_samples.h"

#include <algorithm>
#include <cstdint>

#include "pixels/cell_grid.h"

namespace lumivex {
namespace {

constexpr uint8_t kSample = 200;  // inside the face by so much, and not a feature

struct SamplePlace {
  FaceAnchor anchor;
  float right;  // distances between the eyes
  float down;
  float radius;
};
// Where skin is bare on nearly every face. The forehead is looked at low, below a fringe.
constexpr SamplePlace kSamplePlaces[] = {
    {FaceAnchor::kLeftCheek, 0.0f, 0.0f, 0.20f},
    {FaceAnchor::kRightCheek, 0.0f, 0.0f, 0.20f},
    {FaceAnchor::kForehead, 0.0f, 0.22f, 0.18f},
    {FaceAnchor::kFaceCenter, 0.0f, 0.0f, 0.12f},
};

}  // namespace

void TakeFaceSamples(const Face &face, const CellColours &cells, const cv::Mat &in_face, const cv::Mat &features,
                     std::vector<ShadeFreeColour> &samples) {
  samples.clear();
  for (const SamplePlace &place : kSamplePlaces) {
    const FramePoint middle = face.Beside(place.anchor, place.right, place.down);
    const float radius = std::max(place.radius * face.eye_distance, static_cast<float>(kCell));
    const auto cell = [](float pixels, int count) {
      return static_cast<int>(std::clamp(pixels / kCell, 0.0f, static_cast<float>(count)));
    };
    const int bottom = cell(middle.y + radius, in_face.rows - 1);
    const int right = cell(middle.x + radius, in_face.cols - 1);
    for (int row = cell(middle.y - radius, in_face.rows); row <= bottom; ++row) {
      for (int column = cell(middle.x - radius, in_face.cols); column <= right; ++column) {
        if (in_face.at<uint8_t>(row, column) < kSample || features.at<uint8_t>(row, column) > 255 - kSample) continue;
        samples.push_back(cells.At(row, column));
      }
    }
  }
}

}  // namespace lumivex
