// The module's statistics for all who ask here: the control object allows one caller at a time.
#pragma once

#include <vector>

#include "vanta_filter/stats/statistics_sample.h"

namespace vanta_host {

// The newest ten seconds of each beauty filter that has had so many; empty where there is no module. Threads: any.
std::vector<StatisticsSample> ReadStatistics();

}  // namespace vanta_host
