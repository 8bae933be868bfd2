#include "makeup/makeup_stage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

MakeupBlend BlendOf(int32_t request, MakeupBlend resource) {
  switch (request) {
    case kMakeupBlendNormal:
      return MakeupBlend::kNormal;
    case kMakeupBlendMultiply:
      return MakeupBlend::kMultiply;
    case kMakeupBlendScreen:
      return MakeupBlend::kScreen;
    case kMakeupBlendSoftLight:
      return MakeupBlend::kSoftLight;
    default:
      return resource;
  }
}

// The part of the frame that this part of a picture and `margin` pixels around it cover, widened to whole pairs of
// chroma. May be empty.
cv::Rect Covered(const AffineMap &map, const cv::Rect &seen, double margin, const Nv12View &view) {
  float left = static_cast<float>(view.width);
  float top = static_cast<float>(view.height);
  float right = 0.0f;
  float bottom = 0.0f;
  for (const double x : {seen.x - margin, seen.x + seen.width + margin}) {
    for (const double y : {seen.y - margin, seen.y + seen.height + margin}) {
      const FramePoint corner = map.At(x, y);
      left = std::min(left, corner.x);
      top = std::min(top, corner.y);
      right = std::max(right, corner.x);
      bottom = std::max(bottom, corner.y);
    }
  }
  const int first_x = static_cast<int>(std::max(left, 0.0f)) & ~1;
  const int first_y = static_cast<int>(std::max(top, 0.0f)) & ~1;
  const int last_x = static_cast<int>(std::ceil(std::min(right, static_cast<float>(view.width))));
  const int last_y = static_cast<int>(std::ceil(std::min(bottom, static_cast<float>(view.height))));
  if (first_x >= last_x || first_y >= last_y) return {};
  return {first_x, first_y, last_x - first_x, last_y - first_y};
}

// The smallest picture that the map does not enlarge: a larger one would shimmer.
size_t PictureFor(const AffineMap &map, size_t count) {
  const double scale = std::sqrt(std::fabs(map.a * map.e - map.b * map.d));
  size_t picture = 0;
  for (double reach = 0.5; picture + 1 < count && scale <= reach; reach /= 2.0) ++picture;
  return picture;
}

// From the index of a pixel of the part to that of a pixel of the picture, whose centers lie half a pixel inside.
cv::Matx23d PixelMap(const AffineMap &back, const cv::Point &part, double scale_x, double scale_y) {
  const double x = part.x + 0.5;
  const double y = part.y + 0.5;
  return {scale_x * back.a, scale_x * back.b, scale_x * (back.a * x + back.b * y + back.c) - 0.5,
          scale_y * back.d, scale_y * back.e, scale_y * (back.d * x + back.e * y + back.f) - 0.5};
}

// What full intensity covers: the skin's own light and shade are to be seen through it.
float OpacityOf(MakeupPart part) {
  constexpr std::array<float, kMakeupParts.size()> kOpacity = {0.60f, 0.50f, 0.55f, 0.90f, 0.60f};
  return kOpacity[static_cast<size_t>(part)];
}

// Red, green, blue, alpha, the colours multiplied by alpha.
void Color(const cv::Mat &covered, const std::array<uint8_t, 3> &rgb, cv::Mat &laid) {
  std::array<std::array<uint8_t, 4>, 256> table;
  for (int alpha = 0; alpha < 256; ++alpha) {
    std::array<uint8_t, 4> &entry = table[static_cast<size_t>(alpha)];
    for (size_t i = 0; i < 3; ++i) entry[i] = static_cast<uint8_t>((rgb[i] * alpha + 127) / 255);
    entry[3] = static_cast<uint8_t>(alpha);
  }
  laid.create(covered.size(), CV_8UC4);
  for (int row = 0; row < covered.rows; ++row) {
    const uint8_t *from = covered.ptr<uint8_t>(row);
    uint8_t *to = laid.ptr<uint8_t>(row);
    for (int x = 0; x < covered.cols; ++x) std::memcpy(to + ptrdiff_t{4} * x, table[from[x]].data(), 4);
  }
}

}  // namespace

void MakeupStage::Apply(const Nv12View &view, const YuvSpace &space, const Faces &faces,
                        const std::vector<MakeupChoice> &choices, const RowBands &bands) {
  for (const Face &face : faces) {
    for (const MakeupChoice &choice : choices) {
      if (choice.intensity <= 0.0f) continue;
      if (const auto &color = choice.resource->color)
        Paint(view, space, face, *color, BlendOf(choice.blend, MakeupBlend::kNormal), choice.intensity, bands);
      for (const MakeupLayer &layer : choice.resource->layers)
        Lay(view, space, face, layer, BlendOf(choice.blend, layer.blend), choice.intensity * layer.opacity, bands);
    }
  }
}

void MakeupStage::Lay(const Nv12View &view, const YuvSpace &space, const Face &face, const MakeupLayer &layer,
                      MakeupBlend blend, float strength, const RowBands &bands) {
  if (layer.seen.empty()) return;
  pins_.clear();
  for (const MakeupPin &pin : layer.pins) pins_.push_back({{pin.x, pin.y}, face.At(pin.anchor)});
  const std::optional<AffineMap> map = FitAffine(pins_, face);
  if (!map) return;
  const std::optional<AffineMap> back = Inverse(*map);
  const cv::Size size = layer.pictures[0].size();
  const cv::Mat &picture = layer.pictures[PictureFor(*map, layer.pictures.size())];
  // A pixel of a smaller picture reaches over several of the first one.
  const double margin = 1.0 + 2.0 * std::ceil(static_cast<double>(size.width) / picture.cols - 1.0);
  const cv::Rect part = Covered(*map, layer.seen, margin, view);
  if (!back || part.empty()) return;
  laid_.create(part.size(), CV_8UC4);
  bands.Run(part.height, RowBands::kRows, [&](int first, int end, int) {
    // In the same steps however many bands there are: sums of fractions depend on where they begin.
    for (int top = first; top < end; top += RowBands::kRows) {
      cv::Mat rows = laid_.rowRange(top, std::min(top + RowBands::kRows, end));
      const cv::Matx23d pixels =
          PixelMap(*back, part.tl() + cv::Point(0, top), static_cast<double>(picture.cols) / size.width,
                   static_cast<double>(picture.rows) / size.height);
      cv::warpAffine(picture, rows, pixels, rows.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_CONSTANT,
                     cv::Scalar::all(0));
    }
  });
  blender_.Blend(view, space, part, laid_, blend, strength, bands);
}

void MakeupStage::Paint(const Nv12View &view, const YuvSpace &space, const Face &face, const MakeupColor &color,
                        MakeupBlend blend, float strength, const RowBands &bands) {
  for (const PaintMask &mask : paint_.Draw(face, color.part, cv::Size(view.width, view.height))) {
    Color(mask.covered, color.rgb, laid_);
    blender_.Blend(view, space, mask.place, laid_, blend, strength * OpacityOf(color.part), bands);
  }
}

}  // namespace lumivex
