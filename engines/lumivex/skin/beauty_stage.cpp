#include "skin/beauty_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

constexpr int kStep = RowWindow::kStep;
constexpr int kFeather = 5;           // cells across which the edge of skin is softened
constexpr float kWhitenLift = 0.19f;  // of white: what full whitening adds to middle grey
constexpr float kPallor = 0.20f;      // saturation that full whitening takes
constexpr float kRuddyU = -2.0f;      // levels that full ruddiness adds
constexpr float kRuddyV = 11.0f;
constexpr float kQuietDeviation = 0.03f;    // of white: what weak smoothing takes for texture and not for an edge
constexpr float kStrongDeviation = 0.035f;  // what full strength adds to that

// For values of 0 and more.
int16_t Fixed(float value) {
  return static_cast<int16_t>(std::min(value + 0.5f, 32767.0f));
}

// Cells on each side of the window over which the guided filter looks: 10 pixels at 1080 lines.
int WindowRadius(int height) {
  return std::clamp((height + 300) / 600, 1, 4);
}

}  // namespace

bool BeautyStage::FindSkin(const Nv12View &view, const YuvSpace &space) {
  skin_chroma_.Prepare(space);
  MeasureCells(view, mean_, square_);
  MeasureSkin(view);
  skin_rows_.resize(static_cast<size_t>(skin_.rows));
  bool any = false;
  for (int row = 0; row < skin_.rows; ++row) {
    const uint8_t *weights = skin_.ptr<uint8_t>(row);
    const bool found = std::any_of(weights, weights + skin_.cols, [](uint8_t weight) { return weight != 0; });
    skin_rows_[static_cast<size_t>(row)] = found;
    any = any || found;
  }
  return any;
}

void BeautyStage::MeasureSkin(const Nv12View &view) {
  skin_.create(mean_.rows, mean_.cols, CV_8U);
  for (int row = 0; row < skin_.rows; ++row) {
    const uint8_t *upper = view.UvRow(2 * row);
    const uint8_t *lower = view.UvRow(std::min(2 * row + 1, view.chroma_height - 1));
    const float *luma = mean_.ptr<float>(row);
    uint8_t *weights = skin_.ptr<uint8_t>(row);
    for (int column = 0; column < skin_.cols; ++column) {
      const int left = 4 * column;
      const int right = 2 * column + 1 < view.chroma_width ? left + 2 : left;
      const int u = (upper[left] + upper[right] + lower[left] + lower[right] + 2) >> 2;
      const int v = (upper[left + 1] + upper[right + 1] + lower[left + 1] + lower[right + 1] + 2) >> 2;
      weights[column] = static_cast<uint8_t>(skin_chroma_.Weight(static_cast<int>(luma[column]), u, v));
    }
  }
  cv::blur(skin_, skin_, cv::Size(kFeather, kFeather), cv::Point(-1, -1), cv::BORDER_REPLICATE);
}

void BeautyStage::Apply(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength) {
  const auto padded = static_cast<size_t>((skin_.cols + kStep - 1) / kStep * kStep * kCell);
  for (auto *row : {&removal_row_, &base_row_, &whiten_row_, &weight_row_}) row->resize(padded);
  out_row_.resize(padded);
  FitModel(view, space, strength);
  BuildMaps(space, strength);
  if (strength.smooth > 0.0f || strength.whiten > 0.0f) ApplyLuma(view, space, strength);
  if (strength.whiten > 0.0f || strength.ruddy > 0.0f) ApplyChroma(view, strength);
}

void BeautyStage::FitModel(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength) {
  if (strength.smooth <= 0.0f) return;
  const int side = 2 * WindowRadius(view.height) + 1;
  const cv::Size window(side, side);
  const cv::Point centre(-1, -1);
  cv::blur(mean_, window_mean_, window, centre, cv::BORDER_REPLICATE);
  cv::blur(square_, square_, window, centre, cv::BORDER_REPLICATE);

  const float deviation = (kQuietDeviation + kStrongDeviation * strength.smooth) * static_cast<float>(space.span);
  const float quiet = deviation * deviation;
  gain_.create(mean_.rows, mean_.cols, CV_32F);
  offset_.create(mean_.rows, mean_.cols, CV_32F);
  for (int row = 0; row < mean_.rows; ++row) {
    const float *mean = window_mean_.ptr<float>(row);
    const float *square = square_.ptr<float>(row);
    float *gain = gain_.ptr<float>(row);
    float *offset = offset_.ptr<float>(row);
    for (int column = 0; column < mean_.cols; ++column) {
      const float variance = std::max(square[column] - mean[column] * mean[column], 0.0f);
      gain[column] = variance / (variance + quiet);
      offset[column] = (1.0f - gain[column]) * mean[column];
    }
  }
  cv::blur(gain_, mean_gain_, window, centre, cv::BORDER_REPLICATE);
  cv::blur(offset_, mean_offset_, window, centre, cv::BORDER_REPLICATE);
  // A cell on an edge keeps its own model: the mean with its flat neighbours would soften the edge.
  for (int row = 0; row < gain_.rows; ++row) {
    float *gain = gain_.ptr<float>(row);
    float *offset = offset_.ptr<float>(row);
    const float *mean_gain = mean_gain_.ptr<float>(row);
    const float *mean_offset = mean_offset_.ptr<float>(row);
    for (int column = 0; column < gain_.cols; ++column) {
      const bool edge = gain[column] > mean_gain[column];
      gain[column] = edge ? gain[column] : mean_gain[column];
      offset[column] = edge ? offset[column] : mean_offset[column];
    }
  }
}

void BeautyStage::BuildMaps(const YuvSpace &space, const BeautyStrength &strength) {
  for (CellMap *map : {&removal_, &base_, &whiten_, &weight_}) map->Resize(skin_.cols, skin_.rows);
  // The whitening curve below reaches span * span / 4 * 2 / 65536 of this, in 1/32nds of a level.
  const auto span = static_cast<float>(space.span);
  const float whitening = strength.whiten * kWhitenLift * span * 32.0f * 65536.0f / (span * span / 2.0f) / 255.0f;
  for (int row = 0; row < skin_.rows; ++row) {
    const uint8_t *skin = skin_.ptr<uint8_t>(row);
    int16_t *whiten = whiten_.Row(row);
    int16_t *weight = weight_.Row(row);
    for (int column = 0; column < skin_.cols; ++column) {
      const auto here = static_cast<float>(skin[column]);
      whiten[column] = Fixed(here * whitening);
      weight[column] = Fixed(here * (32768.0f / 255.0f));
    }
    int16_t *removal = removal_.Row(row);
    int16_t *base = base_.Row(row);
    if (strength.smooth <= 0.0f) {
      std::fill_n(removal, skin_.cols, int16_t{0});
      std::fill_n(base, skin_.cols, int16_t{0});
      continue;
    }
    const float *gain = gain_.ptr<float>(row);
    const float *offset = offset_.ptr<float>(row);
    for (int column = 0; column < skin_.cols; ++column) {
      const auto here = static_cast<float>(skin[column]);
      removal[column] = Fixed(here * (1.0f - gain[column]) * (32768.0f / 255.0f));
      base[column] = Fixed(here * strength.smooth * offset[column] * (32.0f / 255.0f));
    }
  }
}

void BeautyStage::ApplyLuma(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength) {
  const cv::v_int16x8 blemishes = cv::v_setall_s16(Fixed(strength.smooth * 32768.0f));
  const cv::v_int16x8 pores = cv::v_setall_s16(Fixed(strength.smooth * strength.smooth * 32768.0f));
  const cv::v_int16x8 black = cv::v_setall_s16(static_cast<int16_t>(space.black));
  const cv::v_int16x8 span = cv::v_setall_s16(static_cast<int16_t>(space.span));
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(16);

  rows_.Begin(view.y, view.y_stride, view.width, view.height);
  for (int row = 0; row < view.height; ++row, rows_.Advance()) {
    if (!RowHasSkin(row, kCell)) continue;
    removal_.ExpandToLuma(row, removal_row_.data());
    base_.ExpandToLuma(row, base_row_.data());
    whiten_.ExpandToLuma(row, whiten_row_.data());
    const uint8_t *pixels = rows_.Row();
    for (int x = 0; x < view.width; x += kStep) {
      const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(pixels + x));
      const cv::v_int16x8 middle = cv::v_load(rows_.Here() + x);
      // Low-pass and texture in 1/64ths of a level, removed detail and result in 1/32nds.
      const cv::v_int16x8 low = (cv::v_load(rows_.Above() + x) + middle + middle + cv::v_load(rows_.Below() + x)) << 2;
      const cv::v_int16x8 texture = (here << 6) - low;
      const cv::v_int16x8 share = cv::v_mul_hi(low, blemishes) + cv::v_mul_hi(texture, pores);
      const cv::v_int16x8 removed = cv::v_mul_hi(share << 1, cv::v_load(removal_row_.data() + x));
      cv::v_int16x8 result = (here << 5) - removed + cv::v_load(base_row_.data() + x);
      const cv::v_int16x8 level = cv::v_min(cv::v_max((result >> 5) - black, zero), span);
      const cv::v_int16x8 curve = cv::v_mul_wrap(level, span - level) << 1;
      result += cv::v_mul_hi(curve, cv::v_load(whiten_row_.data() + x));
      cv::v_pack_u_store(out_row_.data() + x, (result + half) >> 5);
    }
    std::memcpy(view.YRow(row), out_row_.data(), static_cast<size_t>(view.width));
  }
}

void BeautyStage::ApplyChroma(const Nv12View &view, const BeautyStrength &strength) {
  // In 1/256ths, for U and V in turn.
  const auto pallor = static_cast<int16_t>(std::lround(strength.whiten * kPallor * 256.0f));
  const auto rosy_u = static_cast<int16_t>(std::lround(strength.ruddy * kRuddyU * 256.0f));
  const auto rosy_v = static_cast<int16_t>(std::lround(strength.ruddy * kRuddyV * 256.0f));
  const cv::v_int16x8 pull = cv::v_setall_s16(pallor);
  const cv::v_int16x8 rosy(rosy_u, rosy_v, rosy_u, rosy_v, rosy_u, rosy_v, rosy_u, rosy_v);
  const cv::v_int16x8 grey = cv::v_setall_s16(128);
  const cv::v_int16x8 half = cv::v_setall_s16(64);
  const int bytes = 2 * view.chroma_width;

  for (int row = 0; row < view.chroma_height; ++row) {
    if (!RowHasSkin(row, kCell / 2)) continue;
    weight_.ExpandToChroma(row, weight_row_.data());
    uint8_t *codes = view.UvRow(row);
    std::memcpy(out_row_.data(), codes, static_cast<size_t>(bytes));
    for (int x = 0; x < bytes; x += kStep) {
      const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(out_row_.data() + x));
      const cv::v_int16x8 change = cv::v_mul_wrap(grey - here, pull) + rosy;
      const cv::v_int16x8 weighted = cv::v_mul_hi(change, cv::v_load(weight_row_.data() + x));
      cv::v_pack_u_store(out_row_.data() + x, here + ((weighted + half) >> 7));
    }
    std::memcpy(codes, out_row_.data(), static_cast<size_t>(bytes));
  }
}

bool BeautyStage::RowHasSkin(int pixel_row, int scale) const {
  const int row = pixel_row / scale;
  const int first = std::max(row - 1, 0);
  const int last = std::min(row + 1, skin_.rows - 1);
  for (int i = first; i <= last; ++i) {
    if (skin_rows_[static_cast<size_t>(i)]) return true;
  }
  return false;
}

}  // namespace lumivex
