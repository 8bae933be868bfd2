#include "vanta_operations/statistics_json.h"

#include <cmath>

namespace vanta_operations {

nlohmann::ordered_json StatisticsJson(const std::vector<StatisticsSample> &samples) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const StatisticsSample &sample : samples) {
    const auto f = [](float value) { return std::round(static_cast<double>(value) * 100) / 100; };
    all.push_back({{"name", sample.name},
                   {"resolution", sample.resolution},
                   {"arrived_fps", f(sample.arrived_fps)},
                   {"render_fps", f(sample.render_fps)},
                   {"filter_ms", {{"mean", f(sample.filter_avg)}, {"p95", f(sample.filter_p95)}}},
                   {"beauty_ms", {{"mean", f(sample.beauty_avg)}, {"p95", f(sample.beauty_p95)}}},
                   {"tessera_ms", {{"mean", f(sample.tessera_avg)}, {"p95", f(sample.tessera_p95)}}},
                   {"async_delay_ms", {{"mean", f(sample.async_avg)}, {"p95", f(sample.async_p95)}}},
                   {"whole_delay_ms", {{"mean", f(sample.whole_avg)}}},
                   {"janks", sample.jank_count},
                   {"big_janks", sample.big_jank_count},
                   {"enqueue_failures", sample.enqueue_fail_count},
                   {"empty_dequeues", sample.empty_dequeue_count},
                   {"taken", sample.taken_count},
                   {"spurious_wakes", sample.spurious_wake_count},
                   {"drops", sample.drop_count}});
  }
  return all;
}

}  // namespace vanta_operations
