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

void SharpenStage::Apply(const Nv12View &view, float strength, const CellMap *share, const RowBands &bands) {
  const auto whole = static_cast<int16_t>(std::lround(std::clamp(strength, 0.0f, 1.0f) * 32767.0f));
  const cv::v_int16x8 whole_amount = cv::v_setall_s16(whole);
  constexpr size_t kWholeCells = size_t{kStep} * kCell;  // a map fills its row by so many pixels
  scratch_.resize(static_cast<size_t>(bands.Threads()));
  for (Scratch &scratch : scratch_) {
    scratch.out.resize(static_cast<size_t>(RowWindow::PaddedWidth(view.width)));
    scratch.amount.assign((static_cast<size_t>(view.width) + kWholeCells - 1) / kWholeCells * kWholeCells, whole);
  }
  const cv::v_int16x8 noise = cv::v_setall_s16(kNoise);
  const cv::v_int16x8 most = cv::v_setall_s16(kOvershoot);
  const cv::v_int16x8 least = cv::v_setall_s16(-kOvershoot);
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(32);
  const RowWindow::Plane plane{view.y, view.y_stride, view.width, view.height};
  edges_.Save(view.y, view.y_stride, view.width, view.height, bands.RowsOfBand(view.height));

  bands.Run(view.height, RowBands::kRows, [&](int first, int end, int thread) {
    Scratch &own = scratch_[static_cast<size_t>(thread)];
    own.window.Begin(plane, first, end, first, edges_);
    for (int row = first; row < end; ++row, own.window.Advance()) {
      const uint8_t *pixels = own.window.Row();
      if (share) {
        share->ExpandToLuma(row, own.blended, own.amount.data());
        for (size_t x = 0; x < own.amount.size(); x += kStep) {
          const cv::v_int16x8 part = cv::v_load(own.amount.data() + x);
          cv::v_store(own.amount.data() + x, cv::v_mul_hi(part, whole_amount) << 1);
        }
      }
      for (int x = 0; x < view.width; x += kStep) {
        const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(pixels + x));
        const cv::v_int16x8 middle = cv::v_load(own.window.Here() + x);
        const cv::v_int16x8 detail =
            (here << 4) - (cv::v_load(own.window.Above() + x) + middle + middle + cv::v_load(own.window.Below() + x));
        const cv::v_int16x8 cored = cv::v_max(detail - noise, zero) + cv::v_min(detail + noise, zero);
        const cv::v_int16x8 added =
            cv::v_min(cv::v_max(cv::v_mul_hi(cored << 3, cv::v_load(own.amount.data() + x)), least), most);
        cv::v_pack_u_store(own.out.data() + x, ((here << 6) + added + half) >> 6);
      }
      std::memcpy(view.YRow(row), own.out.data(), static_cast<size_t>(view.width));
    }
  });
}

}  // namespace lumivex
