#include "skin/retouch_stage.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core/hal/intrin.hpp>

#include "skin/face_regions.h"

namespace lumivex {
namespace {

// In distances between the eyes: how far the windows reach.
constexpr float kAroundSpot = 0.16f;
constexpr float kAroundPatch = 0.45f;
constexpr float kFewSkin = 0.02f;
// What full strength takes: a face on which nothing is left looks painted.
constexpr float kSpotPart = 0.9f;
constexpr float kLinePart = 0.7f;
constexpr float kCirclePart = 0.75f;
constexpr float kPatchPart = 0.4f;
constexpr float kHuePart = 0.6f;
constexpr float kMostCircle = 0.14f;  // of white, that a shift adds
constexpr float kMostPatch = 0.05f;
constexpr float kSpotRedness = 3.0f;   // codes above the skin around at which a spot is wholly red
constexpr int16_t kQuiet = 64;         // 1/64ths of a level that are texture
constexpr int16_t kDeepest = 64 * 64;  // no spot: a hair, an edge
constexpr float kSideOfCheek = 0.18f;  // in distances between the eyes

int16_t Fixed(float value) {
  return static_cast<int16_t>(std::clamp(value + 0.5f, 0.0f, 32767.0f));
}

float Mix(float from, float to, float part) {
  return from + part * (to - from);
}

int RadiusInCells(float pixels) {
  return std::clamp(static_cast<int>(std::lround(pixels / kCell)), 1, 60);
}

// Pulls one after the other, as one.
struct Pull {
  void Add(float part, float to_u, float to_v) {
    const float both = whole + (1.0f - whole) * part;
    if (both <= 0.0f) return;
    u = Mix(u, to_u, part / both);
    v = Mix(v, to_v, part / both);
    whole = both;
  }

  float whole = 0.0f;
  float u = 128.0f;
  float v = 128.0f;
};

}  // namespace

void RetouchStage::Apply(const Nv12View &view, const YuvSpace &space, const SkinMap &skin, const cv::Mat &cell_luma,
                         const Faces &faces, const RetouchStrength &strength, const RowBands &bands) {
  if (!strength.Any() || faces.empty() || !skin.Own()) return;
  rows_.Prepare(cell_luma.cols, bands);
  Measure(skin, cell_luma, bands);
  if (first_row_ >= end_row_) return;
  DrawMasks(faces, strength);
  BuildMaps(space, skin, cell_luma, faces, strength, bands);
  ApplyLuma(view, bands);
  ApplyChroma(view, bands);
}

void RetouchStage::Measure(const SkinMap &skin, const cv::Mat &cell_luma, const RowBands &bands) {
  cv::multiply(skin.Weight(), skin.InFace(), share_, 1.0 / 255.0, CV_8U);
  first_row_ = share_.rows;
  end_row_ = 0;
  for (int row = 0; row < share_.rows; ++row) {
    const uint8_t *shares = share_.ptr<uint8_t>(row);
    if (std::none_of(shares, shares + share_.cols, [](uint8_t share) { return share != 0; })) continue;
    first_row_ = std::min(first_row_, row);
    end_row_ = row + 1;
  }
  if (first_row_ >= end_row_) return;
  const int near = RadiusInCells(kAroundSpot * skin.EyeDistance());
  const int wide = RadiusInCells(kAroundPatch * skin.EyeDistance());
  const cv::Range rows(first_row_, end_row_);
  means_.Measure({{{&cell_luma, &window_luma_}, {&skin.MeanU(), &window_u_}, {&skin.MeanV(), &window_v_}}}, &share_,
                 near, kFewSkin, rows, bands);
  means_.Measure({{{&cell_luma, &wide_luma_}}}, &share_, wide, kFewSkin, rows, bands);
}

void RetouchStage::DrawMasks(const Faces &faces, const RetouchStrength &strength) {
  under_eyes_.create(share_.size(), CV_8U);
  under_eyes_.setTo(0);
  lines_.create(share_.size(), CV_8U);
  lines_.setTo(0);
  for (const Face &face : faces) {
    if (strength.dark_circles > 0.0f) DrawUnderEyes(face, kCell, under_eyes_);
    if (strength.smile_lines > 0.0f) DrawSmileLines(face, kCell, lines_);
  }
}

// Luma, U and V of the faces' cheeks, to which the skin below the eyes is compared. 0 luma: none seen.
cv::Vec3f RetouchStage::CheekColour(const SkinMap &skin, const cv::Mat &cell_luma, const Faces &faces) const {
  cv::Vec3f sum;
  float count = 0.0f;
  for (const Face &face : faces) {
    const float radius = kSideOfCheek * face.eye_distance;
    for (const FaceAnchor anchor : {FaceAnchor::kLeftCheek, FaceAnchor::kRightCheek}) {
      const FramePoint &middle = face.At(anchor);
      const auto cell = [](float pixels, int cells) {
        return static_cast<int>(std::clamp(pixels / kCell, 0.0f, static_cast<float>(cells - 1)));
      };
      for (int row = cell(middle.y - radius, share_.rows); row <= cell(middle.y + radius, share_.rows); ++row) {
        for (int column = cell(middle.x - radius, share_.cols); column <= cell(middle.x + radius, share_.cols);
             ++column) {
          const float share = ShareAt(row, column);
          sum += share * cv::Vec3f(cell_luma.at<float>(row, column), skin.MeanU().at<float>(row, column),
                                   skin.MeanV().at<float>(row, column));
          count += share;
        }
      }
    }
  }
  return count > 0.0f ? sum * (1.0f / count) : cv::Vec3f();
}

void RetouchStage::BuildMaps(const YuvSpace &space, const SkinMap &skin, const cv::Mat &cell_luma, const Faces &faces,
                             const RetouchStrength &strength, const RowBands &bands) {
  for (CellMap *map : {&lift_, &around_, &shift_, &pull_, &target_u_, &target_v_}) {
    map->Resize(share_.cols, share_.rows);
    // The rows beside those that are filled are blended with them.
    for (const int row : {std::max(first_row_ - 1, 0), std::min(end_row_, share_.rows - 1)})
      std::fill_n(map->Row(row), share_.cols, int16_t{0});
  }
  const cv::Vec3f cheek = CheekColour(skin, cell_luma, faces);
  bands.Run(end_row_ - first_row_, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first_row_ + first; row < first_row_ + end; ++row) {
      for (int column = 0; column < share_.cols; ++column) BuildCell(space, skin, strength, row, column, cheek);
    }
  });
}

void RetouchStage::BuildCell(const YuvSpace &space, const SkinMap &skin, const RetouchStrength &strength, int row,
                             int column, const cv::Vec3f &cheek) {
  const float share = ShareAt(row, column);
  const float near_luma = window_luma_.at<float>(row, column);
  const float near_u = window_u_.at<float>(row, column);
  const float near_v = window_v_.at<float>(row, column);
  const float v = skin.MeanV().at<float>(row, column);
  const auto span = static_cast<float>(space.span);
  const float spots = kSpotPart * strength.spots * share;
  const float line =
      kLinePart * strength.smile_lines * share * static_cast<float>(lines_.at<uint8_t>(row, column)) / 255.0f;
  float circle =
      kCirclePart * strength.dark_circles * share * static_cast<float>(under_eyes_.at<uint8_t>(row, column)) / 255.0f;
  if (cheek[0] <= 0.0f) circle = 0.0f;

  lift_.Row(row)[column] = Fixed(32768.0f * (1.0f - (1.0f - spots) * (1.0f - line)));
  around_.Row(row)[column] = Fixed(64.0f * near_luma);
  const float patch = std::clamp(wide_luma_.at<float>(row, column) - near_luma, -kMostPatch * span, kMostPatch * span);
  const float below = std::clamp(cheek[0] - near_luma, 0.0f, kMostCircle * span);
  const float shift = kPatchPart * strength.even_tone * share * patch + circle * below;
  shift_.Row(row)[column] = static_cast<int16_t>(std::lround(64.0f * shift));

  const OwnColour &own = *skin.Own();
  const float lit = std::clamp((near_luma - own.black) / own.luma, 0.4f, 1.25f);
  Pull pull;
  pull.Add(spots * std::clamp((v - near_v) / kSpotRedness, 0.0f, 1.0f), near_u, near_v);
  pull.Add(kHuePart * strength.even_tone * share, 128.0f + lit * own.u, 128.0f + lit * own.v);
  pull.Add(circle, cheek[1], cheek[2]);
  pull_.Row(row)[column] = Fixed(32768.0f * pull.whole);
  target_u_.Row(row)[column] = Fixed(64.0f * pull.u);
  target_v_.Row(row)[column] = Fixed(64.0f * pull.v);
}

void RetouchStage::ApplyLuma(const Nv12View &view, const RowBands &bands) {
  const cv::v_int16x8 quiet = cv::v_setall_s16(kQuiet);
  const cv::v_int16x8 deepest = cv::v_setall_s16(kDeepest);
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(32);
  const cv::Range rows(first_row_ * kCell, std::min(end_row_ * kCell, view.height));
  rows_.ChangeLuma<3>(
      view, rows, {&lift_, &around_, &shift_}, bands, [](int) { return true; },
      [&](const cv::v_int16x8 &here, const cv::v_int16x8 &low, const MappedRows::Values<3> &values) {
        const auto &[lift, around, shift] = values;
        // All in 1/64ths of a level.
        const cv::v_int16x8 dip = cv::v_min(cv::v_max(around - low - quiet, zero), deepest);
        return ((here << 6) + cv::v_mul_hi(dip << 1, lift) + shift + half) >> 6;
      });
}

void RetouchStage::ApplyChroma(const Nv12View &view, const RowBands &bands) {
  const cv::Range rows(first_row_ * kCell / 2, std::min(end_row_ * kCell / 2, view.chroma_height));
  rows_.ChangeChroma<3>(
      view, rows, {&pull_, &target_u_, &target_v_}, bands, [](int) { return true; },
      [](const cv::v_int16x8 &codes, const MappedRows::Values<3> &values) {
        return codes + MappedRows::Pull(codes, values[0], values[1], values[2]);
      });
}

}  // namespace lumivex
