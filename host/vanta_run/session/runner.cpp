#include "session/runner.h"

#include <lumivex/lumivex_control.h>
#include <util/platform.h>

#include <algorithm>

#include "clock/worker_gate.h"
#include "commands/settings_update.h"
#include "common/failure.h"
#include "session/display_loss.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr double kPictureTime = 2;        // seconds, for pictures of a run without an end
constexpr double kFirstMark = 0.3;        // seconds into the run; then one frame is followed each second
constexpr double kWarmUpLimit = 30;       // seconds
constexpr double kNoPictureLimit = 10;    // seconds
constexpr double kLeastDuration = 2;      // seconds of a file
constexpr double kFirstFramesTime = 0.7;  // seconds, in which a first face is found
constexpr double kLastFramesLimit = 5;    // seconds
constexpr double kFramesAtEnd = 1;        // seconds for the same, once somebody has asked for the end
constexpr double kCanvasLimit = 5;        // seconds
constexpr double kLoadLimit = 10;         // seconds that pictures and the end wait for files that are being read
constexpr double kDrainSeconds = 0.25;    // without a new frame, after the end of the input
constexpr double kRestartPause = 0.5;     // seconds; libobs restarts a file at its next tick
constexpr uint64_t kSettledFrames = 3;    // the engine's report comes a little before its first frame
constexpr double kAggregateLook = 1;      // seconds
constexpr double kMoment = 1e-3;          // seconds
constexpr int kPollMs = 20;

double Seconds(uint64_t since_ns) {
  return static_cast<double>(os_gettime_ns() - since_ns) / 1e9;
}

// Ten seconds of measured times do not come twice alike to the last bit.
bool SameRecord(const StatisticsSample &a, const StatisticsSample &b) {
  return a.name == b.name && a.filter_avg == b.filter_avg && a.filter_p95 == b.filter_p95 &&
         a.async_avg == b.async_avg && a.whole_avg == b.whole_avg && a.taken_count == b.taken_count &&
         a.empty_dequeue_count == b.empty_dequeue_count && a.spurious_wake_count == b.spurious_wake_count;
}

// Files that the engine reads beside the frames.
bool AsksForFiles(const Options &options) {
  return !options.effect.empty() || !options.makeup.empty() || options.lookup || !options.group.empty() ||
         !options.commands.empty() || options.interactive;
}

double PictureTime(const Options &options, const RunLimits &limits) {
  if (options.at >= 0) return options.at;
  return limits.expected > 0 ? limits.expected / 2 : kPictureTime;
}

}  // namespace

Runner::Runner(const RunParts &parts)
    : p_(parts),
      loads_(p_.step == nullptr && p_.stage.filter() != nullptr && AsksForFiles(p_.options)),
      at_(PictureTime(parts.options, parts.limits)),
      latest_at_(at_ + kLoadLimit),
      loads_shown_(!loads_) {}

bool Runner::Go(RunFigures &figures) {
  if (!WarmUp(figures)) return false;
  Begin();
  figures.ended_by = Play(figures);
  End(figures);
  return true;
}

bool Runner::WarmUp(RunFigures &figures) {
  const uint64_t start = os_gettime_ns();
  if (!(p_.step != nullptr ? p_.step->WarmUp() : WarmUpLive())) return false;
  figures.warm_up_seconds = Seconds(start);
  if (p_.stage.filter() == nullptr) return true;
  if (vanta_host_get_engine_state() == VANTA_ENGINE_MISSING) {
    p_.progress.Say("no effect engine: the picture passes untouched");
  }
  std::vector<std::string> settings;
  // First, so that --settings wins.
  if (!p_.options.effect.empty() || !p_.options.ability_answers.empty()) {
    settings.emplace_back(R"({"effect_json_ability_handler":true})");
  }
  settings.insert(settings.end(), p_.options.settings.begin(), p_.options.settings.end());
  UpdateFilter(p_.stage.filter(), settings, &p_.abilities);
  return true;
}

// A frame that comes while the worker makes the engine, or looks at its first faces, stands in the filter's queue for
// the next minute. So a file gives its first ones singly: it stands still until the worker is through with each. It
// stands still at the end, too; where the run is not settled then it plays, and so does a file that would end
// meanwhile: false.
bool Runner::GiveFirstFramesSingly() {
  if (p_.stage.filter() == nullptr || p_.input.duration < kLeastDuration) return false;
  const uint64_t start = os_gettime_ns();
  const auto await = [&](const std::function<bool()> &condition, double limit) {
    const uint64_t asked = os_gettime_ns();
    while (!condition()) {
      if (p_.interrupt.Wait(1) || Seconds(asked) > limit) return false;
    }
    return true;
  };
  const auto settled = [&] {
    return vanta_host_get_engine_state() != VANTA_ENGINE_UNKNOWN && p_.meter.Counts().out >= kSettledFrames;
  };
  while (Seconds(start) < kFirstFramesTime || (!settled() && Seconds(start) < kWarmUpLimit)) {
    const FrameCounts before = p_.meter.Counts();
    const uint64_t slept = WorkerSleeps(WorkerKind::kBeauty);
    p_.stage.Pause(false);
    const auto entered = [&] { return p_.meter.Counts().in > before.in || p_.stage.Ended(); };
    if (!await(entered, kNoPictureLimit) || p_.stage.Ended()) break;
    p_.stage.Pause(true);
    const auto through = [&] {  // or the filter passes frames by
      return WorkerSleeps(WorkerKind::kBeauty) > slept || p_.meter.Counts().out > before.out;
    };
    if (!await(through, kWarmUpLimit)) break;
  }
  if (settled()) return true;
  p_.stage.Restart();
  p_.stage.Pause(false);
  return false;
}

bool Runner::WarmUpLive() {
  const uint64_t start = os_gettime_ns();
  if (GiveFirstFramesSingly()) return true;
  uint64_t out_at_word = 0;
  double restarted = 0;
  bool word = p_.stage.filter() == nullptr;  // without the filter no engine is asked
  for (;;) {
    if (p_.interrupt.Wait(kPollMs)) return false;
    if (p_.stage.Ended() && Seconds(start) - restarted > kRestartPause) {
      p_.stage.Restart();
      restarted = Seconds(start);
    }
    const FrameCounts counts = p_.meter.Counts();
    if (!word && vanta_host_get_engine_state() != VANTA_ENGINE_UNKNOWN) {
      word = true;
      out_at_word = counts.out;
    }
    if (word && counts.out >= out_at_word + kSettledFrames) break;
    if (counts.in == 0 && Seconds(start) > kNoPictureLimit) {
      throw Failure(kExitInput, p_.input.path, "no picture comes out of it", "give another file");
    }
    if (Seconds(start) > kWarmUpLimit) {
      p_.progress.Say("the engine has not answered in 30 s; going on without waiting");
      break;
    }
  }
  return true;
}

void Runner::Begin() {
  if (p_.step == nullptr) {
    BeginLive();
  } else {
    p_.control.StartEffect(p_.options.events.empty() ? std::string() : p_.options.events.front());
    p_.step->Begin(p_.start_sound);
  }
  if (p_.faces != nullptr) p_.faces->Start();
  p_.meter.StartOver();
  counts_at_start_ = p_.meter.Counts();
  seconds_.Start(counts_at_start_);
  lines_at_start_ = p_.log.Counts();
  canvas_at_start_ = obs_get_total_frames();
  lagged_at_start_ = obs_get_lagged_frames();
  if (p_.dump != nullptr) p_.meter.RequestDump(p_.options.dump->frame);
  if (p_.step == nullptr) {
    p_.pace.StartRun(os_gettime_ns());
    next_mark_ = kFirstMark;
  }
}

void Runner::BeginLive() {
  const uint64_t in_before = p_.meter.Counts().in;
  p_.stage.Restart();
  p_.stage.Pause(false);
  const uint64_t asked = os_gettime_ns();
  while (p_.meter.Counts().in == in_before && Seconds(asked) < 2 && !p_.interrupt.Wait(1)) {
  }
  p_.control.StartEffect(p_.options.events.empty() ? std::string() : p_.options.events.front());
  if (p_.recorder != nullptr) p_.recorder->Start();
}

uint64_t Runner::FramesIn() const {
  return p_.step != nullptr ? p_.step->frames_in() : p_.meter.Counts().in - counts_at_start_.in;
}

const char *Runner::Play(RunFigures &figures) {
  bool engine_stopped = false;
  for (;;) {
    if (p_.pace.Wait()) return "interrupt";
    const double elapsed = p_.pace.Elapsed();
    const uint64_t entered = FramesIn();
    if (p_.recorder != nullptr && p_.recorder->Failed()) return "a failed recording";
    if (p_.limits.Reached(elapsed, entered)) return "limit";
    if (Drained(elapsed, entered)) return "end of input";
    if (!p_.commands.Advance(elapsed)) return "quit";
    if (p_.step != nullptr) p_.step->Look();
    if (!engine_stopped && p_.options.engine_stop_after >= 0 && elapsed >= p_.options.engine_stop_after) {
      p_.control.StopEngine(p_.stage.filter());
      engine_stopped = true;
    }
    if (p_.faces != nullptr) p_.faces->Write(p_.failures);
    PutOffPictures(elapsed);
    MarkWhenDue(elapsed);
    TakePair(figures);
    if (p_.dump != nullptr) p_.dump->Take(p_.meter);
    TellLostDisplay();
    TakeAggregates(elapsed, figures);
    seconds_.Look(elapsed, p_.meter.Counts());
    p_.pictures.TakeCanvasWhenDue(elapsed, at_, p_.stage.item());
    ShowMonitor();
    Show(elapsed, figures);
  }
}

// The file has been read to its end, and the frames that libobs still held have entered.
bool Runner::Drained(double elapsed, uint64_t entered) {
  if (p_.step != nullptr) return p_.step->Drained() && !p_.options.loop;
  if (entered != last_entered_ || !p_.stage.Ended()) {
    last_entered_ = entered;
    last_entered_time_ = elapsed;
  }
  return !p_.options.loop && p_.stage.Ended() && elapsed - last_entered_time_ > kDrainSeconds;
}

// A command reaches the engine with one frame, what it asks for the next one after it is read, and that one has to
// leave.
bool Runner::LoadsAreShown() {
  const uint64_t out = p_.meter.Counts().out;
  if (out_with_loads_ == 0 || lumivex_pending_loads() > 0) out_with_loads_ = out + kSettledFrames;
  loads_shown_ = out >= out_with_loads_;
  return loads_shown_;
}

// Live, frames go on while files are read for them.
void Runner::PutOffPictures(double elapsed) {
  if (loads_shown_ || elapsed < at_ || elapsed > latest_at_) return;
  if (!LoadsAreShown()) at_ = elapsed + kMoment;
}

// The same where the run has ended before. True where it waited.
bool Runner::AwaitLoads() {
  if (loads_shown_ || !p_.pictures.wanted() || p_.stage.Ended() || p_.pace.Elapsed() > latest_at_) return false;
  const uint64_t asked = os_gettime_ns();
  while (!LoadsAreShown() && Seconds(asked) < kLoadLimit) {
    if (p_.pace.Wait()) return false;
  }
  at_ = p_.pace.Elapsed();
  return true;
}

// The exit code tells of refused files, and that one is refused is known once it has been read. The engine takes what
// was read with a frame: an input that has ended plays again.
void Runner::AwaitRefusals() {
  if (!loads_) return;
  out_with_loads_ = 0;
  const uint64_t asked = os_gettime_ns();
  for (double restarted = -kRestartPause; Seconds(asked) < kLoadLimit;) {
    const bool ended = p_.stage.Ended();
    if (ended ? lumivex_pending_loads() == 0 : LoadsAreShown()) return;
    if (ended && Seconds(asked) - restarted >= kRestartPause) {
      p_.stage.Restart();
      restarted = Seconds(asked);
    }
    if (p_.pace.Wait()) return;
  }
}

// One frame a second, and one at the time of the pictures.
void Runner::MarkWhenDue(double elapsed) {
  if (p_.stage.filter() == nullptr) return;
  const bool due_for_pictures = !marked_at_ && elapsed >= at_;
  if (elapsed < next_mark_ && !due_for_pictures) return;
  p_.meter.RequestPair();
  marked_at_ = marked_at_ || due_for_pictures;
  if (elapsed >= next_mark_) next_mark_ += 1;
}

void Runner::TakePair(RunFigures &figures) {
  const FramePair pair = p_.meter.TakePair();
  if (pair.entered_ns == 0) return;
  const double entered = (static_cast<double>(pair.entered_ns) - static_cast<double>(p_.pace.start_ns())) / 1e9;
  figures.followed.push_back({entered, pair.delay_frames, pair.delay_ms, pair.untouched, pair.applied});
  p_.pictures.Offer(pair, entered, at_);
}

// The control object keeps one record for each source: a new one shows in its figures.
void Runner::TakeAggregates(double elapsed, RunFigures &figures) {
  if (elapsed < next_look_) return;
  next_look_ = elapsed + kAggregateLook;
  for (StatisticsSample &sample : p_.control.Statistics()) {
    const auto same = [&sample](const Aggregate &known) { return SameRecord(known.sample, sample); };
    if (std::none_of(figures.aggregates.begin(), figures.aggregates.end(), same)) {
      figures.aggregates.push_back({elapsed, std::move(sample)});
    }
  }
}

void Runner::TellLostDisplay() {
  if (lost_display_told_ || !DisplayIsGone()) return;
  lost_display_told_ = true;
  p_.progress.Complain("the display has gone; the run goes on without it");
}

void Runner::ShowMonitor() {
  if (p_.monitor == nullptr) return;
  const std::vector<std::string> lines = p_.monitor->Poll();
  if (p_.progress.on_terminal()) {
    p_.progress.ShowAbove(p_.monitor->Picture({SizeOf(stderr).columns - 1, SpeaksUtf8()}));
  } else {
    for (const std::string &line : lines) p_.progress.Complain(line);
  }
}

void Runner::Show(double elapsed, const RunFigures &figures) {
  const FrameCounts counts = p_.meter.Counts();
  ProgressState state;
  state.elapsed = elapsed;
  state.total = p_.limits.expected;
  state.part = p_.limits.expected > 0 ? elapsed / p_.limits.expected : 0;
  state.in = FramesIn();
  state.out = p_.step != nullptr ? p_.step->frames_out() : counts.out - counts_at_start_.out;
  state.real_elapsed = p_.pace.RealElapsed();
  if (p_.step != nullptr) {
    if (state.part > 0) state.left = state.real_elapsed * (1 / std::min(state.part, 1.0) - 1);
  } else if (!figures.followed.empty())
    state.delay_ms = static_cast<int64_t>(figures.followed.back().delay_ms);
  p_.progress.Show(state);
}

// Until the next look, also where the run has been interrupted.
void Runner::WaitForALook() {
  if (p_.pace.Wait() && p_.step == nullptr) os_sleep_ms(kPollMs);
}

// What has been asked for and is still under way: pictures of a run that ended before their time, the only marked frame
// of a short run.
void Runner::TakeLast(RunFigures &figures) {
  const bool waited = AwaitLoads();
  const uint64_t asked = os_gettime_ns();
  p_.pictures.TakeCanvasWhenDue(0, 0, p_.stage.item());
  while (p_.pictures.awaits_canvas() && Seconds(asked) < kCanvasLimit) {
    WaitForALook();
    p_.pictures.TakeCanvasWhenDue(0, 0, p_.stage.item());
  }
  TakePair(figures);
  if (p_.dump != nullptr) p_.dump->Take(p_.meter);
  const double limit = p_.interrupt.count() > 0 ? kFramesAtEnd : kLastFramesLimit;
  const size_t pairs = waited ? figures.followed.size() : 0;
  if (p_.stage.filter() != nullptr && figures.followed.size() == pairs) p_.meter.RequestPair();
  while (figures.followed.size() == pairs && p_.pictures.wants_pairs() && Seconds(asked) < limit) {
    WaitForALook();
    TakePair(figures);
  }
  while (p_.dump != nullptr && p_.dump->IsDue(figures.frames.in) && Seconds(asked) < limit) {
    WaitForALook();
    p_.dump->Take(p_.meter);
  }
}

void Runner::End(RunFigures &figures) {
  figures.seconds = p_.pace.Elapsed();
  if (p_.step != nullptr) p_.step->FinishFrames();
  figures.frames = p_.meter.Counts() - counts_at_start_;
  if (p_.step != nullptr) {
    figures.frames.in = p_.step->frames_in();
    figures.frames.out = p_.step->frames_out();
  }
  const LineCounts lines = p_.log.Counts();
  figures.lines = {lines.refused - lines_at_start_.refused, lines.empty - lines_at_start_.empty,
                   lines.reduced - lines_at_start_.reduced, lines.errors};
  TakeLast(figures);
  if (p_.step != nullptr) {
    p_.step->LetGo();
    if (p_.step->given_up() > 0) {
      p_.progress.Complain("the filter's worker has not finished " + std::to_string(p_.step->given_up()) +
                           " frames in a minute each; the run went on without them");
    }
  }
  figures.took_seconds = p_.pace.RealElapsed();
  figures.canvas_frames = obs_get_total_frames() - canvas_at_start_;
  figures.canvas_lagged = obs_get_lagged_frames() - lagged_at_start_;
  figures.filter_costs = p_.meter.FilterCosts();
  figures.draw_costs = p_.meter.DrawCosts();
  figures.statistics = p_.control.Statistics();
  next_look_ = 0;
  TakeAggregates(figures.seconds, figures);
  figures.by_second = seconds_.Take();
  p_.commands.Tell(figures);
  if (p_.faces != nullptr) figures.faces = p_.faces->Finish(p_.failures);
  figures.adapter = vanta_host_adapter_name();
  if (p_.recorder != nullptr) p_.failures.Try([this] { p_.recorder->Finish(); });
  AwaitRefusals();
  p_.progress.End();
}

}  // namespace vanta_run
