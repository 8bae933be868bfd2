#include "runner/search_thread.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "following/patch_follower.h"
#include "platform/search_thread_priority.h"

namespace tessera {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Between the beginnings of two turns.
constexpr Milliseconds kLeastBetween{66};
// A turn's processor time is at most that part of the time from one turn to the next.
constexpr double kMostShare = 0.2;
// Below that a new face was lost on its way to the newest picture.
constexpr float kCarriedCorrelation = 0.6F;
constexpr int kMostCarryRounds = 4;

double MillisecondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration_cast<Milliseconds>(to - from).count();
}

}  // namespace

// Guarded by its mutex, which each side holds for a few instructions only.
struct SearchThread::Shared {
  std::mutex mutex;
  std::condition_variable changed;
  bool end = false;
  bool busy = false;  // from the task's coming to its answer
  std::optional<SearchTask> task;
  SearchAnswer answer;
  uint64_t answered_generation = 0;
  Clock::time_point next_turn{};
  std::deque<std::shared_ptr<const SmallPicture>> ring;  // oldest first
  double processor_ms = 0;
  Clock::time_point begun = Clock::now();
  std::exception_ptr failure;
};

SearchThread::SearchThread(Turn turn, Again again)
    : turn_(std::move(turn)), again_(std::move(again)), shared_(std::make_unique<Shared>()) {
  thread_ = std::thread([this] { ThreadMain(); });
}

SearchThread::~SearchThread() {
  {
    const std::lock_guard<std::mutex> lock(shared_->mutex);
    shared_->end = true;
  }
  shared_->changed.notify_all();
  thread_.join();
}

SearchAnswer SearchThread::Exchange(const std::shared_ptr<const SmallPicture> &picture) {
  SearchAnswer answer;
  std::deque<std::shared_ptr<const SmallPicture>> let_go;  // behind the lock
  const std::unique_lock<std::mutex> lock(shared_->mutex, std::try_to_lock);
  if (!lock) return answer;
  if (!shared_->busy && shared_->answered_generation == picture->generation) answer = std::move(shared_->answer);
  if (!shared_->busy) {
    shared_->answer = {};
    // The next search begins with this picture: no face is followed through older ones, whose planes, still in the
    // cache, are used again.
    let_go.swap(shared_->ring);
  }
  shared_->ring.push_back(picture);
  if (shared_->ring.size() > kRing) {
    let_go.push_back(std::move(shared_->ring.front()));
    shared_->ring.pop_front();
  }
  time_ = {shared_->processor_ms, MillisecondsBetween(shared_->begun, Clock::now())};
  if (shared_->failure) failure_ = std::exchange(shared_->failure, nullptr);
  return answer;
}

bool SearchThread::Ask(const SearchTask &task) {
  {
    const std::unique_lock<std::mutex> lock(shared_->mutex, std::try_to_lock);
    if (!lock || shared_->busy || Clock::now() < shared_->next_turn) return false;
    shared_->task = task;
    shared_->busy = true;
  }
  shared_->changed.notify_one();
  return true;
}

void SearchThread::Rethrow() {
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

void SearchThread::ThreadMain() {
  LowerPriorityOfThisThread();
  std::unique_lock<std::mutex> lock(shared_->mutex);
  while (true) {
    shared_->changed.wait(lock, [this] { return shared_->task || shared_->end; });
    if (shared_->end) return;
    SearchTask task = *std::exchange(shared_->task, std::nullopt);
    lock.unlock();

    const Clock::time_point start = Clock::now();
    const double start_ms = ProcessorMillisecondsOfThisThread();
    SearchAnswer answer;
    std::exception_ptr failure;
    try {
      answer = turn_(task);
      std::vector<NewFace> carried;
      for (NewFace &face : answer.fresh) {
        bool lost = false;
        CarryOn(face, *task.picture, lost);
        if (!lost) carried.push_back(std::move(face));
      }
      answer.fresh = std::move(carried);
    } catch (...) {
      answer = {};
      failure = std::current_exception();
    }
    const uint64_t generation = task.picture->generation;
    task = {};
    const double taken = ProcessorMillisecondsOfThisThread() - start_ms;

    lock.lock();
    shared_->answer = std::move(answer);
    shared_->answered_generation = generation;
    if (failure) shared_->failure = failure;
    shared_->processor_ms += taken;
    const Milliseconds rest = std::max(kLeastBetween, Milliseconds(taken / kMostShare));
    shared_->next_turn = start + std::chrono::duration_cast<Clock::duration>(rest);
    shared_->busy = false;
  }
}

// A new face is followed through the pictures that came since the one it was found in. Where they come faster than
// they can be gone through it stays behind: from there it is a short way for who follows it then.
void SearchThread::CarryOn(NewFace &face, const SmallPicture &from, bool &lost) {
  uint64_t at = from.number;
  bool seen_anew = false;
  for (int round = 0; round < kMostCarryRounds; ++round) {
    std::vector<std::shared_ptr<const SmallPicture>> later;
    {
      const std::lock_guard<std::mutex> lock(shared_->mutex);
      if (shared_->end) return;
      for (const auto &picture : shared_->ring) {
        if (picture->number > at && picture->generation == from.generation) later.push_back(picture);
      }
    }
    if (later.empty()) return;
    if (!seen_anew && later.front()->number > at + kRing / 4) {
      std::optional<NewFace> anew = again_(*later.back(), face.placement);
      lost = !anew;
      if (lost) return;
      face = std::move(*anew);
      seen_anew = true;
    } else {
      for (const auto &picture : later) {
        const Followed found = Follow(picture->view.y, *face.face, face.placement);
        lost = found.correlation < kCarriedCorrelation;
        if (lost) return;
        face.placement = found.placement;
      }
    }
    at = later.back()->number;
  }
}

}  // namespace tessera
