#include "session/run.h"

#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <optional>

extern "C" {
#include <libavutil/log.h>
}

#include "capture/frame_dump.h"
#include "clock/step_clock.h"
#include "common/failures.h"
#include "common/standard_output.h"
#include "faces/face_file.h"
#include "input/first_frame.h"
#include "monitor/live_monitor.h"
#include "output/cost_observer.h"
#include "output/virtual_camera.h"
#include "plot/gnuplot.h"
#include "plot/plot_script.h"
#include "session/command_player.h"
#include "session/module_paths.h"
#include "session/obs_session.h"
#include "session/report_collector.h"
#include "session/runner.h"
#include "session/virtual_display.h"
#include "vanta_keying/key_fit.h"

namespace vanta_run {
namespace {

ILumivex &RequireControl() {
  ILumivex *control = BeautyControl::Faceless();
  if (control == nullptr) {
    throw Failure(kExitModule, "vanta_filter", "gives no control object", "install a plug-in of this version");
  }
  return *control;
}

// However a run ends, libobs goes at the machine's pace again before anything that plays is taken down.
struct ClockEnd {
  ~ClockEnd() { StepClock::Get().Release(); }
};

// Without sound libobs does not wait for what it destroys.
struct SoundAtEnd {
  ObsSession &session;
  ~SoundAtEnd() { session.StartSound(); }
};

// The config goes to standard output, where a file can take it; what was found, beside it.
int PickKey(const Input &input) {
  cv::Mat rgba;
  cv::cvtColor(FirstFrame(input), rgba, cv::COLOR_BGR2RGBA);
  const auto fit = vanta_keying::FitKey({{rgba.data, static_cast<uint32_t>(rgba.cols), static_cast<uint32_t>(rgba.rows),
                                          static_cast<size_t>(rgba.step)}});
  if (!fit) {
    throw Failure(kExitInput, input.path, "its first frame has no green or blue backing",
                  "give another input, or write the keyColor yourself");
  }
  std::puts(vanta_keying::KeyFitConfig(*fit).c_str());
  std::fprintf(stderr, "%s\n", vanta_keying::DescribeKeyFit(*fit).c_str());
  return kExitOk;
}

}  // namespace

int Run(const Options &options, Interrupt &interrupt) {
  // What can fail cheaply comes first.
  if (!options.verbose) av_log_set_level(AV_LOG_QUIET);
  const Input input = ProbeInput(options);
  if (options.pick_key) return PickKey(input);
  std::optional<Input> background;
  if (!options.background.empty()) background = ProbeBackground(options);
  std::vector<ScriptLine> script;
  if (!options.commands.empty()) script = ReadScript(options.commands);
  std::vector<AbilityAnswer> answers;
  if (!options.ability_answers.empty()) answers = ReadAbilityAnswers(options.ability_answers);
  std::vector<std::unique_ptr<EventWatch>> events;
  for (const std::string &name : options.events) events.push_back(std::make_unique<EventWatch>(name));
  const RunLimits limits(options, input, script.empty() ? 0 : script.back().at);
  const ModulePaths module = FindFilterModule(options);
  LogSink log(options.log, options.verbose);
  Progress progress(options.quiet, !options.interactive);
  std::optional<PendingFile> recording;
  if (!options.output.empty()) {
    RequireRecordingFormat(options.output);
    recording.emplace(options.output);
  }
  if (options.virtual_camera) RequireVirtualCamera();
  Pictures pictures(options);
  std::optional<FrameDump> dump;
  if (options.dump) dump.emplace(*options.dump);
  std::optional<LiveMonitor> monitor;
  if (options.monitor) {
    monitor.emplace(kMonitoredPorts);
    if (!monitor->Remark().empty()) progress.Say(monitor->Remark());
  }
  std::optional<PendingFile> plot;
  if (!options.plot.empty()) {
    RequireGnuplot();
    plot.emplace(options.plot);
  }
  std::optional<PendingFile> landmarks;
  if (!options.landmarks.empty() && options.landmarks != "-") landmarks.emplace(options.landmarks);
  std::optional<PendingFile> report;
  if (!options.report.empty() && options.report != "-") report.emplace(options.report);

  VirtualDisplay display;
  if (display.started_one()) progress.Say("no display: started a virtual one, " + display.name());
  BeautyControl control(options);
  control.SetUpHost();
  const bool cameras = options.virtual_camera || input.kind == InputKind::kCamera ||
                       (background && background->kind == InputKind::kCamera);
  const bool in_step = options.InStep() && !cameras;  // a camera does not wait
  if (in_step) StepClock::Get().Start();
  ObsSession session(display.connection(), input, module, cameras, !in_step);
  ReportCollector reports;
  CostObserver observer(session.filter_library());
  control.SendSnapshot();

  Failures failures;
  RunFigures figures;
  figures.beauty_filter = options.beauty_filter;
  figures.in_step = in_step;
  {
    FrameMeter meter;
    AbilityHandler abilities;
    std::optional<FaceFile> faces;
    if (options.FindsFaces()) faces.emplace(landmarks ? &*landmarks : nullptr, !options.landmarks.empty());
    Stage stage(input, options.loop, in_step, meter);
    const SoundAtEnd sound{session};
    stage.AddFilters(options.beauty_filter);
    if (faces) stage.AddLandmarks();
    if (options.green_screen) stage.AddGreenScreen(*options.green_screen);
    if (options.draw_landmarks) stage.AddFaceOverlay(faces->listener());
    if (background) stage.AddBackground(*background);
    control.SendCommands();
    if (!in_step) stage.Show();
    std::optional<VirtualCamera> camera;
    if (options.virtual_camera) camera.emplace();
    std::optional<Recorder> recorder;
    if (recording) recorder.emplace(*recording, options.verbose, in_step);
    CommandPlayer commands(options.commands, std::move(script), options.interactive, progress, stage,
                           {abilities, std::move(answers), std::move(events)}, RequireControl());
    Pace pace(in_step, input.rate, interrupt);
    std::optional<StepRun> step;
    if (in_step) step.emplace(input, stage, meter, recorder ? &*recorder : nullptr, pace, interrupt, progress);
    const ClockEnd clock;
    Runner runner({options,
                   input,
                   limits,
                   interrupt,
                   progress,
                   failures,
                   log,
                   control,
                   meter,
                   stage,
                   abilities,
                   commands,
                   pictures,
                   dump ? &*dump : nullptr,
                   recorder ? &*recorder : nullptr,
                   faces ? &*faces : nullptr,
                   monitor ? &*monitor : nullptr,
                   pace,
                   step ? &*step : nullptr,
                   [&session] { session.StartSound(); }});
    if (!runner.Go(figures)) return kExitInterrupted;
    if (recorder) {
      figures.recorded_frames = recorder->frames();
      figures.recorded_bytes = recorder->bytes();
    }
  }
  pictures.Write(failures);
  if (dump) failures.Try([&] { dump->Write(figures.frames.in, failures); });
  figures.averages = observer.Averages();
  figures.spikes = observer.Spikes();
  figures.reports = reports.Finish();
  if (plot) {
    failures.Try([&] {
      DrawPlot(PlotScript(figures), *plot);
      plot->Commit();
    });
  }
  failures.Try([&log] { log.Finish(); });
  figures.failures = failures.lines();
  if (!options.report.empty()) {
    failures.Try([&] {
      const std::string text = ReportText(options, input, figures);
      if (report) {
        report->Write(text.data(), text.size());
        report->Commit();
      } else {
        PutOnStandardOutput(text);
      }
    });
  }
  for (const std::string &line : SummaryLines(figures)) progress.Say(line);
  failures.ThrowThem();
  return interrupt.count() > 0 ? kExitInterrupted : kExitOk;
}

}  // namespace vanta_run
