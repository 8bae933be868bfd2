#include "session/step_run.h"

#include <obs.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "clock/step_clock.h"
#include "common/failure.h"
#include "input/media_guard.h"
#include "session/beauty_control.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kWarmUpLimit = 30;     // seconds of real time, as below
constexpr double kTickLimit = 30;       // for libobs to draw once
constexpr double kStopLimit = 60;       // for the muxer
constexpr double kNoPictureLimit = 10;  // seconds of the clip, as below
constexpr double kLastFrameLimit = 3;   // for a frame to enter once the input has ended
constexpr int kSettledFrames = 3;
constexpr uint64_t kSoundBlockNs = 21'333'333;  // 1024 samples of 48000 a second
constexpr uint64_t kBeforeNs = 500'000;         // little, but more than roundings
constexpr uint64_t kSettleNs = 100'000'000;  // the landmark filter takes its first picture when it is older than this
constexpr int kAskAgainMs = 5;
constexpr double kAnswerSeconds = 0.2;
constexpr int kIdleReminders = 50;  // a second

uint64_t IntervalNs(FrameRate rate) {
  return uint64_t{1'000'000'000} * rate.den / rate.num;
}

// A command that changes nothing, and wakes the worker: one that has missed the frame's signal finds it then.
void WakeWorker() {
  ILumivex *const control = BeautyControl::Faceless();
  if (control == nullptr) return;
  const bool queued = vanta_host_get_switch(VANTA_SWITCH_ASYNC_BEAUTY);
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_BEAUTY, true);
  control->BeginBatchCommand();
  control->EndBatchCommand();
  vanta_host_set_switch(VANTA_SWITCH_ASYNC_BEAUTY, queued);
}

}  // namespace

void LandmarkGate::LookForWorker() {
  if (WorkerIsBusy(gate_.kind())) {
    idle_reminders_ = 0;
  } else if (++idle_reminders_ > kIdleReminders) {
    idle_reminders_ = 0;
    gate_.Forget();
  }
}

StepRun::StepRun(const Input &input, Stage &stage, FrameMeter &meter, Recorder *recorder, Pace &pace,
                 Interrupt &interrupt, Progress &progress)
    : input_(input),
      stage_(stage),
      meter_(meter),
      recorder_(recorder),
      pace_(pace),
      interrupt_(interrupt),
      progress_(progress),
      gate_(WorkerKind::kBeauty, WakeWorker) {
  meter_.set_on_enter([this] { OnEnter(); });
  meter_.set_on_leave([] { StepClock::Get().EndFilter(); });
}

StepRun::~StepRun() {
  meter_.set_on_enter({});
  meter_.set_on_leave({});
  StepClock::Get().FollowFramesOf(nullptr, false);
}

bool StepRun::GoesToWorker() const {
  if (stage_.filter() == nullptr || !worker_runs_ || vanta_host_is_passing_through()) return false;
  ILumivex *const control = BeautyControl::Faceless();
  return control == nullptr || !control->GetFacelessJumpInfo().need_jump;
}

void StepRun::OnEnter() {
  StepClock::Get().FrameTaken();
  last_to_worker_ = GoesToWorker();
  if (last_to_worker_) gate_.Expect();
  if (last_to_worker_) StepClock::Get().BeginFilter();
}

// ---- Warm-up, while the clock runs ----

bool StepRun::AwaitReal(const std::function<bool()> &condition, double seconds) {
  const Clock::time_point latest =
      Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  while (!condition()) {
    if (interrupt_.Wait(1)) interrupted_ = true;
    if (interrupted_ || Clock::now() > latest) return false;
  }
  return true;
}

// One frame of ours goes in, and is through with the worker if it went there. No second one is on its way meanwhile:
// the filter then keeps exactly one back.
bool StepRun::PushAndWait() {
  const uint64_t entered = meter_.entered(), left = meter_.left(), slept = WorkerSleeps(WorkerKind::kBeauty);
  gate_.StartOver();
  stage_.PushOne(false);
  if (!AwaitReal([&] { return meter_.entered() > entered; }, kTickLimit)) return false;
  const uint32_t tick = obs_get_total_frames();
  if (!AwaitReal([&] { return obs_get_total_frames() != tick; }, kTickLimit)) return false;
  if (!worker_runs_ && meter_.left() == left) {
    worker_runs_ = true;
    gate_.StartOver();
    return AwaitReal([&] { return WorkerSleeps(WorkerKind::kBeauty) > slept; }, kWarmUpLimit);
  }
  for (int tries = 0; tries < 1500 && !gate_.IsOpen(); ++tries) {
    if (AwaitReal([&] { return gate_.IsOpen(); }, 0.02) || interrupted_) break;
    gate_.Remind();
  }
  return gate_.IsOpen();
}

bool StepRun::WarmUp() {
  return (stage_.filter() == nullptr || WarmUpEngine()) && (!stage_.finds_faces() || WarmUpLandmarks());
}

// The filter's worker answers for one picture: it has its models then, and misses none of the run.
bool StepRun::WarmUpLandmarks() {
  const auto answers = [] { return WorkerSleeps(WorkerKind::kLandmark) + WorkerSleeps(WorkerKind::kLandmarkGpu); };
  const auto at_work = [] { return WorkerIsBusy(WorkerKind::kLandmark) || WorkerIsBusy(WorkerKind::kLandmarkGpu); };
  const uint64_t before = answers();
  const auto answered = [&] { return answers() > before; };
  const Clock::time_point latest = Clock::now() + std::chrono::seconds(static_cast<int>(kWarmUpLimit));
  PushAndWait();
  while (!interrupted_ && !answered() && Clock::now() < latest) {
    stage_.DrawUnseen();
    if (!AwaitReal(answered, kAnswerSeconds) && !interrupted_ && at_work()) AwaitReal(answered, kWarmUpLimit);
  }
  return !interrupted_;
}

bool StepRun::WarmUpEngine() {
  const Clock::time_point start = Clock::now();
  for (int settled = 0; settled < kSettledFrames;) {
    const bool done = PushAndWait();
    if (interrupted_ || interrupt_.Wait(worker_runs_ ? 0 : kAskAgainMs)) return false;
    if (done && vanta_host_get_engine_state() != VANTA_ENGINE_UNKNOWN) ++settled;
    if (Clock::now() - start > std::chrono::duration<double>(kWarmUpLimit)) {
      progress_.Say("the engine has not answered in 30 s; going on without waiting");
      break;
    }
  }
  return true;
}

// ---- The run, while the clock is held ----

void StepRun::Begin(const std::function<void()> &start_sound) {
  StepClock &clock = StepClock::Get();
  // A busy machine may not have begun them yet: without ticks no time of the run is known, and nobody waits for a
  // thread that encodes before it is known.
  if (!clock.AwaitGraphicsThread() || !clock.AwaitVideoThread() || !clock.Hold()) {
    // A damaged file may keep libobs reading: gigabytes without a packet.
    if (input_.kind == InputKind::kMedia) {
      throw Failure(kExitInput, input_.path, "libobs does not come to rest with it in a minute",
                    "give another file, or try again with --live");
    }
    throw Failure(kExitInternal, "libobs", "does not come to rest in a minute", "try again with --live");
  }
  const uint64_t settled = clock.Now() + kSettleNs;
  while (clock.Now() < settled) pace_.Wait();
  landmarks_.StartOver();
  landmarks_on_gpu_.StartOver();
  keeps_one_ = GoesToWorker();
  entered_before_ = meter_.entered();
  left_before_ = meter_.left();
  const double rate = static_cast<double>(input_.rate.num) / input_.rate.den;
  // A canvas that is slower than the file takes the newest frame of each tick, as libobs does.
  clock.FollowFramesOf(stage_.source(), input_.file_rate <= rate * 1.001);

  // libobs starts a file in a tick. It begins to play in the middle between that one and the next: far from both,
  // whatever its times are rounded to. Its first frame is drawn in the next tick, or when the frame behind it enters.
  const uint64_t interval = IntervalNs(input_.rate);
  const uint64_t start_tick = clock.NextTick() + (kSoundBlockNs / interval + 2) * interval;
  const double mean_stay = input_.file_rate > 0 ? std::min(1 / input_.file_rate, kLongestStay) : 0;
  const double stay = input_.first_stay > 0 ? input_.first_stay : mean_stay;
  const double frame_ticks = std::max(1.0, std::round(rate * stay));
  const uint64_t first_drawn = start_tick + interval + (keeps_one_ ? static_cast<uint64_t>(frame_ticks) * interval : 0);
  // libobs records no picture before it has mixed sound of its time: the block that holds the first picture's ends
  // right behind it.
  uint64_t sound_start = first_drawn + kBeforeNs;
  while (sound_start + kBeforeNs > start_tick) sound_start -= kSoundBlockNs;
  clock.SleepUntil(sound_start);
  start_sound();
  clock.AwaitAudioThread();

  clock.DelayFilesBy(interval / 2);
  const uint64_t first_frame = start_tick + interval / 2;
  obs_source_set_sync_offset(stage_.source(), static_cast<int64_t>(first_drawn - first_frame));
  clock.SleepUntil(start_tick - kBeforeNs / 2);
  stage_.Show();
  clock.SleepUntil(start_tick);
  stage_.Play();
  pace_.StartRun(first_frame);
}

bool StepRun::FrameComesNext() const {
  return input_.kind != InputKind::kMedia || StepClock::Get().FrameWaiting();
}

void StepRun::Look() {
  if (recorder_ == nullptr || recorder_->started() || !FrameComesNext()) return;
  if (keeps_one_ && frames_in() == 0) return;
  recorder_->Start();
}

bool StepRun::Drained() {
  if (!stage_.Ended()) ended_at_.reset();
  if (stage_.Ended() && !ended_at_) ended_at_ = pace_.Elapsed();
  const bool ended = ended_at_ && (!StepClock::Get().FrameWaiting() || pace_.Elapsed() - *ended_at_ > kLastFrameLimit);
  if (frames_in() == 0 && (ended || pace_.Elapsed() > kNoPictureLimit)) {
    throw Failure(kExitInput, input_.path, "no picture comes out of it", "give another file");
  }
  return ended;
}

void StepRun::FinishFrames() {
  frames_in_ = frames_in();
  const bool brings_out = keeps_one_ && last_to_worker_;
  if (recorder_ != nullptr && !recorder_->started()) {
    recorder_->Start();
    if (!brings_out) pace_.Wait();
  }
  if (brings_out) {
    if (!FrameComesNext()) stage_.PushOne(true);
    pace_.Wait();
  }
  if (recorder_ != nullptr) recorder_->Stop();
}

void StepRun::LetGo() {
  const Clock::time_point start = Clock::now();
  while (recorder_ != nullptr && !recorder_->Stopped() &&
         Clock::now() - start < std::chrono::duration<double>(kStopLimit)) {
    pace_.Wait();
  }
  StepClock::Get().Release();
}

uint64_t StepRun::frames_in() const {
  return frames_in_ ? *frames_in_ : meter_.entered() - entered_before_;
}

// The frame that was kept back when the run began was ours.
uint64_t StepRun::frames_out() const {
  const uint64_t left = meter_.left() - left_before_;
  const uint64_t ours = keeps_one_ ? 1 : 0;
  return std::min(left - std::min(left, ours), frames_in());
}

}  // namespace vanta_run
