#include "skin/small_spots.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core/hal/intrin.hpp>

#include "pixels/cell_grid.h"
#include "pixels/lanes.h"

namespace lumivex {
namespace {

constexpr float kRings[] = {1.0f, 0.71f, 0.43f};  // parts of the widest one's radius
constexpr int kLeastRadius = 2;
constexpr float kWhite = 16384.0f;  // of `green_`
// What is missing to the ring's darkest place, as a part of it: from where on that is a spot. Noise has this much more
// in the dark, parts of white.
constexpr float kSpotNone = 0.02f;
constexpr float kSpotFull = 0.06f;
constexpr float kNoise = 0.02f;
// What is missing to the darkest pair of places across from each other, of what is missing to all of the ring: less on
// shapes that are longer than wide. Shade on one side alone makes no such shape.
constexpr float kLong = 0.35f;
constexpr float kRound = 0.6f;
// What luma is missing at most to the ring: nostrils and pupils are darker than spots.
constexpr float kDeepNone = 0.38f;
constexpr float kDeepFull = 0.55f;
// How much lighter than the ring any place in it is at most: the whites of eyes, and teeth, in dark skin.
constexpr float kLightNone = 0.25f;
constexpr float kLightFull = 0.5f;
constexpr float kSkinNone = 0.3f;  // of the ring
constexpr float kSkinFull = 0.6f;
constexpr float kWhole = 0.8f;  // of the radius: up to here a spot is drawn whole

}  // namespace

void SmallSpots::Find(const cv::Mat &luma, const cv::Mat &u, const cv::Mat &v, const YuvSpace &space, int radius,
                      cv::Mat &weight, const RowBands &bands) {
  const Cells cells{luma, u, v, static_cast<float>(space.black)};
  any_ = false;
  SetRings(radius);
  MeasureGreen(cells, space, bands);
  LookAround(weight, bands);
  for (int row = 0; row < weight.rows; ++row) {
    const uint8_t *found = found_.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; ++column) {
      for (size_t i = 0; found[column] != 0 && i < rings_.size(); ++i) {
        if (found[column] & (1U << i)) Draw(cells, weight, rings_[i], row, column);
      }
    }
  }
  if (any_) Finish(cells, weight);
}

void SmallSpots::SetRings(int radius) {
  if (!rings_.empty() && rings_.front().radius == radius) return;
  rings_.clear();
  for (const float part : kRings) {
    const int here = std::max(static_cast<int>(std::lround(part * static_cast<float>(radius))), kLeastRadius);
    Ring ring;
    ring.radius = here;
    const int count = (4 * here + 7) / 8 * 8;
    for (int i = 0; i < count; ++i) {
      const double angle = 2.0 * CV_PI * i / count;
      ring.places.emplace_back(cvRound(here * std::cos(angle)), cvRound(here * std::sin(angle)));
    }
    rings_.push_back(ring);
  }
  margin_ = radius;
}

// Redness takes from green what darkness takes from luma, so one map shows both.
void SmallSpots::MeasureGreen(const Cells &cells, const YuvSpace &space, const RowBands &bands) {
  const int rows = cells.luma.rows;
  const int columns = cells.luma.cols;
  green_.create(rows + 2 * margin_, columns + 2 * margin_ + cv::v_int16x8::nlanes, CV_16S);
  const float scale = kWhite / static_cast<float>(space.span);
  bands.Run(rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) {
      const float *luma = cells.luma.ptr<float>(row);
      const float *v = cells.v.ptr<float>(row);
      int16_t *green = green_.ptr<int16_t>(row + margin_) + margin_;
      for (int column = 0; column < columns; ++column) {
        const float value = (luma[column] - cells.black - (v[column] - 128.0f)) * scale;
        green[column] = static_cast<int16_t>(std::clamp(value, 0.0f, 32000.0f));
      }
      std::fill_n(green - margin_, margin_, green[0]);
      std::fill(green + columns, green_.ptr<int16_t>(row + margin_) + green_.cols, green[columns - 1]);
    }
  });
  for (int i = 0; i < margin_; ++i) {
    std::copy_n(green_.ptr<int16_t>(margin_), green_.cols, green_.ptr<int16_t>(i));
    std::copy_n(green_.ptr<int16_t>(margin_ + rows - 1), green_.cols, green_.ptr<int16_t>(margin_ + rows + i));
  }
}

void SmallSpots::LookAround(const cv::Mat &weight, const RowBands &bands) {
  found_.create(weight.size(), CV_8U);
  constexpr int kStep = cv::v_int16x8::nlanes;
  const cv::v_int16x8 more = cv::v_setall_s16(static_cast<int16_t>(kSpotNone * kNoise * kWhite));
  const cv::v_int16x8 less = cv::v_setall_s16(static_cast<int16_t>((1.0f - kSpotNone) * 32768.0f));
  bands.Run(weight.rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) {
      uint8_t *found = found_.ptr<uint8_t>(row);
      const uint8_t *places = weight.ptr<uint8_t>(row);
      std::fill_n(found, weight.cols, uint8_t{0});
      // A spot has skin beside it.
      if (std::all_of(places, places + weight.cols, [](uint8_t here) { return here == 0; })) continue;
      for (int column = 0; column < weight.cols; column += kStep) {
        const auto at = [&](const cv::Point &place) {
          return cv::v_load(green_.ptr<int16_t>(row + margin_ + place.y) + margin_ + column + place.x);
        };
        const cv::v_int16x8 here = at({0, 0});
        for (size_t i = 0; i < rings_.size(); ++i) {
          const std::vector<cv::Point> &places = rings_[i].places;
          cv::v_int16x8 darkest = cv::v_setall_s16(32767);
          cv::v_int16x8 spots = cv::v_setzero_s16();
          // Eight at a time, from all sides: mostly these already show that there is no spot.
          const size_t eighth = places.size() / 8;
          bool any = true;
          for (size_t turn = 0; turn < eighth && any; ++turn) {
            for (size_t place = turn; place < places.size(); place += eighth)
              darkest = cv::v_min(darkest, at(places[place]));
            spots = here < (cv::v_mul_hi(darkest, less) << 1) - more;
            any = cv::v_check_any(spots);
          }
          if (!any) continue;
          int16_t lanes[kStep];
          cv::v_store(lanes, spots);
          for (int lane = 0; lane < std::min(kStep, weight.cols - column); ++lane) {
            if (lanes[lane] != 0) found[column + lane] |= static_cast<uint8_t>(1U << i);
          }
        }
      }
    }
  });
}

void SmallSpots::Draw(const Cells &cells, const cv::Mat &weight, const Ring &ring, int row, int column) {
  const int radius = ring.radius;
  if (row < radius || column < radius || row + radius >= weight.rows || column + radius >= weight.cols) return;
  cv::Vec4f around;  // luma above black, U, V, weight
  float darkest = 2.0f;
  float darkest_pair = 2.0f;  // the lighter one of the two
  float mean = 0.0f;          // of green
  const auto count = ring.places.size();
  const auto green_at = [&](const cv::Point &place) {
    return static_cast<float>(green_.at<int16_t>(row + place.y + margin_, column + place.x + margin_)) / kWhite;
  };
  for (size_t i = 0; i < count; ++i) {
    const int y = row + ring.places[i].y;
    const int x = column + ring.places[i].x;
    around += cv::Vec4f(cells.luma.at<float>(y, x) - cells.black, cells.u.at<float>(y, x), cells.v.at<float>(y, x),
                        static_cast<float>(weight.at<uint8_t>(y, x)));
    const float green = green_at(ring.places[i]);
    darkest = std::min(darkest, green);
    darkest_pair = std::min(darkest_pair, std::max(green, green_at(ring.places[(i + count / 2) % count])));
    mean += green / static_cast<float>(count);
  }
  around *= 1.0f / static_cast<float>(count);
  const float here = green_at({0, 0});
  const float missing = (darkest - here) / (darkest + kNoise);
  const float skin = Part<float>(kSkinNone, kSkinFull, around[3] / 255.0f);
  const float roundness = (darkest_pair - here) / std::max(mean - here, kNoise / 100.0f);
  float part = Smooth<float>(kSpotNone, kSpotFull, missing) * Part<float>(kLong, kRound, roundness) * skin;
  if (part <= 0.0f) return;
  float deepest = around[0];
  float lightest = 0.0f;
  for (int y = row - radius + 1; y < row + radius; ++y) {
    for (int x = column - radius + 1; x < column + radius; ++x) {
      if (std::hypot(y - row, x - column) >= radius) continue;
      const float luma = cells.luma.at<float>(y, x) - cells.black;
      deepest = std::min(deepest, luma);
      lightest = std::max(lightest, luma);
    }
  }
  part *= 1.0f - Smooth<float>(kLightNone, kLightFull, lightest / std::max(around[0], 1.0f) - 1.0f);
  part *= 1.0f - Smooth<float>(kDeepNone, kDeepFull, 1.0f - deepest / std::max(around[0], 1.0f));
  if (part <= 0.0f) return;

  if (!any_) {
    any_ = true;
    part_.create(weight.size(), CV_8U);
    skin_sum_.create(weight.size(), CV_32FC4);
    skin_.create(weight.size(), CV_8U);
    for (int y = 0; y < weight.rows; ++y) std::fill_n(part_.ptr<uint8_t>(y), weight.cols, uint8_t{0});
    rows_.assign(static_cast<size_t>(weight.rows), uint8_t{0});
  }
  const auto whole = kWhole * static_cast<float>(radius);
  for (int y = row - radius + 1; y < row + radius; ++y) {
    if (!InRow(y)) {
      rows_[static_cast<size_t>(y)] = 1;
      std::fill_n(skin_.ptr<uint8_t>(y), weight.cols, uint8_t{0});
      std::fill_n(skin_sum_.ptr<cv::Vec4f>(y), weight.cols, cv::Vec4f());
    }
    for (int x = column - radius + 1; x < column + radius; ++x) {
      const float away = std::hypot(static_cast<float>(y - row), static_cast<float>(x - column));
      const float share = part * (1.0f - Part<float>(whole, static_cast<float>(radius), away));
      if (share <= 0.0f) continue;
      uint8_t &drawn = part_.at<uint8_t>(y, x);
      drawn = std::max(drawn, static_cast<uint8_t>(share * 255.0f));
      uint8_t &skin_here = skin_.at<uint8_t>(y, x);
      skin_here = std::max(skin_here, static_cast<uint8_t>(share * around[3]));
      skin_sum_.at<cv::Vec4f>(y, x) += share * cv::Vec4f(around[0] + cells.black, around[1], around[2], 1.0f);
    }
  }
}

void SmallSpots::Finish(const Cells &cells, cv::Mat &weight) {
  shift_.create(weight.size(), CV_32FC3);
  for (int row = 0; row < weight.rows; ++row) {
    if (!InRow(row)) continue;
    const uint8_t *part = part_.ptr<uint8_t>(row);
    const uint8_t *skin = skin_.ptr<uint8_t>(row);
    uint8_t *weights = weight.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; ++column) {
      weights[column] = std::max(weights[column], skin[column]);
      if (part[column] == 0) continue;
      const cv::Vec4f &sum = skin_sum_.at<cv::Vec4f>(row, column);
      shift_.at<cv::Vec3f>(row, column) =
          cv::Vec3f(sum[0] / sum[3] - cells.luma.at<float>(row, column),
                    sum[1] / sum[3] - cells.u.at<float>(row, column), sum[2] / sum[3] - cells.v.at<float>(row, column));
    }
  }
}

}  // namespace lumivex
