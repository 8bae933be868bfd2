// The beauty filter on a source, between two taps.
#pragma once

#include <obs.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "integration/support/fed_source.h"
#include "integration/support/frame_tap.h"

namespace vanta_integration {

// Owns: the filter and the taps. Borrows: the source.
// Threads: the test's; the taps' counts any.
class BeautyChain {
 public:
  explicit BeautyChain(obs_source_t *source, obs_data_t *settings = nullptr);
  ~BeautyChain();  // takes filter and taps off the source
  BeautyChain(const BeautyChain &) = delete;
  BeautyChain &operator=(const BeautyChain &) = delete;

  FrameTap before;
  FrameTap behind;
  obs_source_t *Filter() const { return filter_; }
  // Off the source and released; libobs destroys it on a thread of its own.
  void RemoveFilter();

  // From now on no frame enters the filter before the engine has done all that came earlier and its worker is idle
  // again: the frame that a call gives out is the one of the call before, whatever the machine's speed. Call it before
  // frames flow. For the scripted engine, one chain, and commands that go through the queue.
  void GoInStep();
  // How many frames passed untouched because the worker was not yet running: the index of the first one that the filter
  // kept back. For a chain in step that has kept one back.
  size_t FirstKept() const { return first_kept_; }

 private:
  void WaitForTurn(uint64_t done_before, size_t entered);

  std::atomic<size_t> first_kept_{0};
  bool kept_one_ = false;  // [video]
  OBSSource source_;
  OBSSourceAutoRelease filter_;
};

// Takes a filter off its source. libobs itself is not safe against a removal while it renders: it happens inside
// graphics.
void RemoveFilterSafely(obs_source_t *source, obs_source_t *filter);

// Waits until the scripted engine has done `frames` frames and no worker is busy.
bool WaitForEngine(uint64_t frames);

// Feeds the frame and waits until the chain has passed it on or kept it back.
void FeedThrough(FedSource &source, BeautyChain &chain, const HostFrame &frame);
// Feeds pictures until the filter keeps one back, as it does when its worker has begun to run; the chain then stands
// with one frame under way.
void FeedUntilKept(FedSource &source, BeautyChain &chain, video_format format = VIDEO_FORMAT_NV12, uint32_t width = 64,
                   uint32_t height = 48);

}  // namespace vanta_integration
