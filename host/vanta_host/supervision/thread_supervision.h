// The table of the module's worker threads and the rule that finds a stuck one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vanta_base/mutex.h"
#include "vanta_host.h"

namespace vanta_host {

enum class WorkerKind { kBeauty, kLandmark, kLandmarkGpu };

// What each worker last said about itself. The time comes in as an argument, so whoever asks owns the clock.
// Threads: any. SetBusy and SetTimestamp allocate nothing; what they say of a worker that was not added is ignored.
class ThreadSupervision {
 public:
  void Add(WorkerKind kind, uint64_t id);  // adding twice keeps the first entry
  void Remove(WorkerKind kind, uint64_t id);
  void SetBusy(WorkerKind kind, uint64_t id, bool busy);
  void SetTimestamp(WorkerKind kind, uint64_t id, uint64_t timestamp_ns);  // 0: idle

  // At most `capacity` entries go to `out`, in the order of their adding; returns how many there are.
  size_t Copy(vanta_host_worker *out, size_t capacity) const;
  bool Empty() const;

  // Logs each worker whose last sign of life lies more than `limit_ns` before `now_ns` while it is busy, once for each
  // timestamp: a worker stamps every frame, so one stamp is one frame. The lines are written with no lock held.
  void CheckWorkers(uint64_t now_ns, uint64_t limit_ns);

 private:
  struct Entry {
    WorkerKind kind;
    uint64_t id;
    bool busy = false;
    uint64_t timestamp_ns = 0;
    uint64_t logged_ns = 0;  // the timestamp that was logged last; 0: none
  };

  Entry *Find(WorkerKind kind, uint64_t id) VANTA_REQUIRES(mutex_);

  mutable vanta::Mutex mutex_;
  std::vector<Entry> entries_ VANTA_GUARDED_BY(mutex_);
};

const char *WorkerName(WorkerKind kind);  // the name of the thread

}  // namespace vanta_host
