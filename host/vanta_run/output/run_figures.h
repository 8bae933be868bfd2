// Everything that a run has measured, as the report tells it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "capture/frame_meter.h"
#include "commands/ability_handler.h"
#include "common/options.h"
#include "faces/face_listener.h"
#include "input/input.h"
#include "output/cost_observer.h"
#include "output/log_sink.h"
#include "output/second_log.h"
#include "vanta_filter/stats/statistics_sample.h"

namespace vanta_run {

struct ModuleReport {
  int32_t id = 0;
  std::string body;
  double seconds = 0;  // since libobs started
};

// What one marked frame told on its way.
struct FollowedFrame {
  double seconds = 0;  // into the run, when it entered
  uint32_t delay_frames = 0;
  double delay_ms = 0;
  bool untouched = false;
  std::string applied;  // the engine's JSON
};

// One ten-second record of the control object.
struct Aggregate {
  double seconds = 0;  // into the run, when it was first seen
  StatisticsSample sample;
};

struct SentCommand {
  std::string from;  // the script's file, or "standard input"
  size_t line = 0;
  double seconds = 0;  // into the run
  std::string name;
};

struct AskedAbility {
  double seconds = 0;  // into the run
  AbilityCall call;
};

// How often a named event was set.
struct EventCount {
  std::string name;
  uint64_t times = 0;
};

struct RunFigures {
  bool in_step = false;        // on the clip's own clock: nothing that is in milliseconds of delay is true
  const char *ended_by = "";   // "end of input", "limit", "interrupt", "quit"
  bool beauty_filter = true;   // in the chain
  double warm_up_seconds = 0;  // from showing the source to the first frames after the engine's report
  double seconds = 0;          // of the run; on the clip's own clock the clip's
  double took_seconds = 0;     // of the machine's time
  FrameCounts frames;
  LineCounts lines;
  std::vector<FollowedFrame> followed;
  std::vector<SecondFigures> by_second;
  std::vector<float> filter_costs, draw_costs;  // microseconds
  std::vector<CostNote> averages, spikes;
  std::vector<StatisticsSample> statistics;  // as of the end
  std::vector<Aggregate> aggregates;
  std::vector<SentCommand> commands;
  size_t commands_left = 0;  // not due when the run ended
  std::vector<AskedAbility> abilities;
  std::vector<EventCount> events;
  std::optional<FaceCounts> faces;  // empty: nobody looked for any
  std::vector<ModuleReport> reports;
  uint32_t canvas_frames = 0, canvas_lagged = 0;
  uint64_t recorded_frames = 0, recorded_bytes = 0;
  std::string adapter;
  std::vector<std::string> failures;  // what could not be written, a line each
};

// The report, ending in a line feed.
std::string ReportText(const Options &options, const Input &input, const RunFigures &figures);
// The main figures, a line each.
std::vector<std::string> SummaryLines(const RunFigures &figures);

}  // namespace vanta_run
