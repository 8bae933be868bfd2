#include "pixels/window_means.h"

#include <algorithm>

#include "pixels/lanes.h"

namespace lumivex {
namespace {

// Rows after which the sums begin anew: so many, and so many radii.
constexpr int kLeastStrip = 32;
constexpr int kRadii = 4;
constexpr float kWhole = 255.0f;
static_assert(WindowMeans::kMaps == kLanes);

}  // namespace

void WindowMeans::Measure(const Maps &maps, const cv::Mat *weights, int radius, float few, const cv::Range &rows,
                          const RowBands &bands) {
  const cv::Size size = maps[0].values->size();
  for (const Map &map : maps) {
    if (map.values) map.mean->create(size, CV_32F);
  }
  const int padded = (size.width + kLanes - 1) / kLanes * kLanes;
  const Work work{maps, weights, radius, few, size.width, padded, size.height};
  const auto columns = static_cast<size_t>(padded);
  const auto margins = 2 * static_cast<size_t>(radius) + 1;
  scratch_.resize(static_cast<size_t>(bands.Threads()));
  for (Scratch &scratch : scratch_) {
    scratch.loaded.resize((kMaps + 1) * columns * (margins + 1));
    scratch.sums.resize(kMaps * (columns + margins));
    scratch.weight_sums.resize(columns + margins);
    scratch.window.resize(kMaps * columns);
    scratch.window_weight.resize(columns);
  }
  const int rows_of_strip = std::max(kLeastStrip, kRadii * radius);
  const int strips = (rows.size() + rows_of_strip - 1) / rows_of_strip;
  bands.Run(strips, 1, [&](int first, int end, int thread) {
    for (int strip = first; strip < end; ++strip) {
      const int top = rows.start + strip * rows_of_strip;
      Slide(work, top, std::min(top + rows_of_strip, rows.end), scratch_[static_cast<size_t>(thread)]);
    }
  });
}

void WindowMeans::Slide(const Work &work, int first, int end, Scratch &scratch) {
  std::fill(scratch.sums.begin(), scratch.sums.end(), 0.0f);
  std::fill(scratch.weight_sums.begin(), scratch.weight_sums.end(), 0.0f);
  scratch.next = std::max(first - work.radius, 0);
  for (int row = first - work.radius; row < first + work.radius; ++row)
    AddRow(work, Row(work, row, scratch), nullptr, scratch);
  for (int row = first; row < end; ++row) {
    const float *entered = Row(work, row + work.radius, scratch);
    AddRow(work, entered, row > first ? Row(work, row - work.radius - 1, scratch) : nullptr, scratch);
    SumAlong(work, scratch);
    Divide(work, row, scratch);
  }
}

// Of the map's rows the nearest one. Rows are asked for from top to bottom, so the places of those above the window are
// free.
const float *WindowMeans::Row(const Work &work, int row, Scratch &scratch) {
  const int nearest = std::clamp(row, 0, work.rows - 1);
  const size_t length = (kMaps + 1) * static_cast<size_t>(work.padded);
  float *place = scratch.loaded.data() + length * static_cast<size_t>(nearest % (2 * work.radius + 2));
  if (nearest == scratch.next) {
    Load(work, nearest, place);
    ++scratch.next;
  }
  return place;
}

void WindowMeans::Load(const Work &work, int row, float *to) {
  const uint8_t *weights = work.weights ? work.weights->ptr<uint8_t>(row) : nullptr;
  float *weight_to = to + kMaps * static_cast<size_t>(work.padded);
  std::array<const float *, kMaps> values = {};
  for (size_t i = 0; i < kMaps; ++i) {
    if (work.maps[i].values) values[i] = work.maps[i].values->ptr<float>(row);
  }
  const auto load = [](const float *from, int x) { return from ? cv::v_load(from + x) : cv::v_setzero_f32(); };
  int x = 0;
  for (; x + kLanes <= work.columns; x += kLanes) {
    Lanes weight = All<Lanes>(kWhole);
    if (weights) weight = Lanes(weights[x], weights[x + 1], weights[x + 2], weights[x + 3]);
    cv::v_store(weight_to + x, weight);
    cv::v_store_interleave(to + kMaps * static_cast<size_t>(x), load(values[0], x) * weight,
                           load(values[1], x) * weight, load(values[2], x) * weight, load(values[3], x) * weight);
  }
  for (; x < work.padded; ++x) {
    const bool inside = x < work.columns;
    const float weight = !inside ? 0.0f : weights ? static_cast<float>(weights[x]) : kWhole;
    weight_to[x] = weight;
    for (size_t i = 0; i < kMaps; ++i)
      to[kMaps * static_cast<size_t>(x) + i] = inside && values[i] ? values[i][x] * weight : 0.0f;
  }
}

// A row enters the window, another one leaves it.
void WindowMeans::AddRow(const Work &work, const float *row, const float *gone, Scratch &scratch) {
  const auto add = [&](const float *entered, const float *left, int count, float *sums) {
    for (int x = 0; x < count; x += kLanes) {
      Lanes change = cv::v_load(entered + x);
      if (left) change -= cv::v_load(left + x);
      cv::v_store(sums + x, cv::v_load(sums + x) + change);
    }
  };
  constexpr int kPerColumn = static_cast<int>(kMaps);
  const int whole = kPerColumn * work.padded;
  add(row, gone, whole, scratch.sums.data() + kPerColumn * work.radius);
  add(row + whole, gone ? gone + whole : nullptr, work.padded, scratch.weight_sums.data() + work.radius);
}

void WindowMeans::SumAlong(const Work &work, Scratch &scratch) {
  constexpr int kPerColumn = static_cast<int>(kMaps);
  float *sums = scratch.sums.data() + kPerColumn * work.radius;
  float *weight_sums = scratch.weight_sums.data() + work.radius;
  const int last = work.columns - 1;
  for (int i = 1; i <= work.radius; ++i) {
    cv::v_store(sums - kPerColumn * i, cv::v_load(sums));
    weight_sums[-i] = weight_sums[0];
  }
  for (int x = work.columns; x <= work.columns + work.radius; ++x) {  // also over the padding, which nobody reads
    cv::v_store(sums + kPerColumn * x, cv::v_load(sums + kPerColumn * last));
    weight_sums[x] = weight_sums[last];
  }
  Lanes sum = cv::v_setzero_f32();
  float weight = 0.0f;
  for (int x = -work.radius; x <= work.radius; ++x) {
    sum += cv::v_load(sums + kPerColumn * x);
    weight += weight_sums[x];
  }
  float *window = scratch.window.data();
  float *window_weight = scratch.window_weight.data();
  for (int x = 0; x < work.columns; ++x) {
    cv::v_store(window + kPerColumn * x, sum);
    window_weight[x] = weight;
    const int enters = x + work.radius + 1;
    const int leaves = x - work.radius;
    sum += cv::v_load(sums + kPerColumn * enters) - cv::v_load(sums + kPerColumn * leaves);
    weight += weight_sums[enters] - weight_sums[leaves];
  }
}

void WindowMeans::Divide(const Work &work, int row, const Scratch &scratch) {
  const int side = 2 * work.radius + 1;
  const float own = work.few * kWhole * static_cast<float>(side * side);
  const Lanes owns = All<Lanes>(own);
  int x = 0;
  for (; x + kLanes <= work.columns; x += kLanes) {
    std::array<Lanes, kMaps> sums;
    cv::v_load_deinterleave(scratch.window.data() + kMaps * static_cast<size_t>(x), sums[0], sums[1], sums[2], sums[3]);
    const Lanes scale = All<Lanes>(1.0f) / (cv::v_load(scratch.window_weight.data() + x) + owns);
    for (size_t i = 0; i < kMaps; ++i) {
      const Map &map = work.maps[i];
      if (map.values)
        cv::v_store(map.mean->ptr<float>(row) + x,
                    (sums[i] + owns * cv::v_load(map.values->ptr<float>(row) + x)) * scale);
    }
  }
  for (; x < work.columns; ++x) {
    const auto at = static_cast<size_t>(x);
    for (size_t i = 0; i < kMaps; ++i) {
      const Map &map = work.maps[i];
      if (map.values)
        map.mean->ptr<float>(row)[x] =
            (scratch.window[kMaps * at + i] + own * map.values->ptr<float>(row)[x]) / (scratch.window_weight[at] + own);
    }
  }
}

}  // namespace lumivex
