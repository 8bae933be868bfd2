// Ten seconds of samples as one record.
#include <algorithm>

#include "stats/delay_stats.h"

namespace vanta {

namespace {

using Samples = std::vector<StatisticsSample>;

float Mean(const Samples &samples, float StatisticsSample::*field) {
  float sum = 0;
  for (const StatisticsSample &sample : samples) sum += sample.*field;
  return sum / static_cast<float>(samples.size());
}

int32_t Sum(const Samples &samples, int32_t StatisticsSample::*field) {
  float sum = 0;
  for (const StatisticsSample &sample : samples) sum += static_cast<float>(sample.*field);
  return static_cast<int32_t>(sum);
}

float Largest(const Samples &samples, float StatisticsSample::*field) {
  float largest = samples.front().*field;
  for (const StatisticsSample &sample : samples) largest = std::max(largest, sample.*field);
  return largest;
}

float Smallest(const Samples &samples, float StatisticsSample::*field) {
  float smallest = samples.front().*field;
  for (const StatisticsSample &sample : samples) smallest = std::min(smallest, sample.*field);
  return smallest;
}

std::vector<float> Join(const Samples &samples, std::vector<float> StatisticsSample::*field) {
  std::vector<float> joined;
  for (const StatisticsSample &sample : samples) {
    joined.insert(joined.end(), (sample.*field).begin(), (sample.*field).end());
  }
  return joined;
}

// Reorders `values`. 0 over none.
float Percentile95(std::vector<float> &values) {
  if (values.empty()) return 0;
  const auto k = static_cast<std::ptrdiff_t>(static_cast<float>(values.size()) * 0.95f);
  std::nth_element(values.begin(), values.begin() + k, values.end());
  return values[static_cast<size_t>(k)];
}

void AggregateRates(const Samples &samples, StatisticsSample &report) {
  using S = StatisticsSample;
  report.arrived_fps = Mean(samples, &S::arrived_fps);
  report.render_fps = Mean(samples, &S::render_fps);
  report.arrived_max = static_cast<int32_t>(Largest(samples, &S::arrived_fps));
  report.arrived_min = static_cast<int32_t>(Smallest(samples, &S::arrived_fps));
  report.render_max = static_cast<int32_t>(Largest(samples, &S::render_fps));
  report.render_min = static_cast<int32_t>(Smallest(samples, &S::render_fps));
}

void AggregateCounts(const Samples &samples, StatisticsSample &report) {
  using S = StatisticsSample;
  for (int32_t S::*field : {&S::jank_count, &S::big_jank_count, &S::enqueue_fail_count, &S::spurious_wake_count,
                            &S::empty_dequeue_count, &S::taken_count}) {
    report.*field = Sum(samples, field);
  }
  report.jank_seconds = Mean(samples, &S::jank_seconds);
  for (const S &sample : samples) report.drop_count += sample.drop_count;
}

void AggregateTimes(const Samples &samples, StatisticsSample &report) {
  using S = StatisticsSample;
  const auto spread = [&](float S::*avg, float S::*max, float S::*min) {
    report.*avg = Mean(samples, avg);
    report.*max = Largest(samples, avg);
    report.*min = Smallest(samples, avg);
  };
  spread(&S::filter_avg, &S::filter_max, &S::filter_min);
  spread(&S::tessera_avg, &S::tessera_max, &S::tessera_min);
  spread(&S::beauty_avg, &S::beauty_max, &S::beauty_min);
  spread(&S::async_avg, &S::async_max, &S::async_min);
  spread(&S::face_avg, &S::face_max, &S::face_min);
  report.whole_avg = Mean(samples, &S::whole_avg);

  const auto percentile = [&](std::vector<float> S::*values, float S::*p95) {
    report.*values = Join(samples, values);
    report.*p95 = Percentile95(report.*values);
  };
  percentile(&S::filter_samples, &S::filter_p95);
  percentile(&S::tessera_samples, &S::tessera_p95);
  percentile(&S::beauty_samples, &S::beauty_p95);
  percentile(&S::async_samples, &S::async_p95);
}

}  // namespace

StatisticsSample DelayStats::Aggregate(const Samples &samples) {
  StatisticsSample report;
  if (samples.empty()) return report;
  const StatisticsSample &last = samples.back();
  report.name = last.name;
  report.resolution = last.resolution;
  report.width = last.width;
  report.height = last.height;
  AggregateRates(samples, report);
  AggregateCounts(samples, report);
  AggregateTimes(samples, report);
  return report;
}

}  // namespace vanta
