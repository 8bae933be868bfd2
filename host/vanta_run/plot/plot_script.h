// The run's figures as a script for gnuplot.
#pragma once

#include <string>

#include "output/run_figures.h"

namespace vanta_run {

// Draws delay and engine time above, jank below, over the seconds of the run; the PNG goes to standard output.
std::string PlotScript(const RunFigures &figures);

}  // namespace vanta_run
