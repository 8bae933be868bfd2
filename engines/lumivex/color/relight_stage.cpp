#include "color/relight_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

#include "color/face_light.h"

namespace lumivex {
namespace {

constexpr int kStep = 8;               // pixels that the loop takes at once
constexpr Place kLight{0.25f, 0.15f};  // on the upright picture
constexpr float kReachX = 0.45f;       // standard deviation of the light, in widths
constexpr float kReachY = 0.55f;       // in heights
constexpr float kLift = 0.21f;         // of white: what full light adds to middle grey
constexpr float kFade = 0.1f;          // of the light that changes over to the faces, or away from them, in a frame

float Light(float distance, float reach) {
  return std::exp(-0.5f * distance * distance / (reach * reach));
}

float LightX(float x) {
  return Light(x - kLight.x, kReachX);
}
float LightY(float y) {
  return Light(y - kLight.y, kReachY);
}

float Centre(int index, int count) {
  return (static_cast<float>(index) + 0.5f) / static_cast<float>(count);
}

size_t Padded(int width, int step) {
  return static_cast<size_t>((width + step - 1) / step * step);
}

}  // namespace

void RelightStage::Apply(const Nv12View &view, const YuvSpace &space, const Orientation &orientation,
                         const Faces &faces, float strength, const RowBands &bands) {
  Prepare(view.width, view.height, orientation);
  scratch_.resize(static_cast<size_t>(bands.Threads()));
  for (Scratch &scratch : scratch_) {
    scratch.out.resize(Padded(view.width, kStep));
    scratch.face_light.resize(Padded(view.width, kStep * kCell));  // a map fills its row by so many pixels
  }
  FollowFaces(orientation, faces, bands);
  // The curve reaches span * span / 2 at middle grey; of that the two high products leave 1/32nds of a level.
  const float curve_top = static_cast<float>(space.span * space.span) / 2.0f;
  const float scale = strength * kLift * static_cast<float>(space.span) * 32.0f * 2.0f * 65536.0f / curve_top;
  bands.Run(view.height, RowBands::kRows, [&](int first, int end, int thread) {
    for (int row = first; row < end; ++row) LightRow(view, space, row, scale, scratch_[static_cast<size_t>(thread)]);
  });
}

void RelightStage::LightRow(const Nv12View &view, const YuvSpace &space, int row, float scale, Scratch &scratch) const {
  const cv::v_int16x8 black = cv::v_setall_s16(static_cast<int16_t>(space.black));
  const cv::v_int16x8 span = cv::v_setall_s16(static_cast<int16_t>(space.span));
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(16);
  const auto amount_of = [](float amount) {
    return cv::v_setall_s16(static_cast<int16_t>(std::lround(std::clamp(amount, 0.0f, 32767.0f))));
  };
  const bool shapes = share_of_faces_ > 0.0f;
  const cv::v_int16x8 face_amount = amount_of(scale * share_of_faces_);
  const cv::v_int16x8 amount = amount_of(scale * (1.0f - share_of_faces_) * rows_[static_cast<size_t>(row)]);
  if (shapes) face_map_.ExpandToLuma(row, scratch.blended, scratch.face_light.data());
  uint8_t *pixels = view.YRow(row);
  uint8_t *out = scratch.out.data();
  std::memcpy(out, pixels, static_cast<size_t>(view.width));
  for (int x = 0; x < view.width; x += kStep) {
    const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(out + x));
    const cv::v_int16x8 level = cv::v_min(cv::v_max(here - black, zero), span);
    const cv::v_int16x8 curve = cv::v_mul_wrap(level, span - level) << 1;
    cv::v_int16x8 light = cv::v_mul_hi(cv::v_load(columns_.data() + x), amount);
    if (shapes) light += cv::v_mul_hi(cv::v_load(scratch.face_light.data() + x), face_amount);
    const cv::v_int16x8 added = cv::v_mul_hi(curve, light);
    cv::v_pack_u_store(out + x, ((here << 5) + added + half) >> 5);
  }
  std::memcpy(pixels, out, static_cast<size_t>(view.width));
}

// The first frame begins with what it has.
void RelightStage::FollowFaces(const Orientation &orientation, const Faces &faces, const RowBands &bands) {
  const float wanted = faces.empty() ? 0.0f : 1.0f;
  share_of_faces_ = has_run_ ? std::clamp(wanted, share_of_faces_ - kFade, share_of_faces_ + kFade) : wanted;
  has_run_ = true;
  if (faces.empty()) return;
  const int columns = (width_ + kCell - 1) / kCell;
  const int rows = (height_ + kCell - 1) / kCell;
  face_light_.create(rows, columns, CV_32F);
  LightFaces(faces, orientation, kCell, bands, face_light_);
  face_map_.Resize(columns, rows);
  for (int row = 0; row < rows; ++row) {
    const float *lights = face_light_.ptr<float>(row);
    int16_t *map = face_map_.Row(row);
    for (int column = 0; column < columns; ++column)
      map[column] = static_cast<int16_t>(static_cast<int>(lights[column] * 32767.0f + 0.5f));
  }
}

void RelightStage::Prepare(int width, int height, const Orientation &orientation) {
  if (width == width_ && height == height_ && orientation == orientation_) return;
  width_ = width;
  height_ = height;
  orientation_ = orientation;
  has_run_ = false;
  share_of_faces_ = 0.0f;
  columns_.assign(Padded(width, kStep), 0);
  rows_.resize(static_cast<size_t>(height));
  const bool sideways = orientation.quarter_turns % 2 != 0;
  for (int x = 0; x < width; ++x) {
    const Place place = ToUpright(orientation, {Centre(x, width), 0.5f});
    const float light = sideways ? LightY(place.y) : LightX(place.x);
    columns_[static_cast<size_t>(x)] = static_cast<int16_t>(std::lround(light * 32767.0f));
  }
  for (int y = 0; y < height; ++y) {
    const Place place = ToUpright(orientation, {0.5f, Centre(y, height)});
    rows_[static_cast<size_t>(y)] = sideways ? LightX(place.x) : LightY(place.y);
  }
}

}  // namespace lumivex
