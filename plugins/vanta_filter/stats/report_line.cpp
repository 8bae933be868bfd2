#include "stats/report_line.h"

#include <cstdio>

namespace vanta {

void FormatReportLine(const IntervalFigures &figures, ReportLine &line) {
  std::snprintf(line, sizeof(line),
                "filter: avg: %f, max: %f, min: %f"
                ", tessera: avg: %f, max: %f, min: %f"
                ", beauty: avg: %f, max: %f, min: %f"
                ", arrived_fps: %d, render_fps: %d, render_jank_count: %d, render_big_jank_count: %d, jank_time: %d",
                figures.filter_avg, figures.filter_max, figures.filter_min, figures.tessera_avg, figures.tessera_max,
                figures.tessera_min, figures.beauty_avg, figures.beauty_max, figures.beauty_min, figures.arrived_count,
                figures.render_count, figures.jank_count, figures.big_jank_count, figures.jank_time_ms);
}

}  // namespace vanta
