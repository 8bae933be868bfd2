#include "clock/step_clock.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace vanta_run {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using SteadyTime = std::chrono::steady_clock::time_point;

constexpr std::chrono::seconds kSettleLimit{60};  // real time for threads to come or to sleep
constexpr milliseconds kReminder{20};
constexpr uint64_t kFrameLookNs = 1'000'000;          // between two looks whether a frame has been taken
constexpr uint64_t kFramePatienceNs = 2'000'000'000;  // of the clock: nobody takes the source's frames

// The machine's clock as libobs reads it, which is also the steady clock's.
uint64_t RealNs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

}  // namespace

// The calling thread's place on the clock; it leaves with the thread.
struct ThreadEnd {
  StepClock::Thread *thread = nullptr;
  ~ThreadEnd() {
    if (thread != nullptr) StepClock::Get().Leave(thread);
  }
};

namespace {
thread_local ThreadEnd self;
}  // namespace

// Never destroyed: threads of libobs may outlive the program's main function.
StepClock &StepClock::Get() {
  static StepClock *const clock = new StepClock;
  return *clock;
}

void StepClock::Start() {
  offset_ns_ = static_cast<int64_t>(kEpoch - RealNs());
  mode_ = Mode::kRunning;
}

uint64_t StepClock::Now() const {
  switch (mode_.load()) {
    case Mode::kHeld:
      return held_ns_;
    case Mode::kRunning:
      return RealNs() + static_cast<uint64_t>(offset_ns_.load());
    case Mode::kOff:
      break;
  }
  return RealNs();
}

bool StepClock::Hold() {
  Lock lock(mutex_);
  if (self.thread == nullptr) self.thread = Enter(Kind::kControl, lock);
  held_ns_ = RealNs() + static_cast<uint64_t>(offset_ns_.load());
  mode_ = Mode::kHeld;
  turn_ = self.thread;
  const auto settled = [this] {
    return std::all_of(threads_.begin(), threads_.end(), [this](const auto &thread) {
      return thread.get() == turn_ || thread->state != State::kWorking;
    });
  };
  if (changed_.wait_for(lock, kSettleLimit, settled)) return true;
  lock.unlock();
  Release();
  return false;
}

void StepClock::Release() {
  const Lock lock(mutex_);
  if (mode_ != Mode::kHeld) return;
  offset_ns_ = static_cast<int64_t>(held_ns_ - RealNs());
  mode_ = Mode::kRunning;
  turn_ = nullptr;
  for (const auto &thread : threads_) thread->changed.notify_all();
  changed_.notify_all();
}

void StepClock::SleepUntil(uint64_t time_ns) {
  SleepTo(std::max(time_ns, Now()));
}

uint64_t StepClock::NextTick() const {
  const Lock lock(mutex_);
  for (const auto &thread : threads_) {
    if (thread->kind == Kind::kGraphics && thread->state == State::kSleeping) return thread->due_ns;
  }
  return 0;
}

bool StepClock::AwaitThreads(Kind kind, size_t count) {
  Lock lock(mutex_);
  return changed_.wait_for(lock, kSettleLimit, [this, kind, count] {
    return static_cast<size_t>(std::count_if(threads_.begin(), threads_.end(),
                                             [kind](const auto &thread) { return thread->kind == kind; })) >= count;
  });
}

bool StepClock::AwaitFileThreads(size_t count) {
  return AwaitThreads(Kind::kFile, count);
}

bool StepClock::AwaitGraphicsThread() {
  return AwaitThreads(Kind::kGraphics, 1);
}

bool StepClock::AwaitVideoThread() {
  return AwaitThreads(Kind::kVideo, 1);
}

bool StepClock::AwaitAudioThread() {
  return AwaitThreads(Kind::kAudio, 1);
}

// ---- Threads and turns ----

StepClock::Thread *StepClock::Enter(Kind kind, const Lock &) {
  threads_.push_back(std::make_unique<Thread>());
  Thread *thread = threads_.back().get();
  thread->kind = kind;
  thread->order = threads_made_++;
  return thread;
}

void StepClock::Leave(Thread *thread) {
  Lock lock(mutex_);
  const bool had_turn = turn_ == thread;
  std::erase_if(threads_, [thread](const auto &entry) { return entry.get() == thread; });
  if (had_turn) turn_ = nullptr;
  if (had_turn && held()) PassTurn(lock);
  changed_.notify_all();
}

void StepClock::NameThread(const char *name) {
  if (name == nullptr || self.thread != nullptr) return;
  const std::string_view text = name;
  Kind kind;
  if (text == "libobs: graphics thread") {
    kind = Kind::kGraphics;
  } else if (text == "audio-io: audio thread") {
    kind = Kind::kAudio;
  } else if (text == "mp_media_thread") {
    kind = Kind::kFile;
  } else if (text == "video-io: video thread") {
    kind = Kind::kVideo;
  } else {
    return;
  }
  Lock lock(mutex_);
  self.thread = Enter(kind, lock);
  if (held() && kind != Kind::kVideo) {
    self.thread->state = State::kReady;
    self.thread->due_ns = held_ns_;
    if (turn_ == nullptr) PassTurn(lock);
    changed_.notify_all();
    AwaitTurn(*self.thread, lock);
  }
  changed_.notify_all();
}

bool StepClock::IsGraphicsTurn() const {
  return held() && self.thread != nullptr && self.thread->kind == Kind::kGraphics;
}

bool StepClock::EarlierThan(const Thread &a, const Thread &b) const {
  const uint64_t now = held_ns_;
  const uint64_t a_due = std::max(a.due_ns, now), b_due = std::max(b.due_ns, now);
  if (a_due != b_due) return a_due < b_due;
  if (a.kind != b.kind) return a.kind < b.kind;
  return a.order < b.order;
}

void StepClock::PassTurn(const Lock &) {
  turn_ = nullptr;
  for (const auto &thread : threads_) {
    if (thread->kind == Kind::kVideo) continue;
    if (thread->state != State::kReady && thread->state != State::kSleeping) continue;
    if (turn_ == nullptr || EarlierThan(*thread, *turn_)) turn_ = thread.get();
  }
  if (turn_ == nullptr) return;
  held_ns_ = std::max(held_ns_.load(), turn_->due_ns);
  turn_->state = State::kWorking;
  turn_->changed.notify_all();
}

void StepClock::AwaitTurn(Thread &thread, Lock &lock) {
  thread.changed.wait(lock, [this, &thread] { return turn_ == &thread || !held(); });
  thread.state = State::kWorking;
}

bool StepClock::SleepTo(uint64_t time_ns) {
  Lock lock(mutex_);
  if (time_ns < Now()) return false;
  Thread *const thread = self.thread;
  if (thread == nullptr) {
    // Who does not take part looks at the clock now and then.
    while (Now() < time_ns) {
      const uint64_t left = held() ? UINT64_MAX : time_ns - Now();
      changed_.wait_for(lock, std::min(nanoseconds(kReminder), nanoseconds(std::min(left, uint64_t{20'000'000}))));
    }
    return true;
  }
  if (held() && thread->kind == Kind::kGraphics) WaitAtGates(lock);
  thread->state = State::kSleeping;
  thread->due_ns = time_ns;
  changed_.notify_all();
  if (held() && turn_ == thread) PassTurn(lock);
  for (;;) {
    if (held()) {
      AwaitTurn(*thread, lock);
      if (held()) return true;
      thread->state = State::kSleeping;
    }
    const uint64_t now = Now();
    if (now >= time_ns) break;
    thread->changed.wait_for(lock, nanoseconds(time_ns - now), [this] { return held(); });
  }
  thread->state = State::kWorking;
  return true;
}

void StepClock::SleepFor(uint64_t duration_ns) {
  SleepTo(Now() + duration_ns);
}

bool StepClock::LeaveTurn() {
  Lock lock(mutex_);
  if (!held() || self.thread == nullptr || turn_ != self.thread) return false;
  self.thread->state = State::kBlocked;
  PassTurn(lock);
  return true;
}

void StepClock::TakeTurn() {
  Lock lock(mutex_);
  self.thread->state = State::kReady;
  self.thread->due_ns = held_ns_;
  if (held() && turn_ == nullptr) PassTurn(lock);
  AwaitTurn(*self.thread, lock);
}

// ---- Semaphores ----

void StepClock::AddSemaphore(os_sem_data *semaphore, int value) {
  const Lock lock(mutex_);
  auto &added = semaphores_[semaphore];
  added = std::make_unique<Semaphore>();
  added->count = value;
}

void StepClock::RemoveSemaphore(os_sem_data *semaphore) {
  const Lock lock(mutex_);
  semaphores_.erase(semaphore);
}

bool StepClock::Post(os_sem_data *semaphore) {
  const Lock lock(mutex_);
  const auto found = semaphores_.find(semaphore);
  if (found == semaphores_.end()) return false;
  ++found->second->count;
  found->second->changed.notify_one();
  for (const auto &thread : threads_) {
    if (thread->waits_for != semaphore || thread->state != State::kBlocked) continue;
    if (thread->kind == Kind::kVideo || !held()) {
      thread->state = State::kWorking;
    } else {
      thread->state = State::kReady;
      thread->due_ns = held_ns_ + (thread->kind == Kind::kFile ? file_delay_ns_.load() : 0);
      if (turn_ == nullptr) PassTurn(lock);
    }
    thread->changed.notify_all();
    break;
  }
  return true;
}

bool StepClock::Wait(os_sem_data *semaphore) {
  Lock lock(mutex_);
  const auto found = semaphores_.find(semaphore);
  if (found == semaphores_.end()) return false;
  Semaphore &waited = *found->second;
  Thread *const thread = self.thread;
  if (thread == nullptr) {
    waited.changed.wait(lock, [&waited] { return waited.count > 0; });
    --waited.count;
    return true;
  }
  thread->waits_for = semaphore;
  while (waited.count == 0) {
    thread->state = State::kBlocked;
    changed_.notify_all();
    if (held() && turn_ == thread) PassTurn(lock);
    thread->changed.wait(lock, [this, thread, &waited] {
      if (waited.count == 0) return false;
      return !held() || thread->kind == Kind::kVideo || turn_ == thread;
    });
  }
  --waited.count;
  thread->waits_for = nullptr;
  thread->state = State::kWorking;
  return true;
}

// ---- Gates ----

void StepClock::AddGate(Gate &gate) {
  const Lock lock(mutex_);
  gates_.push_back(&gate);
}

void StepClock::RemoveGate(Gate &gate) {
  const Lock lock(mutex_);
  std::erase(gates_, &gate);
}

void StepClock::LookAtGates() {
  if (mode_ == Mode::kOff) return;
  const Lock lock(mutex_);
  changed_.notify_all();
}

bool StepClock::GatesOpen() {
  const bool encoding = std::any_of(threads_.begin(), threads_.end(), [](const auto &thread) {
    return thread->kind == Kind::kVideo && thread->state != State::kBlocked;
  });
  return !encoding && std::all_of(gates_.begin(), gates_.end(), [](Gate *gate) { return gate->IsOpen(); });
}

void StepClock::WaitAtGates(Lock &lock) {
  filtering_ = false;  // where the filter gave nothing out
  changed_.notify_all();
  const SteadyTime latest = std::chrono::steady_clock::now() + std::chrono::seconds(kGatePatienceS);
  while (held() && !changed_.wait_for(lock, kReminder, [this] { return GatesOpen() || !held(); })) {
    const bool late = std::chrono::steady_clock::now() > latest;
    const std::vector<Gate *> gates = gates_;
    lock.unlock();  // a reminder may call into the filter
    for (Gate *gate : gates) {
      if (gate->IsOpen()) continue;
      if (late) {
        gate->GiveUp();
      } else {
        gate->Remind();
      }
    }
    lock.lock();
  }
}

// ---- Frames ----

void StepClock::EndFilter() {
  const Lock lock(mutex_);
  filtering_ = false;
  changed_.notify_all();
}

void StepClock::AwaitFilter() {
  if (!held()) return;
  Lock lock(mutex_);
  changed_.wait(lock, [this] { return !filtering_ || !held(); });
}

void StepClock::FollowFramesOf(const obs_source *source, bool keep_every) {
  followed_ = source;
  keep_every_ = keep_every;
  frame_waiting_ = false;
}

void StepClock::FrameTaken() {
  frame_waiting_ = false;
}

void StepClock::FrameComes(const obs_source *source) {
  if (!held() || source == nullptr || source != followed_) return;
  const bool waits = keep_every_ && self.thread != nullptr && self.thread->kind == Kind::kFile;
  for (uint64_t waited = 0; waits && held() && frame_waiting_ && waited < kFramePatienceNs; waited += kFrameLookNs) {
    SleepFor(kFrameLookNs);
  }
  frame_waiting_ = true;
}

}  // namespace vanta_run
