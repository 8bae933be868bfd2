// A filter that lets frames through and keeps a copy of each: one before and one behind the filter under test.
#pragma once

#include <obs.hpp>

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "integration/support/host_frame.h"

namespace vanta_integration {

void RegisterFrameTap();  // once after each start-up

// Owns: its filter and the copies. Must outlive its place on the source.
// Threads: Frames, Count, Clear any; `on_frame` comes on [video].
class FrameTap {
 public:
  FrameTap();
  ~FrameTap();
  FrameTap(const FrameTap &) = delete;
  FrameTap &operator=(const FrameTap &) = delete;

  obs_source_t *Get() const { return filter_; }
  // Called for each frame with how many came before it. Set before frames flow.
  void OnFrame(std::function<void(size_t before)> on_frame) { on_frame_ = std::move(on_frame); }
  void KeepCopies(bool keep) { keep_ = keep; }  // true at first; false: only counts

  size_t Count() const { return count_; }
  std::vector<HostFrame> TakeFrames();  // and forgets them; Count stays
  HostFrame Last() const;               // a copy of the newest; there must be one

  obs_source_frame *Pass(obs_source_frame *frame);

 private:
  std::function<void(size_t)> on_frame_;
  std::atomic<bool> keep_{true};
  std::atomic<size_t> count_{0};
  mutable std::mutex mutex_;
  std::vector<HostFrame> frames_;
  OBSSourceAutoRelease filter_;  // last: it borrows the rest
};

}  // namespace vanta_integration
