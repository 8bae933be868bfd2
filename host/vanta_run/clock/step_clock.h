// A clock of the program's own that whole libobs runs on, so that no frame is ever late.
//
// THE MODEL
// libobs asks the operating system for the time and for sleep through a few functions of its own (os_gettime_ns,
// os_sleepto_ns, os_sem_wait...). This room defines functions of the same names in the program (interposed.cpp); the
// dynamic linker prefers those, even for calls from inside libobs. A program that links this library exports its
// symbols (ENABLE_EXPORTS). The clock has three modes:
//
//   off      every function is libobs's own, as if this library were not there. The mode at the start.
//   running  time passes as the machine's does, but counts from kEpoch. libobs notices no difference.
//   held     time stands still while anybody works. It is a simulation of discrete events:
//            - The threads that make the result take part: libobs's graphics and audio thread, the thread of each
//              playing file, and the control thread, which called Hold. libobs names its threads: that is how they are
//              known.
//            - One of them works at a time. Who sleeps or waits for a semaphore passes the turn to the thread that is
//              due earliest (at one time: graphics, audio, files in the order of their opening, control).
//            - Where all sleep, time jumps to the earliest of them. A slow machine only takes longer.
//            - What the graphics thread has set going beside it (the encoder's thread, a filter's worker) is waited for
//              before its turn ends: video threads by themselves, others by a Gate.
//            So each thread meets the others at the same moments in each run, and the result is the same to the bit.
//
// Waits that do not go through libobs stay real: mutexes, joins, other libraries' threads. Who holds the turn must not
// wait so for another one that takes part; os_event_wait passes the turn while it lasts. Start before obs_startup.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

struct obs_source;
struct os_sem_data;

namespace vanta_run {

// Something that the graphics thread's turn waits for. Called on that thread.
class Gate {
 public:
  // Nothing is under way any more. Whoever changes the answer calls StepClock::LookAtGates.
  virtual bool IsOpen() = 0;
  // It has been closed for another 20 ms of real time.
  virtual void Remind() {}
  // It has been closed for so long that the run goes on without it; IsOpen must be true now.
  virtual void GiveUp() = 0;

 protected:
  ~Gate() = default;
};

// One for the process. Threads: any, except where told.
class StepClock {
 public:
  // Far from 0, as libobs takes sound for directly timed whose time is within two seconds of the clock's.
  static constexpr uint64_t kEpoch = 1'000'000'000'000'000;
  // Real time for which a gate may stay closed.
  static constexpr int kGatePatienceS = 60;

  static StepClock &Get();

  // From off to running. Before obs_startup.
  void Start();
  // From running to held: the caller is the control thread now and has the turn. Waits until all others that take part
  // sleep; false, and still running, if one did not in a minute.
  bool Hold();
  // Back to running; everybody who sleeps goes on at the machine's pace. Does nothing in another mode. [control]
  void Release();
  bool held() const { return mode_ == Mode::kHeld; }

  uint64_t Now() const;
  // [control], held: passes the turn until that time, or once round where it has come.
  void SleepUntil(uint64_t time_ns);
  // When the graphics thread's next tick begins; 0 where there is none. Held, while it sleeps.
  uint64_t NextTick() const;
  // Waits until so many threads of playing files, or the graphics, the video or the sound thread, have begun and shown
  // themselves; false if they do not in a minute. Makes their order that of the calls that make them.
  bool AwaitFileThreads(size_t count);
  bool AwaitGraphicsThread();
  bool AwaitVideoThread();  // libobs's, which gives pictures to encoders
  bool AwaitAudioThread();

  // The gate must outlive its stay. Not while a tick is under way.
  void AddGate(Gate &gate);
  void RemoveGate(Gate &gate);
  void LookAtGates();

  // Held: a file begins to play so much later than it is told to.
  void DelayFilesBy(uint64_t delay_ns) { file_delay_ns_ = delay_ns; }

  // Follows a source's frames. `keep_every`: none replaces one that nobody has taken yet; its file waits, while the
  // clock is held, until FrameTaken. Null: none is followed.
  void FollowFramesOf(const obs_source *source, bool keep_every);
  void FrameTaken();
  // Between these the filter takes one frame in and gives another one out. A worker that were done with the one before
  // that would look at a queue of two, and drop one of them. [graphics]
  void BeginFilter() { filtering_ = true; }
  void EndFilter();
  // A frame of that source waits for the next tick. Held.
  bool FrameWaiting() const { return frame_waiting_; }

  // ---- For the interposed functions ----
  enum class Mode { kOff, kRunning, kHeld };
  Mode mode() const { return mode_; }
  void NameThread(const char *name);
  bool SleepTo(uint64_t time_ns);  // false: that time has passed
  void SleepFor(uint64_t duration_ns);
  void AddSemaphore(os_sem_data *semaphore, int value);
  void RemoveSemaphore(os_sem_data *semaphore);
  bool IsGraphicsTurn() const;  // the caller is the graphics thread, and the clock is held
  // False: none of ours, libobs's own function will do.
  bool Post(os_sem_data *semaphore);
  bool Wait(os_sem_data *semaphore);
  // The caller waits for something real and passes the turn. Pairs; false: it has no turn, and no second call is due.
  bool LeaveTurn();
  void TakeTurn();
  void FrameComes(const obs_source *source);
  void AwaitFilter();  // until no filter is between its two steps; the clock is held

 private:
  enum class Kind {
    kGraphics,
    kAudio,
    kFile,
    kControl,
    kVideo
  };  // in the order of their turns; a video thread has none
  enum class State { kWorking, kReady, kSleeping, kBlocked };
  struct Thread {
    Kind kind;
    size_t order;
    State state = State::kWorking;
    uint64_t due_ns = 0;  // while it is ready or sleeps
    os_sem_data *waits_for = nullptr;
    std::condition_variable changed;
  };
  struct Semaphore {
    long count = 0;
    std::condition_variable changed;  // for threads that do not take part
  };
  using Lock = std::unique_lock<std::mutex>;
  friend struct ThreadEnd;

  Thread *Enter(Kind kind, const Lock &);
  void Leave(Thread *thread);
  void PassTurn(const Lock &);
  void AwaitTurn(Thread &thread, Lock &lock);
  bool EarlierThan(const Thread &a, const Thread &b) const;
  bool AwaitThreads(Kind kind, size_t count);
  void WaitAtGates(Lock &lock);
  bool GatesOpen();
  uint64_t NowLocked() const;

  std::atomic<Mode> mode_{Mode::kOff};
  std::atomic<int64_t> offset_ns_{0};  // from the machine's clock, while running
  std::atomic<uint64_t> held_ns_{0};   // the time, while held

  mutable std::mutex mutex_;         // guards what follows
  std::condition_variable changed_;  // threads came or stopped working; gates may have opened
  std::vector<std::unique_ptr<Thread>> threads_;
  std::map<os_sem_data *, std::unique_ptr<Semaphore>> semaphores_;
  Thread *turn_ = nullptr;
  size_t threads_made_ = 0;
  std::vector<Gate *> gates_;

  std::atomic<uint64_t> file_delay_ns_{0};
  std::atomic<const obs_source *> followed_{nullptr};
  std::atomic<bool> keep_every_{false};
  std::atomic<bool> frame_waiting_{false};
  std::atomic<bool> filtering_{false};
};

}  // namespace vanta_run
