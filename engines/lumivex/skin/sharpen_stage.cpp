#include "skin/sharpen_stage.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {
namespace {

constexpr int16_t kNoise = 16;           // 1/16ths of a level that are not sharpened
constexpr int16_t kOvershoot = 24 * 64;  // 1/64ths of a level that a pixel moves at most

// `low`: 1/64ths of a level, `amount`: 1/32768ths.
cv::v_int16x8 Sharpened(const cv::v_int16x8 &here, const cv::v_int16x8 &low, const cv::v_int16x8 &amount) {
  const cv::v_int16x8 noise = cv::v_setall_s16(kNoise);
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 detail = (here << 4) - (low >> 2);
  const cv::v_int16x8 cored = cv::v_max(detail - noise, zero) + cv::v_min(detail + noise, zero);
  const cv::v_int16x8 added = cv::v_min(cv::v_max(cv::v_mul_hi(cored << 3, amount), cv::v_setall_s16(-kOvershoot)),
                                        cv::v_setall_s16(kOvershoot));
  return ((here << 6) + added + cv::v_setall_s16(32)) >> 6;
}

}  // namespace

void SharpenStage::Apply(const Nv12View &view, float strength, const CellMap *share, const RowBands &bands) {
  const cv::v_int16x8 whole =
      cv::v_setall_s16(static_cast<int16_t>(std::lround(std::clamp(strength, 0.0f, 1.0f) * 32767.0f)));
  const cv::Range rows(0, view.height);
  const auto every = [](int) { return true; };
  rows_.Prepare((view.width + kCell - 1) / kCell, bands);
  if (!share) {
    rows_.ChangeLuma<0>(view, rows, {}, bands, every,
                        [&](const cv::v_int16x8 &here, const cv::v_int16x8 &low, const MappedRows::Values<0> &) {
                          return Sharpened(here, low, whole);
                        });
    return;
  }
  rows_.ChangeLuma<1>(view, rows, {share}, bands, every,
                      [&](const cv::v_int16x8 &here, const cv::v_int16x8 &low, const MappedRows::Values<1> &shares) {
                        return Sharpened(here, low, cv::v_mul_hi(shares[0], whole) << 1);
                      });
}

}  // namespace lumivex
