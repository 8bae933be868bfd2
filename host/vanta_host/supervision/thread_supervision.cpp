#include "supervision/thread_supervision.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include <util/base.h>

namespace vanta_host {

using vanta::MutexLock;

const char *WorkerName(WorkerKind kind) {
  switch (kind) {
    case WorkerKind::kBeauty:
      return "FaceBeautyFilterWorker";
    case WorkerKind::kLandmark:
      return "TesseraLandmarkFilterWorker";
    case WorkerKind::kLandmarkGpu:
      return "TesseraLandmarkFilterGpuWorker";
  }
  return "";
}

ThreadSupervision::Entry *ThreadSupervision::Find(WorkerKind kind, uint64_t id) {
  for (Entry &entry : entries_)
    if (entry.kind == kind && entry.id == id) return &entry;
  return nullptr;
}

void ThreadSupervision::Add(WorkerKind kind, uint64_t id) {
  MutexLock lock(mutex_);
  if (!Find(kind, id)) entries_.push_back({kind, id});
}

void ThreadSupervision::Remove(WorkerKind kind, uint64_t id) {
  MutexLock lock(mutex_);
  std::erase_if(entries_, [&](const Entry &entry) { return entry.kind == kind && entry.id == id; });
}

void ThreadSupervision::SetBusy(WorkerKind kind, uint64_t id, bool busy) {
  MutexLock lock(mutex_);
  if (Entry *entry = Find(kind, id)) entry->busy = busy;
}

void ThreadSupervision::SetTimestamp(WorkerKind kind, uint64_t id, uint64_t timestamp_ns) {
  MutexLock lock(mutex_);
  if (Entry *entry = Find(kind, id)) entry->timestamp_ns = timestamp_ns;
}

size_t ThreadSupervision::Copy(vanta_host_worker *out, size_t capacity) const {
  MutexLock lock(mutex_);
  const size_t count = out ? std::min(capacity, entries_.size()) : 0;
  for (size_t i = 0; i < count; ++i) {
    const Entry &entry = entries_[i];
    out[i].id = entry.id;
    std::snprintf(out[i].name, sizeof(out[i].name), "%s", WorkerName(entry.kind));
    out[i].busy = entry.busy;
    out[i].timestamp_ns = entry.timestamp_ns;
  }
  return entries_.size();
}

bool ThreadSupervision::Empty() const {
  MutexLock lock(mutex_);
  return entries_.empty();
}

void ThreadSupervision::CheckWorkers(uint64_t now_ns, uint64_t limit_ns) {
  std::vector<Entry> late;
  {
    MutexLock lock(mutex_);
    for (Entry &entry : entries_) {
      if (!entry.busy || entry.timestamp_ns == 0 || entry.timestamp_ns == entry.logged_ns) continue;
      // A stamp may be newer than a clock that was read before it.
      if (now_ns <= entry.timestamp_ns || now_ns - entry.timestamp_ns <= limit_ns) continue;
      entry.logged_ns = entry.timestamp_ns;
      late.push_back(entry);
    }
  }
  for (const Entry &entry : late)
    blog(LOG_WARNING, "[vanta_host] %s (thread %" PRIu64 ") has been busy on one frame for %.1f s",
         WorkerName(entry.kind), entry.id, static_cast<double>(now_ns - entry.timestamp_ns) / 1e9);
}

}  // namespace vanta_host
