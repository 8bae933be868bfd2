#include "color/relight_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {
namespace {

constexpr int kStep = 8;               // pixels that the loop takes at once
constexpr Place kLight{0.25f, 0.15f};  // on the upright picture
constexpr float kReachX = 0.45f;       // standard deviation of the light, in widths
constexpr float kReachY = 0.55f;       // in heights
constexpr float kLift = 0.21f;         // of white: what full light adds to middle grey

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

}  // namespace

void RelightStage::Apply(const Nv12View &view, const YuvSpace &space, const Orientation &orientation, float strength) {
  Prepare(view.width, view.height, orientation);
  const cv::v_int16x8 black = cv::v_setall_s16(static_cast<int16_t>(space.black));
  const cv::v_int16x8 span = cv::v_setall_s16(static_cast<int16_t>(space.span));
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(16);
  // The curve reaches span * span / 2 at middle grey; of that the two high products leave 1/32nds of a level.
  const float curve_top = static_cast<float>(space.span * space.span) / 2.0f;
  const float scale = strength * kLift * static_cast<float>(space.span) * 32.0f * 2.0f * 65536.0f / curve_top;

  for (int row = 0; row < view.height; ++row) {
    uint8_t *pixels = view.YRow(row);
    std::memcpy(out_row_.data(), pixels, static_cast<size_t>(view.width));
    const cv::v_int16x8 amount = cv::v_setall_s16(
        static_cast<int16_t>(std::lround(std::clamp(scale * rows_[static_cast<size_t>(row)], 0.0f, 32767.0f))));
    for (int x = 0; x < view.width; x += kStep) {
      const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(out_row_.data() + x));
      const cv::v_int16x8 level = cv::v_min(cv::v_max(here - black, zero), span);
      const cv::v_int16x8 curve = cv::v_mul_wrap(level, span - level) << 1;
      const cv::v_int16x8 light = cv::v_mul_hi(cv::v_load(columns_.data() + x), amount);
      const cv::v_int16x8 added = cv::v_mul_hi(curve, light);
      cv::v_pack_u_store(out_row_.data() + x, ((here << 5) + added + half) >> 5);
    }
    std::memcpy(pixels, out_row_.data(), static_cast<size_t>(view.width));
  }
}

void RelightStage::Prepare(int width, int height, const Orientation &orientation) {
  if (width == width_ && height == height_ && orientation == orientation_) return;
  width_ = width;
  height_ = height;
  orientation_ = orientation;
  const auto padded = static_cast<size_t>((width + kStep - 1) / kStep * kStep);
  columns_.assign(padded, 0);
  out_row_.assign(padded, 0);
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
