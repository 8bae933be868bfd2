// An interval's figures as the text of a report.
#pragma once

#include <cstddef>

#include "vanta_filter/stats/interval_figures.h"

namespace vanta {

// Long enough for any figures.
inline constexpr size_t kReportLineSize = 1024;
using ReportLine = char[kReportLineSize];
// The figures as text, without allocating.
void FormatReportLine(const IntervalFigures &figures, ReportLine &line);

}  // namespace vanta
