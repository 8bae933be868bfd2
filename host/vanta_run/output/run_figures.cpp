#include <obs.h>

#include <vanta_base/json_text.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <numeric>

#include "output/engine_report.h"
#include "output/run_figures.h"
#include "vanta_host.h"
#include "vanta_operations/statistics_json.h"

namespace vanta_run {
namespace {

using Json = nlohmann::ordered_json;

double Rounded(double value) {
  return std::round(value * 100) / 100;
}

Json Distribution(std::vector<float> values) {
  if (values.empty()) return {{"count", 0}};
  std::sort(values.begin(), values.end());
  const auto at = [&values](double part) {
    return Rounded(static_cast<double>(values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))]));
  };
  const double sum = std::accumulate(values.begin(), values.end(), 0.0);
  return {{"count", values.size()},
          {"mean", Rounded(sum / static_cast<double>(values.size()))},
          {"p50", at(0.5)},
          {"p99", at(0.99)},
          {"max", at(1)}};
}

const char *KindName(InputKind kind) {
  switch (kind) {
    case InputKind::kMedia:
      return "media";
    case InputKind::kPicture:
      return "picture";
    case InputKind::kCamera:
      return "camera";
    case InputKind::kColor:
      break;
  }
  return "colour";
}

const char *EngineName() {
  return vanta_host_engine_state_name(vanta_host_get_engine_state());
}

double PerSecond(const Input &input) {
  return Rounded(static_cast<double>(input.rate.num) / input.rate.den);
}

Json InputJson(const Input &input) {
  Json json = {
      {"path", input.path}, {"kind", KindName(input.kind)}, {"width", input.size.width}, {"height", input.size.height}};
  if (input.duration > 0) json["seconds"] = Rounded(input.duration);
  return json;
}

uint64_t Repeated(const RunFigures &figures) {
  return figures.frames.in - std::min(figures.frames.in, figures.frames.out);
}

uint64_t Dropped(const RunFigures &figures) {
  return figures.lines.refused + figures.lines.reduced;
}

// What the engine told of one followed frame; null where it told nothing.
Json Applied(const FollowedFrame &frame) {
  Json applied = vanta::ReadJson(frame.applied);
  return applied.is_object() ? applied : Json();
}

// Milliseconds, of the followed frames.
std::vector<float> EngineTimes(const RunFigures &figures) {
  std::vector<float> times;
  for (const FollowedFrame &frame : figures.followed) {
    if (const auto time = EngineMilliseconds(frame.applied)) times.push_back(static_cast<float>(*time));
  }
  return times;
}

// Null where nothing is keyed.
Json GreenScreenJson(const Options &options) {
  if (!options.green_screen) return {};
  Json json = {{"config", vanta::ReadJsonOrThrow(*options.green_screen)}};
  if (!options.background.empty()) json["background"] = options.background;
  return json;
}

Json FramesJson(const RunFigures &figures) {
  return {{"in", figures.frames.in},
          {"out", figures.frames.out},
          {"repeated", Repeated(figures)},
          {"janks", figures.frames.janks},
          {"big_janks", figures.frames.big_janks},
          {"dropped", Dropped(figures)},
          {"dropped_no_free_carrier", figures.lines.refused},
          {"dropped_to_reduce_delay", figures.lines.reduced}};
}

Json DelayJson(const RunFigures &figures) {
  std::vector<float> frames, milliseconds;
  for (const FollowedFrame &frame : figures.followed) {
    frames.push_back(static_cast<float>(frame.delay_frames));
    milliseconds.push_back(static_cast<float>(frame.delay_ms));
  }
  Json json = {{"frames", Distribution(frames)}};
  if (!figures.in_step) json["ms"] = Distribution(milliseconds);
  return json;
}

Json EngineJson(const Options &options, const RunFigures &figures) {
  Json json = {{"state", EngineName()}, {"wanted", options.engine}, {"added_delay_ms", options.engine_delay_ms}};
  Json last;
  int lowered = 0;
  for (const FollowedFrame &frame : figures.followed) {
    Json applied = Applied(frame);
    if (applied.is_null()) continue;
    lowered += applied.value("quality", 0) > 0;
    last = std::move(applied);
  }
  json["lowered_quality_frames"] = lowered;
  json["frame_ms"] = Distribution(EngineTimes(figures));
  json["last_applied"] = std::move(last);
  return json;
}

Json AggregatesJson(const std::vector<Aggregate> &aggregates) {
  Json all = Json::array();
  for (const Aggregate &aggregate : aggregates) {
    Json json = vanta_operations::StatisticsJson({aggregate.sample})[0];
    json["seconds"] = Rounded(aggregate.seconds);
    all.push_back(std::move(json));
  }
  return all;
}

Json CommandsJson(const RunFigures &figures) {
  Json sent = Json::array();
  for (const SentCommand &command : figures.commands) {
    sent.push_back(
        {{"from", command.from}, {"line", command.line}, {"seconds", command.seconds}, {"name", command.name}});
  }
  return {{"sent", std::move(sent)}, {"not_sent", figures.commands_left}};
}

Json AbilitiesJson(const std::vector<AskedAbility> &asked) {
  Json all = Json::array();
  for (const auto &[seconds, call] : asked) {
    Json json = {{"seconds", seconds}, {"operation", call.operation}};
    if (!call.raw.empty()) json.update({{"method", call.method}, {"params", call.params}, {"raw", call.raw}});
    all.push_back(std::move(json));
  }
  return all;
}

Json EventsJson(const std::vector<EventCount> &events) {
  Json all = Json::array();
  for (const EventCount &event : events) all.push_back({{"name", event.name}, {"set", event.times}});
  return all;
}

// Null where nobody looked for faces.
Json FacesJson(const std::optional<FaceCounts> &faces) {
  if (!faces) return {};
  return {{"signals", faces->signals}, {"with_faces", faces->with_faces}, {"most_faces", faces->most_faces}};
}

Json NotesJson(const std::vector<CostNote> &notes) {
  Json all = Json::array();
  for (const CostNote &note : notes) all.push_back({{"name", note.name}, {"us", note.microseconds}});
  return all;
}

Json ReportsJson(const std::vector<ModuleReport> &reports) {
  Json all = Json::array();
  for (const ModuleReport &report : reports) {
    Json body = vanta::ReadJson(report.body);
    if (body.is_discarded()) body = report.body;
    all.push_back({{"id", report.id}, {"seconds", Rounded(report.seconds)}, {"body", std::move(body)}});
  }
  return all;
}

Json SwitchesJson() {
  Json json = Json::object();
  for (int i = 0; i < VANTA_SWITCH_COUNT; ++i) {
    const auto which = static_cast<vanta_host_switch>(i);
    json[vanta_host_switch_name(which)] = vanta_host_get_switch(which);
  }
  return json;
}

void AddLateLine(const RunFigures &figures, std::vector<std::string> &lines) {
  if (figures.canvas_lagged * 20 <= figures.canvas_frames) return;
  char text[200];
  std::snprintf(text, sizeof(text),
                "late    %u of %u pictures: the machine is too slow for this; give a smaller --size or --fps",
                figures.canvas_lagged, figures.canvas_frames);
  lines.emplace_back(text);
}

}  // namespace

std::string ReportText(const Options &options, const Input &input, const RunFigures &figures) {
  const Json json = {
      {"versions", {{"vanta_run", VANTA_VERSION}, {"libobs", obs_get_version_string()}}},
      {"input", InputJson(input)},
      {"run",
       {{"clock", figures.in_step ? "own" : "live"},
        {"seconds", Rounded(figures.seconds)},
        {"took_seconds", Rounded(figures.took_seconds)},
        {"warm_up_seconds", Rounded(figures.warm_up_seconds)},
        {"ended_by", figures.ended_by}}},
      {"beauty_filter", options.beauty_filter},
      {"green_screen", GreenScreenJson(options)},
      {"frames", FramesJson(figures)},
      {"delay", DelayJson(figures)},
      {"cost_us",
       {{"filter_video", Distribution(figures.filter_costs)}, {"video_render", Distribution(figures.draw_costs)}}},
      {"engine", EngineJson(options, figures)},
      {"statistics", vanta_operations::StatisticsJson(figures.statistics)},
      {"aggregates", AggregatesJson(figures.aggregates)},
      {"commands", CommandsJson(figures)},
      {"ability_calls", AbilitiesJson(figures.abilities)},
      {"events", EventsJson(figures.events)},
      {"landmarks", FacesJson(figures.faces)},
      {"slow_frames", NotesJson(figures.spikes)},
      {"minute_averages", NotesJson(figures.averages)},
      {"reports", ReportsJson(figures.reports)},
      {"switches", SwitchesJson()},
      {"flags",
       {{"shared_texture", vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE)},
        {"shared_texture_fallback", vanta_host_get_flag(VANTA_FLAG_SHARED_TEXTURE_FALLBACK)},
        {"deinterlace", vanta_host_get_flag(VANTA_FLAG_DEINTERLACE)}}},
      {"canvas",
       {{"width", input.canvas.width},
        {"height", input.canvas.height},
        {"fps", PerSecond(input)},
        {"frames", figures.canvas_frames},
        {"lagged", figures.canvas_lagged},
        {"adapter", figures.adapter}}},
      {"recording", {{"path", options.output}, {"frames", figures.recorded_frames}, {"bytes", figures.recorded_bytes}}},
      {"log_errors", figures.lines.errors},
      {"failed", figures.failures}};
  return vanta::WriteJson(json, 2) + "\n";
}

std::vector<std::string> SummaryLines(const RunFigures &figures) {
  const auto mean = [](const std::vector<float> &values) {
    return values.empty() ? 0.0
                          : std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
  };
  std::vector<float> delays, delay_frames;
  for (const FollowedFrame &frame : figures.followed) {
    delays.push_back(static_cast<float>(frame.delay_ms));
    delay_frames.push_back(static_cast<float>(frame.delay_frames));
  }
  const std::vector<float> engine = EngineTimes(figures);
  char text[200];
  std::vector<std::string> lines;
  const int written = std::snprintf(
      text, sizeof(text), "frames  in %llu, out %llu, repeated %llu, dropped %llu, in %.1f s",
      static_cast<unsigned long long>(figures.frames.in), static_cast<unsigned long long>(figures.frames.out),
      static_cast<unsigned long long>(Repeated(figures)), static_cast<unsigned long long>(Dropped(figures)),
      figures.seconds);
  if (figures.in_step) {
    std::snprintf(text + written, sizeof(text) - static_cast<size_t>(written), " of the clip, which took %.1f s",
                  figures.took_seconds);
  }
  lines.emplace_back(text);
  if (figures.faces) {
    std::snprintf(text, sizeof(text), "faces   looked %llu times, found some %llu times, at most %llu at once",
                  static_cast<unsigned long long>(figures.faces->signals),
                  static_cast<unsigned long long>(figures.faces->with_faces),
                  static_cast<unsigned long long>(figures.faces->most_faces));
    lines.emplace_back(text);
  }
  if (!figures.beauty_filter) {
    AddLateLine(figures, lines);
    return lines;
  }
  if (!delays.empty()) {
    if (figures.in_step) {
      std::snprintf(text, sizeof(text), "delay   %.1f frames", mean(delay_frames));
    } else {
      std::snprintf(text, sizeof(text), "delay   %.1f ms, %.1f frames", mean(delays), mean(delay_frames));
    }
    lines.emplace_back(text);
  }
  int length = std::snprintf(text, sizeof(text), "engine  %s", EngineName());
  if (!engine.empty()) {
    std::snprintf(text + length, sizeof(text) - static_cast<size_t>(length), ", %.1f ms a frame", mean(engine));
  }
  lines.emplace_back(text);
  std::snprintf(text, sizeof(text), "filter  %.1f ms a frame in filter_video, %.1f ms in video_render",
                mean(figures.filter_costs) / 1000, mean(figures.draw_costs) / 1000);
  lines.emplace_back(text);
  AddLateLine(figures, lines);
  return lines;
}

}  // namespace vanta_run
