#include "skin/sharpen_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {
namespace {

constexpr int kStep = RowWindow::kStep;
constexpr int16_t kNoise = 16;           // 1/16ths of a level that are not sharpened
constexpr int16_t kOvershoot = 24 * 64;  // 1/64ths of a level that a pixel moves at most

}  // namespace

void SharpenStage::Apply(const Nv12View &view, float strength, CellMap *share) {
  rows_.Begin(view.y, view.y_stride, view.width, view.height);
  out_row_.resize(static_cast<size_t>(rows_.PaddedWidth()));
  const auto whole = static_cast<int16_t>(std::lround(std::clamp(strength, 0.0f, 1.0f) * 32767.0f));
  const cv::v_int16x8 whole_amount = cv::v_setall_s16(whole);
  constexpr size_t kWholeCells = size_t{kStep} * kCell;  // a map fills its row by so many pixels
  amount_row_.assign((static_cast<size_t>(view.width) + kWholeCells - 1) / kWholeCells * kWholeCells, whole);
  const cv::v_int16x8 noise = cv::v_setall_s16(kNoise);
  const cv::v_int16x8 most = cv::v_setall_s16(kOvershoot);
  const cv::v_int16x8 least = cv::v_setall_s16(-kOvershoot);
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(32);

  for (int row = 0; row < view.height; ++row, rows_.Advance()) {
    const uint8_t *pixels = rows_.Row();
    if (share) {
      share->ExpandToLuma(row, amount_row_.data());
      for (size_t x = 0; x < amount_row_.size(); x += kStep) {
        const cv::v_int16x8 part = cv::v_load(amount_row_.data() + x);
        cv::v_store(amount_row_.data() + x, cv::v_mul_hi(part, whole_amount) << 1);
      }
    }
    for (int x = 0; x < view.width; x += kStep) {
      const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(pixels + x));
      const cv::v_int16x8 middle = cv::v_load(rows_.Here() + x);
      const cv::v_int16x8 detail =
          (here << 4) - (cv::v_load(rows_.Above() + x) + middle + middle + cv::v_load(rows_.Below() + x));
      const cv::v_int16x8 cored = cv::v_max(detail - noise, zero) + cv::v_min(detail + noise, zero);
      const cv::v_int16x8 added =
          cv::v_min(cv::v_max(cv::v_mul_hi(cored << 3, cv::v_load(amount_row_.data() + x)), least), most);
      cv::v_pack_u_store(out_row_.data() + x, ((here << 6) + added + half) >> 6);
    }
    std::memcpy(view.YRow(row), out_row_.data(), static_cast<size_t>(view.width));
  }
}

}  // namespace lumivex
