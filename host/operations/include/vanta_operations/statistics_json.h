// The module's statistics records as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <vector>

#include "vanta_filter/stats/statistics_sample.h"

namespace vanta_operations {

// A list with an object for each record; times in milliseconds, rounded to hundredths.
nlohmann::ordered_json StatisticsJson(const std::vector<StatisticsSample> &samples);

}  // namespace vanta_operations
