#include "runner/background_finder.h"

#include <sched.h>
#include <unistd.h>

#include <condition_variable>
#include <exception>
#include <list>
#include <mutex>
#include <thread>
#include <utility>

namespace tessera {
namespace {

// A niceness of 19 does not do: where processors draw, its thread keeps those that draw waiting up to a tick at each of
// their wakings.
void TakeIdleTimeOnly() {
  const sched_param no_priority{};
  sched_setscheduler(0, SCHED_IDLE, &no_priority);
}

// The way back is for who has CAP_SYS_NICE or a limit of niceness.
void TakeUsualTimeIfAllowed(pid_t thread) {
  const sched_param no_priority{};
  sched_setscheduler(thread, SCHED_OTHER, &no_priority);
}

PictureView Copied(const PictureView &picture) {
  return {picture.y.clone(), picture.u.clone(), picture.v.clone()};
}

}  // namespace

// What caller and thread share, and the thread keeps as long as it lives.
struct BackgroundFinder::Search {
  explicit Search(FindFaces its_find) : find(std::move(its_find)) {}

  const FindFaces find;  // the thread's

  std::mutex mutex;  // guards the flags; the rest is the thread's while `busy`, else the caller's
  std::condition_variable changed;
  bool busy = false;
  bool end = false;
  bool ended = false;
  pid_t thread = 0;
  PictureView picture;
  FaceMemory memory;
  std::vector<FoundFace> faces;
  std::exception_ptr failure;

  void ThreadMain() {
    std::unique_lock<std::mutex> lock(mutex);
    thread = gettid();
    TakeIdleTimeOnly();
    while (true) {
      changed.wait(lock, [this] { return busy || end; });
      if (end) break;
      lock.unlock();
      FindNow();
      lock.lock();
      busy = false;
      changed.notify_all();
    }
    ended = true;
    changed.notify_all();
  }

  void FindNow() {
    failure = nullptr;
    try {
      faces = find(picture, memory);
    } catch (...) {
      failure = std::current_exception();
    }
  }

  void End() {
    std::lock_guard<std::mutex> lock(mutex);
    end = true;
    if (thread != 0 && !ended) TakeUsualTimeIfAllowed(thread);
    changed.notify_all();
  }

  bool AwaitEnd(std::chrono::steady_clock::time_point latest) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_until(lock, latest, [this] { return ended; });
  }
};

namespace {

// How long the process's end waits for searches. On a busy machine one may take minutes more, and is left to its fate.
constexpr std::chrono::seconds kLastWait{1};

// The threads of all finders. Who is done with one does not wait for it: it is joined when it has ended. This library
// stays loaded as long as the process lives (CMakeLists.txt), so that a thread never loses its code.
class IdleThreads {
 public:
  ~IdleThreads() {
    const auto latest = std::chrono::steady_clock::now() + kLastWait;
    for (Entry &entry : entries_) entry.search->End();
    for (Entry &entry : entries_) {
      if (entry.search->AwaitEnd(latest)) {
        entry.thread.join();
      } else {
        entry.thread.detach();
      }
    }
  }

  void Start(const std::shared_ptr<BackgroundFinder::Search> &search) {
    std::lock_guard<std::mutex> lock(mutex_);
    JoinEnded();
    entries_.push_back({search, std::thread([search] { search->ThreadMain(); })});
  }

 private:
  struct Entry {
    std::shared_ptr<BackgroundFinder::Search> search;
    std::thread thread;
  };

  void JoinEnded() {
    entries_.remove_if([](Entry &entry) {
      if (!entry.search->AwaitEnd(std::chrono::steady_clock::now())) return false;
      entry.thread.join();
      return true;
    });
  }

  std::mutex mutex_;
  std::list<Entry> entries_;
};

IdleThreads &AllThreads() {
  static IdleThreads threads;
  return threads;
}

}  // namespace

bool CallerIsBatchWork() {
  return sched_getscheduler(0) == SCHED_BATCH;
}

BackgroundFinder::BackgroundFinder(FindFaces find) : search_(std::make_shared<Search>(std::move(find))) {
  AllThreads().Start(search_);
}

BackgroundFinder::~BackgroundFinder() {
  search_->End();
}

bool BackgroundFinder::Find(const PictureView &picture, FaceMemory &memory, std::vector<FoundFace> &faces,
                            std::chrono::milliseconds patience) {
  const auto latest = std::chrono::steady_clock::now() + patience;
  const auto free = [this] { return !search_->busy; };
  std::unique_lock<std::mutex> lock(search_->mutex);
  // It may still be at a picture that took too long.
  if (!search_->changed.wait_until(lock, latest, free)) return false;
  search_->picture = Copied(picture);
  search_->memory = memory;
  search_->busy = true;
  search_->changed.notify_all();
  if (!search_->changed.wait_until(lock, latest, free)) return false;
  if (search_->failure) std::rethrow_exception(search_->failure);
  memory = std::move(search_->memory);
  faces = std::move(search_->faces);
  return true;
}

}  // namespace tessera
