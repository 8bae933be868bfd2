#include <obs.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <numeric>

#include "run_figures.h"
#include "vanta_host.h"

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
    case InputKind::kColor:
      break;
  }
  return "colour";
}

const char *EngineName() {
  switch (vanta_host_get_engine_state()) {
    case VANTA_ENGINE_RUNNING:
      return "running";
    case VANTA_ENGINE_MISSING:
      return "missing";
    case VANTA_ENGINE_UNKNOWN:
      break;
  }
  return "unknown";
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

Json FramesJson(const RunFigures &figures) {
  return {{"in", figures.frames.in},
          {"out", figures.frames.out},
          {"repeated", figures.frames.in - std::min(figures.frames.in, figures.frames.out)},
          {"dropped", figures.lines.refused + figures.lines.reduced},
          {"dropped_no_free_carrier", figures.lines.refused},
          {"dropped_to_reduce_delay", figures.lines.reduced}};
}

Json DelayJson(const RunFigures &figures) {
  std::vector<float> frames, milliseconds;
  for (const FollowedFrame &frame : figures.followed) {
    frames.push_back(static_cast<float>(frame.delay_frames));
    milliseconds.push_back(static_cast<float>(frame.delay_ms));
  }
  return {{"frames", Distribution(frames)}, {"ms", Distribution(milliseconds)}};
}

Json EngineJson(const Options &options, const RunFigures &figures) {
  Json json = {{"state", EngineName()}, {"wanted", options.engine}, {"added_delay_ms", options.engine_delay_ms}};
  std::vector<float> times;
  Json last = nullptr;
  for (const FollowedFrame &frame : figures.followed) {
    Json applied = Json::parse(frame.applied, nullptr, false);
    if (!applied.is_object()) continue;
    if (applied.contains("beauty_ms") && applied["beauty_ms"].is_number())
      times.push_back(applied["beauty_ms"].get<float>());
    last = std::move(applied);
  }
  json["frame_ms"] = Distribution(times);
  json["last_applied"] = std::move(last);
  return json;
}

Json StatisticsJson(const std::vector<StatisticsSample> &samples) {
  Json all = Json::array();
  for (const StatisticsSample &sample : samples) {
    const auto f = [](float value) { return Rounded(static_cast<double>(value)); };
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

Json NotesJson(const std::vector<CostNote> &notes) {
  Json all = Json::array();
  for (const CostNote &note : notes) all.push_back({{"name", note.name}, {"us", note.microseconds}});
  return all;
}

Json ReportsJson(const std::vector<ModuleReport> &reports) {
  Json all = Json::array();
  for (const ModuleReport &report : reports) {
    Json body = Json::parse(report.body, nullptr, false);
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

}  // namespace

std::string ReportText(const Options &options, const Input &input, const RunFigures &figures) {
  const Json json = {
      {"versions", {{"vanta_run", VANTA_VERSION}, {"libobs", obs_get_version_string()}}},
      {"input", InputJson(input)},
      {"run",
       {{"seconds", Rounded(figures.seconds)},
        {"warm_up_seconds", Rounded(figures.warm_up_seconds)},
        {"ended_by", figures.ended_by}}},
      {"frames", FramesJson(figures)},
      {"delay", DelayJson(figures)},
      {"cost_us",
       {{"filter_video", Distribution(figures.filter_costs)}, {"video_render", Distribution(figures.draw_costs)}}},
      {"engine", EngineJson(options, figures)},
      {"statistics", StatisticsJson(figures.statistics)},
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
      {"log_errors", figures.lines.errors}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string SummaryLine(const RunFigures &figures) {
  double delay = 0;
  for (const FollowedFrame &frame : figures.followed) delay += frame.delay_ms;
  char text[240];
  int length = std::snprintf(
      text, sizeof(text), "%.1f s, frames in %llu, out %llu, repeated %llu, dropped %llu; engine %s", figures.seconds,
      static_cast<unsigned long long>(figures.frames.in), static_cast<unsigned long long>(figures.frames.out),
      static_cast<unsigned long long>(figures.frames.in - std::min(figures.frames.in, figures.frames.out)),
      static_cast<unsigned long long>(figures.lines.refused + figures.lines.reduced), EngineName());
  if (!figures.followed.empty()) {
    std::snprintf(text + length, sizeof(text) - static_cast<size_t>(length), ", delay %.0f ms",
                  delay / static_cast<double>(figures.followed.size()));
  }
  return text;
}

}  // namespace vanta_run
