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
#include "input/preset_files.h"
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

// What is played and sent, looked at before anything is started. Throws Failure.
struct Plan {
  explicit Plan(const Options &options)
      : input(ProbeInput(options)),
        background(options.background.empty() ? std::nullopt : std::optional(ProbeBackground(options))),
        script(options.commands.empty() ? std::vector<ScriptLine>() : ReadScript(options.commands)),
        answers(options.ability_answers.empty() ? std::vector<AbilityAnswer>()
                                                : ReadAbilityAnswers(options.ability_answers)) {
    for (const std::string &name : options.events) events.push_back(std::make_unique<EventWatch>(name));
    limits.emplace(options, input, script.empty() ? 0 : script.back().at);
    module = FindFilterModule(options);
    if (!options.group.empty()) RequirePreset(options.group, module.data);
    cameras = options.virtual_camera || input.kind == InputKind::kCamera ||
              (background && background->kind == InputKind::kCamera);
    in_step = options.InStep() && !cameras;  // a camera does not wait
  }

  const Input input;
  const std::optional<Input> background;
  std::vector<ScriptLine> script;
  std::vector<AbilityAnswer> answers;
  std::vector<std::unique_ptr<EventWatch>> events;
  std::optional<RunLimits> limits;
  ModulePaths module;
  bool cameras = false, in_step = false;
};

// The files that the run is to leave, begun before it starts: what cannot be written is known by then. Throws Failure.
struct Files {
  Files(const Options &options, Progress &progress) {
    if (!options.output.empty()) {
      RequireRecordingFormat(options.output);
      recording.emplace(options.output);
    }
    if (options.virtual_camera) RequireVirtualCamera();
    pictures.emplace(options);
    if (options.dump) dump.emplace(*options.dump);
    if (options.monitor) {
      monitor.emplace(kMonitoredPorts);
      if (!monitor->Remark().empty()) progress.Say(monitor->Remark());
    }
    if (!options.plot.empty()) {
      RequireGnuplot();
      plot.emplace(options.plot);
    }
    if (!options.landmarks.empty() && options.landmarks != "-") landmarks.emplace(options.landmarks);
    if (!options.report.empty() && options.report != "-") report.emplace(options.report);
  }

  std::optional<PendingFile> recording, plot, landmarks, report;
  std::optional<Pictures> pictures;
  std::optional<FrameDump> dump;
  std::optional<LiveMonitor> monitor;
};

// One run's parts that outlive libobs's session or last as long.
struct Work {
  const Options &options;
  Interrupt &interrupt;
  Plan &plan;
  Files &files;
  LogSink &log;
  Progress &progress;
  Failures &failures;
  RunFigures &figures;
};

// The source with its filters, from the first frame to the last. False: interrupted before anything was recorded.
bool Play(Work &work, BeautyControl &control, ObsSession &session) {
  const Options &options = work.options;
  Plan &plan = work.plan;
  Files &files = work.files;
  FrameMeter meter;
  AbilityHandler abilities;
  std::optional<FaceFile> faces;
  if (options.FindsFaces()) faces.emplace(files.landmarks ? &*files.landmarks : nullptr, !options.landmarks.empty());
  Stage stage(plan.input, options.loop, plan.in_step, meter);
  const SoundAtEnd sound{session};
  stage.AddFilters(options.beauty_filter);
  if (faces) stage.AddLandmarks();
  if (options.green_screen) stage.AddGreenScreen(*options.green_screen);
  if (options.draw_landmarks) stage.AddFaceOverlay(faces->listener());
  if (plan.background) stage.AddBackground(*plan.background);
  control.SendCommands();
  if (!plan.in_step) stage.Show();
  std::optional<VirtualCamera> camera;
  if (options.virtual_camera) camera.emplace();
  std::optional<Recorder> recorder;
  if (files.recording) recorder.emplace(*files.recording, options.verbose, plan.in_step);
  CommandPlayer commands(options.commands, std::move(plan.script), options.interactive, work.progress, stage,
                         {abilities, std::move(plan.answers), std::move(plan.events)}, RequireControl());
  Pace pace(plan.in_step, plan.input.rate, work.interrupt);
  std::optional<StepRun> step;
  if (plan.in_step) {
    step.emplace(plan.input, stage, meter, recorder ? &*recorder : nullptr, pace, work.interrupt, work.progress);
  }
  const ClockEnd clock;
  Runner runner({options,
                 plan.input,
                 *plan.limits,
                 work.interrupt,
                 work.progress,
                 work.failures,
                 work.log,
                 control,
                 meter,
                 stage,
                 abilities,
                 commands,
                 *files.pictures,
                 files.dump ? &*files.dump : nullptr,
                 recorder ? &*recorder : nullptr,
                 faces ? &*faces : nullptr,
                 files.monitor ? &*files.monitor : nullptr,
                 pace,
                 step ? &*step : nullptr,
                 [&session] { session.StartSound(); }});
  if (!runner.Go(work.figures)) return false;
  if (recorder) {
    work.figures.recorded_frames = recorder->frames();
    work.figures.recorded_bytes = recorder->bytes();
  }
  return true;
}

// What stands beside the recording; the report comes last, as it holds what failed until then.
void WriteResults(Work &work) {
  const Options &options = work.options;
  Files &files = work.files;
  RunFigures &figures = work.figures;
  Failures &failures = work.failures;
  files.pictures->Write(failures);
  if (files.dump) failures.Try([&] { files.dump->Write(figures.frames.in, failures); });
  if (files.plot) {
    failures.Try([&] {
      DrawPlot(PlotScript(figures), *files.plot);
      files.plot->Commit();
    });
  }
  failures.Try([&work] { work.log.Finish(); });
  figures.failures = failures.lines();
  if (options.report.empty()) return;
  failures.Try([&] {
    const std::string text = ReportText(options, work.plan.input, figures);
    if (files.report) {
      files.report->Write(text.data(), text.size());
      files.report->Commit();
    } else {
      PutOnStandardOutput(text);
    }
  });
}

}  // namespace

int Run(const Options &options, Interrupt &interrupt) {
  if (!options.verbose) av_log_set_level(AV_LOG_QUIET);
  if (options.pick_key) return PickKey(ProbeInput(options));
  // What can fail cheaply comes first.
  Plan plan(options);
  LogSink log(options.log, options.verbose);
  Progress progress(options.quiet, !options.interactive);
  if (plan.input.impossible_turn != 0) {
    progress.Say(
        plan.input.path + ": is to be turned by " + std::to_string(plan.input.impossible_turn) +
        "°, which is no quarter turn: it is played as it lies; for an upright one: ffmpeg -i INPUT upright.mp4");
  }
  Files files(options, progress);

  VirtualDisplay display;
  if (display.started_one()) progress.Say("no display: started a virtual one, " + display.name());
  BeautyControl control(options);
  control.SetUpHost();
  if (plan.in_step) StepClock::Get().Start();
  ObsSession session(display.connection(), plan.input, plan.module, plan.cameras, !plan.in_step);
  ReportCollector reports;
  CostObserver observer(session.filter_library());
  control.SendSnapshot();

  Failures failures;
  RunFigures figures;
  figures.beauty_filter = options.beauty_filter;
  figures.in_step = plan.in_step;
  Work work{options, interrupt, plan, files, log, progress, failures, figures};
  if (!Play(work, control, session)) return kExitInterrupted;
  figures.averages = observer.Averages();
  figures.spikes = observer.Spikes();
  figures.reports = reports.Finish();
  WriteResults(work);
  for (const std::string &line : log.BadFiles()) progress.Complain(line);
  for (const std::string &line : SummaryLines(figures)) progress.Say(line);
  failures.ThrowThem();
  if (interrupt.count() > 0) return kExitInterrupted;
  return log.RefusedFiles() ? kExitRefused : kExitOk;
}

}  // namespace vanta_run
