#include <array>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Of an average face, and how far others are off.
constexpr float kNostrilHeight = 0.67F;
constexpr float kNostrilSpread = 0.08F;
constexpr float kNostrilAside = 0.16F;
constexpr float kNostrilAsideSpread = 0.08F;

}  // namespace

Nose FindNose(const FaceCues &face) {
  std::array<cv::Point2f, 2> places;
  std::array<float, 2> strengths{};
  for (const size_t side : {0U, 1U}) {
    const float sign = side == 0 ? -1.0F : 1.0F;
    for (int row = face.NearestRow(0.5F); row <= face.NearestRow(0.84F); ++row) {
      const float y = face.Y(static_cast<float>(row));
      for (float x = 0.06F; x <= 0.27F; x += 0.0125F) {
        const float here = face.spots.at<float>(row, face.NearestColumn(sign * x)) *
                           Bell(y - kNostrilHeight, kNostrilSpread) * Bell(x - kNostrilAside, kNostrilAsideSpread);
        if (here <= strengths[side]) continue;
        strengths[side] = here;
        places[side] = {sign * x, y};
      }
    }
  }
  Nose nose;
  const float both = strengths[0] + strengths[1];
  if (both <= 0) return nose;
  nose.nostrils.x = (places[0].x + places[1].x) * 0.5F;
  nose.nostrils.y = (places[0].y * strengths[0] + places[1].y * strengths[1]) / both;
  nose.confidence = Clamped01((std::min(strengths[0], strengths[1]) - 1.5F) / 5);
  return nose;
}

}  // namespace tessera
