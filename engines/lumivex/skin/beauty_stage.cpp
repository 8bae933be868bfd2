#include "skin/beauty_stage.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core/hal/intrin.hpp>

#include "pixels/lanes.h"

namespace lumivex {
namespace {

constexpr float kWhitenLift = 0.19f;  // of white: what full whitening adds to middle grey
constexpr float kPallor = 0.20f;      // of the way to grey that full whitening takes the skin of nobody in particular
constexpr float kOwnHue = 0.30f;      // of the way to their own paler colour that it takes a known person's
constexpr float kOwnPallor = 0.12f;   // of their saturation that this colour lacks
constexpr float kRuddyU = -2.0f;      // levels that full ruddiness adds
constexpr float kRuddyV = 11.0f;
// What smoothing takes for texture and not for an edge, of white: weak, and what full strength adds to that.
constexpr float kQuietDeviation = 0.015f;
constexpr float kStrongDeviation = 0.02f;
constexpr float kQuietDeviationInFace = 0.04f;
constexpr float kStrongDeviationInFace = 0.22f;
// A blemish takes a part of the light, so its contrast grows with the skin's luma. The two above are those of skin half
// way to white; of black skin they are this part.
constexpr float kDimDeviation = 0.05f;
constexpr float kDimDeviationInFace = 0.35f;
constexpr float kMostContrast = 2.0f;     // of a face in hard light, against usual light: its folds stay
constexpr float kChromaDeviation = 7.0f;  // codes
constexpr float kChromaDeviationInFace = 60.0f;
constexpr float kWindowOfEyes = 0.15f;  // distances between the eyes on each side of the window
constexpr float kFewSkin = 0.01f;       // of a window: below it a cell stands for itself

// For values of 0 and more.
int16_t Fixed(float value) {
  return static_cast<int16_t>(std::min(value + 0.5f, 32767.0f));
}

void StoreFixed(const Lanes &values, int count, int16_t *to) {
  const cv::v_int32x4 whole = cv::v_trunc(Lesser(values + All<Lanes>(0.5f), All<Lanes>(32767.0f)));
  const cv::v_int16x8 fixed = cv::v_pack(whole, whole);
  if (count >= kLanes) return cv::v_store_low(to, fixed);
  int16_t some[2 * kLanes];
  cv::v_store(some, fixed);
  std::copy_n(some, count, to);
}

// Of blemishes, redness and pores, what smoothing takes: weak smoothing already fades spots while it leaves pores.
float BlemishPart(float smooth) {
  return smooth * (1.3f - 0.3f * smooth);
}
float RednessPart(float smooth) {
  return 1.0f - std::pow(1.0f - smooth, 1.6f);
}
float PorePart(float smooth) {
  return std::pow(smooth, 1.7f);
}

template <typename Value>
Value Mix(const Value &from, const Value &to, const Value &part) {
  return from + part * (to - from);
}
Lanes Mix(float from, float to, const Lanes &part) {
  return All<Lanes>(from) + part * All<Lanes>(to - from);
}

// Cells on each side of the window over which the guided filter looks. Without a face: 10 pixels at 1080 lines.
int WindowRadius(int height, float eye_distance) {
  if (eye_distance <= 0.0f) return std::clamp((height + 180) / 450, 1, 5);
  return std::clamp(static_cast<int>(std::lround(kWindowOfEyes * eye_distance / kCell)), 1, 12);
}

// By so many rows on each side.
cv::Range Wider(const cv::Range &rows, int by, int count) {
  return {std::max(rows.start - by, 0), std::min(rows.end + by, count)};
}

}  // namespace

bool BeautyStage::FindSkin(const Nv12View &view, const YuvSpace &space, const Faces &faces, const RowBands &bands,
                           bool keep) {
  const cv::Size former = mean_.size();
  height_ = view.height;
  MeasureCells(view, bands, mean_, square_);
  if (keep && found_ && mean_.size() == former) {
    skin_.MeasureChroma(view, bands);
  } else {
    found_ = skin_.Find(view, space, mean_, faces, bands);
  }
  return found_;
}

void BeautyStage::Apply(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength,
                        const RowBands &bands) {
  const cv::Range skin = skin_.RowsWithSkin();
  if (skin.empty()) return;
  rows_.Prepare(mean_.cols, bands);
  // Pixels of the rows beside skin are between it and the rows behind those.
  const cv::Range rows = Wider(skin, 2, mean_.rows);
  if (strength.smooth > 0.0f) Fit(space, strength, rows, bands);
  for (CellMap *map : {&removal_, &base_, &whiten_, &weight_, &chroma_removal_, &target_u_, &target_v_})
    map->Resize(mean_.cols, mean_.rows);
  bands.Run(rows.size(), kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = rows.start + first; row < rows.start + end; ++row) {
      BuildLumaRow(row, space, strength);
      BuildChromaRow(row, strength);
    }
  });
  if (strength.smooth > 0.0f || strength.whiten > 0.0f) ApplyLuma(view, space, strength, bands);
  ApplyChroma(view, strength, bands);
}

const CellMap &BeautyStage::ShareToSharpen(float smooth) {
  share_to_sharpen_.Resize(mean_.cols, mean_.rows);
  for (int row = 0; row < mean_.rows; ++row) {
    const uint8_t *skin = skin_.Weight().ptr<uint8_t>(row);
    int16_t *share = share_to_sharpen_.Row(row);
    for (int column = 0; column < mean_.cols; ++column) {
      share[column] = Fixed(32768.0f * (1.0f - smooth * static_cast<float>(skin[column]) * (1.0f / 255.0f)));
    }
  }
  return share_to_sharpen_;
}

void BeautyStage::Fit(const YuvSpace &space, const BeautyStrength &strength, const cv::Range &rows,
                      const RowBands &bands) {
  const int radius = WindowRadius(height_, skin_.EyeDistance());
  const cv::Range around = Wider(rows, radius, mean_.rows);
  means_.Measure({{{&mean_, &window_mean_},
                   {&square_, &window_square_},
                   {&skin_.MeanU(), &window_u_},
                   {&skin_.MeanV(), &window_v_}}},
                 &skin_.Plain(), radius, kFewSkin, around, bands);
  gain_.create(mean_.rows, mean_.cols, CV_32F);
  offset_.create(mean_.rows, mean_.cols, CV_32F);
  bands.Run(around.size(), kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = around.start + first; row < around.start + end; ++row) FitRow(row, space, strength);
  });
  means_.Measure({{{&gain_, &mean_gain_}, {&offset_, &mean_offset_}}}, nullptr, radius, 0.0f, rows, bands);
  bands.Run(rows.size(), kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = rows.start + first; row < rows.start + end; ++row) KeepEdges(row);
  });
}

void BeautyStage::FitRow(int row, const YuvSpace &space, const BeautyStrength &strength) {
  const auto span = static_cast<float>(space.span);
  const float anywhere = (kQuietDeviation + kStrongDeviation * strength.smooth) * span;
  const float in_face = (kQuietDeviationInFace + kStrongDeviationInFace * strength.smooth) * span;
  const Lanes black = All<Lanes>(static_cast<float>(space.black));
  const Lanes per_middle = All<Lanes>(2.0f / span);
  const Lanes zero = All<Lanes>(0.0f);
  const Lanes one = All<Lanes>(1.0f);
  const float *means = window_mean_.ptr<float>(row);
  const float *squares = window_square_.ptr<float>(row);
  const uint8_t *inside = skin_.InFace().ptr<uint8_t>(row);
  float *gains = gain_.ptr<float>(row);
  float *offsets = offset_.ptr<float>(row);
  for (int column = 0; column < mean_.cols; column += kLanes) {
    const int count = mean_.cols - column;
    const Lanes mean = LoadSome(means + column, count);
    const Lanes variance = Greater(LoadSome(squares + column, count) - mean * mean, zero);
    const Lanes in = LoadSome(inside + column, count) * All<Lanes>(1.0f / 255.0f);
    Lanes deviation = All<Lanes>(anywhere);
    if (cv::v_check_any(in > zero)) deviation = Mix(deviation, All<Lanes>(in_face) * Contrasts(row, column), in);
    const Lanes dim = Mix(kDimDeviation, kDimDeviationInFace, in);
    const Lanes lit = dim + (one - dim) * Greater(mean - black, zero) * per_middle;
    const Lanes quiet = deviation * deviation * lit * lit;
    const Lanes gain = variance / (variance + quiet);
    StoreSome(gain, count, gains + column);
    StoreSome((one - gain) * mean, count, offsets + column);
  }
}

// Of the light on the faces that four cells are nearest to.
Lanes BeautyStage::Contrasts(int row, int column) const {
  float contrasts[kLanes];
  for (int i = 0; i < kLanes; ++i) contrasts[i] = std::min(skin_.ContrastAt(row, column + i), kMostContrast);
  return cv::v_load(contrasts);
}

// A cell on an edge keeps its own model: the mean with its flat neighbours would soften the edge. On a face that is
// known there are no such edges within the skin.
void BeautyStage::KeepEdges(int row) {
  float *gain = gain_.ptr<float>(row);
  float *offset = offset_.ptr<float>(row);
  const float *mean_gain = mean_gain_.ptr<float>(row);
  const float *mean_offset = mean_offset_.ptr<float>(row);
  const uint8_t *inside = skin_.InFace().ptr<uint8_t>(row);
  for (int column = 0; column < gain_.cols; ++column) {
    const float part = gain[column] > mean_gain[column] ? static_cast<float>(inside[column]) * (1.0f / 255.0f) : 1.0f;
    gain[column] = Mix(gain[column], mean_gain[column], part);
    offset[column] = Mix(offset[column], mean_offset[column], part);
  }
  if (!skin_.Spots().Any()) return;
  const uint8_t *spots = skin_.Spots().Drawn().ptr<uint8_t>(row);
  const cv::Vec3f *shift = skin_.Spots().Shift().ptr<cv::Vec3f>(row);
  const float *mean = mean_.ptr<float>(row);
  for (int column = 0; column < gain_.cols; ++column) {
    if (spots[column] == 0) continue;
    const float part = static_cast<float>(spots[column]) * (1.0f / 255.0f);
    gain[column] = Mix(gain[column], 0.0f, part);
    offset[column] = Mix(offset[column], mean[column] + shift[column][0], part);
  }
}

void BeautyStage::BuildLumaRow(int row, const YuvSpace &space, const BeautyStrength &strength) {
  // The whitening curve below reaches span * span / 4 * 2 / 65536 of this, in 1/32nds of a level.
  const auto span = static_cast<float>(space.span);
  const float whitening = strength.whiten * kWhitenLift * span * 32.0f * 65536.0f / (span * span / 2.0f) / 255.0f;
  const uint8_t *skin = skin_.Weight().ptr<uint8_t>(row);
  int16_t *whiten = whiten_.Row(row);
  int16_t *weight = weight_.Row(row);
  for (int column = 0; column < mean_.cols; ++column) {
    const auto here = static_cast<float>(skin[column]);
    whiten[column] = Fixed(here * whitening);
    weight[column] = Fixed(here * (32768.0f / 255.0f));
  }
  int16_t *removal = removal_.Row(row);
  int16_t *base = base_.Row(row);
  if (strength.smooth <= 0.0f) {
    std::fill_n(removal, mean_.cols, int16_t{0});
    std::fill_n(base, mean_.cols, int16_t{0});
    return;
  }
  const float blemishes = BlemishPart(strength.smooth);
  const float *gain = gain_.ptr<float>(row);
  const float *offset = offset_.ptr<float>(row);
  for (int column = 0; column < mean_.cols; ++column) {
    const auto here = static_cast<float>(skin[column]);
    removal[column] = Fixed(here * (1.0f - gain[column]) * (32768.0f / 255.0f));
    base[column] = Fixed(here * blemishes * offset[column] * (32.0f / 255.0f));
  }
}

// Smoothing and whitening each pull a cell's chroma some part of the way to a place; together that is one pull.
void BeautyStage::BuildChromaRow(int row, const BeautyStrength &strength) {
  const Lanes zero = All<Lanes>(0.0f);
  const Lanes one = All<Lanes>(1.0f);
  const uint8_t *skin = skin_.Weight().ptr<uint8_t>(row);
  int16_t *removal = chroma_removal_.Row(row);
  int16_t *target_u = target_u_.Row(row);
  int16_t *target_v = target_v_.Row(row);
  const float redness = RednessPart(strength.smooth);
  for (int column = 0; column < mean_.cols; column += kLanes) {
    const int count = mean_.cols - column;
    const Lanes here = LoadSome(skin + column, count) * All<Lanes>(1.0f / 255.0f);
    const Pull smoothing = SmoothingPull(row, column, redness);
    const Pull whitening = WhiteningPull(row, column, strength.whiten);
    const Lanes both = smoothing.part + (one - smoothing.part) * whitening.part;
    StoreFixed(All<Lanes>(32768.0f) * here * both, count, removal + column);
    // Whitening comes after smoothing.
    const Lanes share = cv::v_select(both > zero, whitening.part / both, zero);
    StoreFixed(All<Lanes>(64.0f) * Mix(smoothing.u, whitening.u, share), count, target_u + column);
    StoreFixed(All<Lanes>(64.0f) * Mix(smoothing.v, whitening.v, share), count, target_v + column);
  }
}

BeautyStage::Pull BeautyStage::SmoothingPull(int row, int column, float redness) const {
  const int count = mean_.cols - column;
  const Lanes u = LoadSome(skin_.MeanU().ptr<float>(row) + column, count);
  const Lanes v = LoadSome(skin_.MeanV().ptr<float>(row) + column, count);
  if (redness <= 0.0f) return {All<Lanes>(0.0f), u, v};
  const Lanes most = All<Lanes>(redness);
  Pull pull{most, LoadSome(window_u_.ptr<float>(row) + column, count),
            LoadSome(window_v_.ptr<float>(row) + column, count)};
  const Lanes from_u = u - pull.u;
  const Lanes from_v = v - pull.v;
  const Lanes inside = LoadSome(skin_.InFace().ptr<uint8_t>(row) + column, count) * All<Lanes>(1.0f / 255.0f);
  const Lanes deviation = Mix(kChromaDeviation, kChromaDeviationInFace, inside);
  const Lanes quiet = deviation * deviation;
  pull.part = most * quiet / (quiet + from_u * from_u + from_v * from_v);
  if (!skin_.Spots().Any() || !skin_.Spots().InRow(row)) return pull;
  const Lanes spot = LoadSome(skin_.Spots().Drawn().ptr<uint8_t>(row) + column, count) * All<Lanes>(1.0f / 255.0f);
  if (!cv::v_check_any(spot > All<Lanes>(0.0f))) return pull;
  float shift_u[kLanes] = {};
  float shift_v[kLanes] = {};
  for (int i = 0; i < std::min(count, kLanes); ++i) {
    if (skin_.Spots().Drawn().at<uint8_t>(row, column + i) == 0) continue;  // has no shift
    const cv::Vec3f &shift = skin_.Spots().Shift().at<cv::Vec3f>(row, column + i);
    shift_u[i] = shift[1];
    shift_v[i] = shift[2];
  }
  return {Mix(pull.part, most, spot), Mix(pull.u, u + cv::v_load(shift_u), spot),
          Mix(pull.v, v + cv::v_load(shift_v), spot)};
}

BeautyStage::Pull BeautyStage::WhiteningPull(int row, int column, float whiten) const {
  const Lanes grey = All<Lanes>(128.0f);
  const Pull anyones{All<Lanes>(whiten * kPallor), grey, grey};
  const std::optional<OwnColour> &own = skin_.Own();
  if (!own) return anyones;
  const int count = mean_.cols - column;
  const Lanes luma = LoadSome(mean_.ptr<float>(row) + column, count);
  const Lanes lit =
      Lesser(Greater((luma - All<Lanes>(own->black)) / All<Lanes>(own->luma), All<Lanes>(0.4f)), All<Lanes>(1.25f));
  const Lanes paler = All<Lanes>(1.0f - kOwnPallor) * lit;
  const Pull pull{All<Lanes>(whiten * kOwnHue), grey + paler * All<Lanes>(own->u), grey + paler * All<Lanes>(own->v)};
  const cv::Mat *others = skin_.Others();
  if (!others) return pull;
  const Lanes other = LoadSome(others->ptr<uint8_t>(row) + column, count) > All<Lanes>(0.0f);
  return {cv::v_select(other, anyones.part, pull.part), cv::v_select(other, anyones.u, pull.u),
          cv::v_select(other, anyones.v, pull.v)};
}

void BeautyStage::ApplyLuma(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength,
                            const RowBands &bands) {
  const cv::v_int16x8 blemishes = cv::v_setall_s16(Fixed(BlemishPart(strength.smooth) * 32768.0f));
  const cv::v_int16x8 pores = cv::v_setall_s16(Fixed(PorePart(strength.smooth) * 32768.0f));
  const cv::v_int16x8 black = cv::v_setall_s16(static_cast<int16_t>(space.black));
  const cv::v_int16x8 span = cv::v_setall_s16(static_cast<int16_t>(space.span));
  const cv::v_int16x8 zero = cv::v_setzero_s16();
  const cv::v_int16x8 half = cv::v_setall_s16(16);
  rows_.ChangeLuma<3>(
      view, cv::Range(0, view.height), {&removal_, &base_, &whiten_}, bands,
      [&](int row) { return skin_.RowHasSkin(row, kCell); },
      [&](const cv::v_int16x8 &here, const cv::v_int16x8 &low, const MappedRows::Values<3> &values) {
        const auto &[removal, base, whiten] = values;
        // Texture in 1/64ths of a level as the low-pass, removed detail and result in 1/32nds.
        const cv::v_int16x8 texture = (here << 6) - low;
        const cv::v_int16x8 share = cv::v_mul_hi(low, blemishes) + cv::v_mul_hi(texture, pores);
        const cv::v_int16x8 smoothed = (here << 5) - cv::v_mul_hi(share << 1, removal) + base;
        const cv::v_int16x8 level = cv::v_min(cv::v_max((smoothed >> 5) - black, zero), span);
        const cv::v_int16x8 curve = cv::v_mul_wrap(level, span - level) << 1;
        return (smoothed + cv::v_mul_hi(curve, whiten) + half) >> 5;
      });
}

void BeautyStage::ApplyChroma(const Nv12View &view, const BeautyStrength &strength, const RowBands &bands) {
  // In 1/64ths, for U and V in turn.
  const auto rosy_u = static_cast<int16_t>(std::lround(strength.ruddy * kRuddyU * 128.0f));
  const auto rosy_v = static_cast<int16_t>(std::lround(strength.ruddy * kRuddyV * 128.0f));
  const cv::v_int16x8 rosy(rosy_u, rosy_v, rosy_u, rosy_v, rosy_u, rosy_v, rosy_u, rosy_v);
  const cv::Range rows(0, view.chroma_height);
  const auto wanted = [&](int row) { return skin_.RowHasSkin(row, kCell / 2); };
  if (strength.ruddy <= 0.0f) {
    rows_.ChangeChroma<3>(view, rows, {&chroma_removal_, &target_u_, &target_v_}, bands, wanted,
                          [](const cv::v_int16x8 &codes, const MappedRows::Values<3> &values) {
                            return codes + MappedRows::Pull(codes, values[0], values[1], values[2]);
                          });
    return;
  }
  rows_.ChangeChroma<4>(view, rows, {&chroma_removal_, &target_u_, &target_v_, &weight_}, bands, wanted,
                        [&](const cv::v_int16x8 &codes, const MappedRows::Values<4> &values) {
                          return codes + MappedRows::Pull(codes, values[0], values[1], values[2]) +
                                 cv::v_mul_hi(rosy, values[3]);
                        });
}

}  // namespace lumivex
