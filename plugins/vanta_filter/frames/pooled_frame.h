// The carrier of one engine frame between the host's threads and the worker, and the queue that holds carriers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Owned by exactly one place at any time: a queue or a PooledFramePtr that moves along. Times are milliseconds of the
// system tick clock, 0 when never set.
struct PooledFrame {
  std::shared_ptr<LX::FrameData> data;  // null while the carrier lies in the free list
  uint64_t created_ms = 0;              // at enqueue
  uint64_t mark_a_ms = 0;               // optional later marks
  uint64_t mark_b_ms = 0;
  bool flip = false;  // the host frame's, copied at enqueue

  PooledFrame *next = nullptr;  // the holding queue's link
};

using PooledFramePtr = std::unique_ptr<PooledFrame>;

// First in, first out. The link lies in the carrier, so that moving one between queues takes nothing from the heap.
// Owns: the carriers in it; what is left dies with it. Threads: confined by the owner.
class PooledFrameQueue {
 public:
  PooledFrameQueue() = default;
  PooledFrameQueue(PooledFrameQueue &&other) noexcept { Swap(other); }
  PooledFrameQueue &operator=(PooledFrameQueue &&other) noexcept {
    PooledFrameQueue taken(std::move(other));
    Swap(taken);
    return *this;
  }
  ~PooledFrameQueue() {
    while (PopFront()) {
    }
  }

  void PushBack(PooledFramePtr frame) noexcept {
    if (!frame) return;
    frame->next = nullptr;
    PooledFrame *added = frame.release();
    (tail_ ? tail_->next : head_) = added;
    tail_ = added;
    ++size_;
  }
  PooledFramePtr PopFront() noexcept {  // null when empty
    PooledFramePtr first(head_);
    if (!first) return first;
    head_ = first->next;
    if (!head_) tail_ = nullptr;
    first->next = nullptr;
    --size_;
    return first;
  }
  bool Empty() const { return !head_; }
  size_t Size() const { return size_; }
  void Swap(PooledFrameQueue &other) noexcept {
    std::swap(head_, other.head_);
    std::swap(tail_, other.tail_);
    std::swap(size_, other.size_);
  }

 private:
  PooledFrame *head_ = nullptr;
  PooledFrame *tail_ = nullptr;
  size_t size_ = 0;
};

// Ages in milliseconds; `now` on the system tick clock.
inline uint64_t FrameAgeMs(const PooledFrame &frame, uint64_t now) {
  return now - frame.created_ms;
}
inline uint64_t FrameDataAgeMs(const PooledFrame &frame, uint64_t now) {
  return frame.data ? now - frame.data->stamp : 0;
}
// Each sets its mark to `now` and gives the time from enqueue to it.
inline uint64_t MarkAAgeMs(PooledFrame &frame, uint64_t now) {
  frame.mark_a_ms = now;
  return frame.mark_a_ms - frame.created_ms;
}
inline uint64_t MarkBAgeMs(PooledFrame &frame, uint64_t now) {
  frame.mark_b_ms = now;
  return frame.mark_b_ms - frame.created_ms;
}

}  // namespace vanta
