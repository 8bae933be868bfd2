#include "skin/retouch_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/imgproc.hpp>

#include "skin/face_regions.h"

namespace lumivex {
namespace {

constexpr int kStep = RowWindow::kStep;
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

void Blur(const cv::Mat &from, cv::Mat &to, int radius) {
  const int side = 2 * radius + 1;
  cv::blur(from, to, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
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
  MakeScratch(cell_luma.cols, bands);
  Measure(skin, cell_luma, bands);
  if (first_row_ >= end_row_) return;
  DrawMasks(faces, strength);
  BuildMaps(space, skin, cell_luma, faces, strength, bands);
  ApplyLuma(view, bands);
  ApplyChroma(view, bands);
}

void RetouchStage::MakeScratch(int columns, const RowBands &bands) {
  const auto padded = static_cast<size_t>((columns + kStep - 1) / kStep * kStep * kCell);
  scratch_.resize(static_cast<size_t>(bands.Threads()));
  for (Scratch &scratch : scratch_) {
    for (auto *row : {&scratch.lift, &scratch.around, &scratch.shift}) row->resize(padded);
    scratch.out.resize(padded);
  }
}

void RetouchStage::Measure(const SkinMap &skin, const cv::Mat &cell_luma, const RowBands &bands) {
  cv::multiply(skin.Weight(), skin.InFace(), share_, 1.0 / (255.0 * 255.0), CV_32F);
  first_row_ = share_.rows;
  end_row_ = 0;
  for (int row = 0; row < share_.rows; ++row) {
    const float *shares = share_.ptr<float>(row);
    if (std::none_of(shares, shares + share_.cols, [](float share) { return share > 0.0f; })) continue;
    first_row_ = std::min(first_row_, row);
    end_row_ = row + 1;
  }
  if (first_row_ >= end_row_) return;
  const int near = RadiusInCells(kAroundSpot * skin.EyeDistance());
  const int wide = RadiusInCells(kAroundPatch * skin.EyeDistance());
  struct Mean {
    const cv::Mat &values;
    const cv::Mat &window_share;
    int radius;
    cv::Mat &to;
  };
  const Mean means[] = {{cell_luma, window_share_, near, window_luma_},
                        {skin.MeanU(), window_share_, near, window_u_},
                        {skin.MeanV(), window_share_, near, window_v_},
                        {cell_luma, wide_share_, wide, wide_luma_}};
  Blur(share_, window_share_, near);
  Blur(share_, wide_share_, wide);
  bands.Run(static_cast<int>(std::size(means)), 1, [&](int first, int end, int thread) {
    cv::Mat &product = scratch_[static_cast<size_t>(thread)].product;
    for (int i = first; i < end; ++i) {
      const Mean &mean = means[i];
      cv::multiply(mean.values, share_, product);
      Blur(product, mean.to, mean.radius);
      for (int row = first_row_; row < end_row_; ++row) {
        const float *own = mean.values.ptr<float>(row);
        const float *part = mean.window_share.ptr<float>(row);
        float *here = mean.to.ptr<float>(row);
        for (int column = 0; column < mean.to.cols; ++column)
          here[column] = (here[column] + kFewSkin * own[column]) / (part[column] + kFewSkin);
      }
    }
  });
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
          const float share = share_.at<float>(row, column);
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
  const float share = share_.at<float>(row, column);
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
  const int top = first_row_ * kCell;
  const RowWindow::Plane plane{view.YRow(top), view.y_stride, view.width,
                               std::min(end_row_ * kCell, view.height) - top};
  edges_.Save(plane.pixels, plane.stride, plane.width, plane.height, bands.RowsOfBand(plane.height));
  bands.Run(plane.height, RowBands::kRows, [&](int first, int end, int thread) {
    Scratch &own = scratch_[static_cast<size_t>(thread)];
    own.window.Begin(plane, first, end, first, edges_);
    for (int row = first; row < end; ++row, own.window.Advance()) {
      lift_.ExpandToLuma(top + row, own.blended, own.lift.data());
      around_.ExpandToLuma(top + row, own.blended, own.around.data());
      shift_.ExpandToLuma(top + row, own.blended, own.shift.data());
      const uint8_t *pixels = own.window.Row();
      for (int x = 0; x < view.width; x += kStep) {
        const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(pixels + x));
        const cv::v_int16x8 middle = cv::v_load(own.window.Here() + x);
        const cv::v_int16x8 low =
            (cv::v_load(own.window.Above() + x) + middle + middle + cv::v_load(own.window.Below() + x)) << 2;
        // All in 1/64ths of a level.
        const cv::v_int16x8 dip = cv::v_min(cv::v_max(cv::v_load(own.around.data() + x) - low - quiet, zero), deepest);
        const cv::v_int16x8 lifted = cv::v_mul_hi(dip << 1, cv::v_load(own.lift.data() + x));
        const cv::v_int16x8 result = (here << 6) + lifted + cv::v_load(own.shift.data() + x);
        cv::v_pack_u_store(own.out.data() + x, (result + half) >> 6);
      }
      std::memcpy(view.YRow(top + row), own.out.data(), static_cast<size_t>(view.width));
    }
  });
}

void RetouchStage::ApplyChroma(const Nv12View &view, const RowBands &bands) {
  const cv::v_int16x8 is_u(-1, 0, -1, 0, -1, 0, -1, 0);
  const cv::v_int16x8 half = cv::v_setall_s16(32);
  const int bytes = 2 * view.chroma_width;
  const int top = first_row_ * kCell / 2;
  const int rows = std::min(end_row_ * kCell / 2, view.chroma_height) - top;
  bands.Run(rows, RowBands::kRows / 2, [&](int first, int end, int thread) {
    Scratch &own = scratch_[static_cast<size_t>(thread)];
    for (int row = top + first; row < top + end; ++row) {
      pull_.ExpandToChroma(row, own.blended, own.lift.data());
      target_u_.ExpandToChroma(row, own.blended, own.around.data());
      target_v_.ExpandToChroma(row, own.blended, own.shift.data());
      uint8_t *codes = view.UvRow(row);
      std::memcpy(own.out.data(), codes, static_cast<size_t>(bytes));
      for (int x = 0; x < bytes; x += kStep) {
        const cv::v_int16x8 here = cv::v_reinterpret_as_s16(cv::v_load_expand(own.out.data() + x)) << 6;
        const cv::v_int16x8 target =
            cv::v_select(is_u, cv::v_load(own.around.data() + x), cv::v_load(own.shift.data() + x));
        const cv::v_int16x8 pulled = cv::v_mul_hi((target - here) << 1, cv::v_load(own.lift.data() + x));
        cv::v_pack_u_store(own.out.data() + x, (here + pulled + half) >> 6);
      }
      std::memcpy(codes, own.out.data(), static_cast<size_t>(bytes));
    }
  });
}

}  // namespace lumivex
