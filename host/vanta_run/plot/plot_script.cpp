#include "plot/plot_script.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "output/engine_report.h"

namespace vanta_run {
namespace {

constexpr char kHead[] = R"(set terminal pngcairo size 1000,620 font "DejaVu Sans,10" noenhanced background "#ffffff"
set encoding utf8
set border 3 lc rgb "#808080"
set tics nomirror out
set grid ytics lc rgb "#e0e0e0" lt 1
set key top right horizontal
set lmargin 9
set rmargin 3
set tmargin 2.5
)";

constexpr char kPanels[] = R"(set multiplot
set size 1,0.58
set origin 0,0.41
set format x ""
set label 1 "Delay and engine time of one frame each second" at graph 0,1.05
set ylabel "ms"
plot $frames using 1:2 with linespoints lw 2 pt 7 ps 0.5 lc rgb "#1f77b4" title "delay", \
     $frames using 1:3 with linespoints lw 2 pt 7 ps 0.5 lc rgb "#ff7f0e" title "engine"
set size 1,0.42
set origin 0,0
set format x "%g"
set label 1 "Jank: times each second that the filter had no finished frame" at graph 0,1.09
set ylabel "count"
set xlabel "seconds into the run"
set style data boxes
set style fill solid 0.9 noborder
plot $seconds using 1:($3+$4):($2*0.8) lc rgb "#d62728" title "big: 3 frames or more", \
     $seconds using 1:3:($2*0.8) lc rgb "#f2b134" title "jank"
unset multiplot
)";

template <typename... Args>
std::string Printed(const char *format, Args... args) {
  char text[120];
  std::snprintf(text, sizeof(text), format, args...);
  return text;
}

// gnuplot refuses a panel without a point: a missing value is a point that is not drawn.
constexpr char kNothing[] = "0 NaN NaN NaN\n";

std::string FramesBlock(const RunFigures &figures) {
  std::string rows;
  for (const FollowedFrame &frame : figures.followed) {
    const std::optional<double> engine = EngineMilliseconds(frame.applied);
    rows += Printed("%.3f %.3f ", frame.seconds, frame.delay_ms) + (engine ? Printed("%.3f\n", *engine) : "NaN\n");
  }
  return "$frames << EOD\n" + (rows.empty() ? kNothing : rows) + "EOD\n";
}

std::string SecondsBlock(const RunFigures &figures) {
  std::string rows;
  for (const SecondFigures &second : figures.by_second) {
    // A box stands around the middle of its time; where that is longer than a second its height is the mean of them.
    const double width = second.end - second.start;
    rows +=
        Printed("%.3f %.3f %.6g %.6g\n", second.start + width / 2, width,
                static_cast<double>(second.frames.janks) / width, static_cast<double>(second.frames.big_janks) / width);
  }
  return "$seconds << EOD\n" + (rows.empty() ? kNothing : rows) + "EOD\n";
}

// The ends of both axes are told: they do not move to where data happen to be, and an empty panel has some.
std::string Ranges(const RunFigures &figures) {
  double milliseconds = 10;
  for (const FollowedFrame &frame : figures.followed) {
    milliseconds = std::max({milliseconds, frame.delay_ms, EngineMilliseconds(frame.applied).value_or(0)});
  }
  return Printed("set xrange [0:%.3f]\nset yrange [0:%.3f]\n", std::max(1.0, figures.seconds), milliseconds * 1.2);
}

std::string JankRange(const RunFigures &figures) {
  double most = 4;
  for (const SecondFigures &second : figures.by_second) {
    most = std::max(most,
                    static_cast<double>(second.frames.janks + second.frames.big_janks) / (second.end - second.start));
  }
  return Printed("set yrange [0:%.6g]\n", std::ceil(most) + 1);
}

}  // namespace

std::string PlotScript(const RunFigures &figures) {
  std::string panels = kPanels;
  const std::string second_panel = "set size 1,0.42\n";
  panels.insert(panels.find(second_panel), JankRange(figures));
  return kHead + FramesBlock(figures) + SecondsBlock(figures) + Ranges(figures) + panels;
}

}  // namespace vanta_run
