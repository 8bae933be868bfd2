#include "monitor/board_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "monitor/clipped.h"

namespace vanta_run {
namespace {

constexpr const char *kBlocks[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr const char *kLetters[] = {"_", ".", ":", "-", "=", "+", "*", "#"};
constexpr size_t kLevels = 8;
constexpr size_t kLabelColumns = 20;  // in front of a chart
constexpr size_t kNoteColumns = 30;   // behind it
constexpr size_t kLeastChart = 10;
// So that small values stay small on the chart.
constexpr double kLeastRate = 30, kLeastDelay = 10, kLeastJanks = 5;

template <typename... Args>
std::string Printed(const char *format, Args... args) {
  char text[160];
  std::snprintf(text, sizeof(text), format, args...);
  return text;
}

std::vector<double> Series(const WorkerHistory &worker, double (*value)(const vanta::IntervalFigures &)) {
  std::vector<double> values;
  for (const vanta::IntervalFigures &sample : worker.samples) values.push_back(value(sample));
  return values;
}

struct Row {
  const char *name;
  std::string value;
  double (*of)(const vanta::IntervalFigures &);
  double least_top;
  std::string note;
};

std::vector<Row> Rows(const WorkerHistory &worker) {
  const vanta::IntervalFigures &now = worker.samples.back();
  return {
      {"in", Printed("%d /s", now.arrived_count),
       [](const vanta::IntervalFigures &f) { return static_cast<double>(f.arrived_count); }, kLeastRate, ""},
      {"out", Printed("%d /s", now.render_count),
       [](const vanta::IntervalFigures &f) { return static_cast<double>(f.render_count); }, kLeastRate, ""},
      {"delay", Printed("%.1f ms", static_cast<double>(now.filter_avg)),
       [](const vanta::IntervalFigures &f) { return static_cast<double>(f.filter_avg); }, kLeastDelay,
       Printed("%.1f to %.1f", static_cast<double>(now.filter_min), static_cast<double>(now.filter_max))},
      {"jank", Printed("%d", now.jank_count + now.big_jank_count),
       [](const vanta::IntervalFigures &f) { return static_cast<double>(f.jank_count) + f.big_jank_count; },
       kLeastJanks,
       Printed("all %llu, big %llu, %llu ms", static_cast<unsigned long long>(worker.janks),
               static_cast<unsigned long long>(worker.big_janks), static_cast<unsigned long long>(worker.jank_ms))},
  };
}

std::string Heading(const WorkerBoard::Key &key, const WorkerHistory &worker, double now) {
  std::string text = Printed("port %u from %u", unsigned{key.first}, unsigned{key.second});
  const double silent = now - worker.last_seen;
  if (silent > WorkerBoard::kSilentAfter) return text + Printed(", silent for %.0f s", silent);
  const vanta::IntervalFigures &last = worker.samples.back();
  return text + Printed(", vision %.1f ms, beauty %.1f ms", static_cast<double>(last.tessera_avg),
                        static_cast<double>(last.beauty_avg));
}

}  // namespace

std::string Chart(const std::vector<double> &values, size_t columns, double least_top, bool unicode) {
  double top = least_top;
  for (const double value : values) top = std::max(top, value);
  const size_t shown = std::min(columns, values.size());
  std::string text(columns - shown, ' ');
  for (size_t i = values.size() - shown; i < values.size(); ++i) {
    const double part = std::clamp(values[i] / top, 0.0, 1.0);
    // The lowest level is 0 alone: what is there must show.
    const auto level = static_cast<size_t>(std::ceil(part * static_cast<double>(kLevels - 1)));
    text += (unicode ? kBlocks : kLetters)[level];
  }
  return text;
}

std::vector<std::string> BoardText(const WorkerBoard &board, double now, const BoardLook &look) {
  std::vector<std::string> lines;
  const size_t beside = kLabelColumns + kNoteColumns;
  const bool notes = look.columns >= beside + kLeastChart;
  const size_t room = look.columns - std::min(look.columns, notes ? beside : kLabelColumns);
  const size_t chart = std::min(room, WorkerBoard::kHistory);
  for (const auto &[key, worker] : board.workers()) {
    if (!lines.empty()) lines.emplace_back();
    lines.push_back(Clipped(Heading(key, worker, now), look.columns));
    for (const Row &row : Rows(worker)) {
      // 2 for the margin, 6 for the name, 10 for the value, 2 between it and the chart.
      std::string line = Printed("  %-6s%10s  ", row.name, row.value.c_str());
      if (chart > 0) line += Chart(Series(worker, row.of), chart, row.least_top, look.unicode);
      if (notes && !row.note.empty()) line += "  " + row.note;
      lines.push_back(Clipped(line, look.columns));
    }
  }
  return lines;
}

std::string ArrivalLine(const Arrival &arrival, double now) {
  const vanta::IntervalFigures &f = arrival.figures;
  return Printed("%.1f s port %u from %u: ", now, unsigned{arrival.port}, unsigned{arrival.sender}) +
         Printed("in %d/s, out %d/s, delay %.1f ms (%.1f to %.1f), ", f.arrived_count, f.render_count,
                 static_cast<double>(f.filter_avg), static_cast<double>(f.filter_min),
                 static_cast<double>(f.filter_max)) +
         Printed("vision %.1f ms, beauty %.1f ms, jank %d, big %d, %d ms", static_cast<double>(f.tessera_avg),
                 static_cast<double>(f.beauty_avg), f.jank_count, f.big_jank_count, f.jank_time_ms);
}

}  // namespace vanta_run
