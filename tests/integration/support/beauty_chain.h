// The beauty filter on a source, between two taps.
#pragma once

#include <obs.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

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

  // From now on the engine works on a frame only when the next one is about to enter the filter, and that one waits
  // until it is done: each call gives out the frame of the call before, whatever the machine's speed. Call it before
  // frames flow. For the scripted engine, one chain, and commands that go through the queue.
  void GoInStep();
  // Lets the engine work on the frame that the filter keeps back, and waits for it. No frame may be on its way.
  void FinishStep();
  // The engine is its own master again.
  void LeaveStep();
  // How many frames passed untouched because the worker was not yet running: the index of the first one that the filter
  // kept back. For a chain in step that has kept one back.
  size_t FirstKept() const { return static_cast<size_t>(first_kept_.load()); }

 private:
  void FinishFrames(size_t entered);

  std::atomic<bool> in_step_{false};
  uint64_t done_before_ = 0;            // frames that the engine had done when the chain went in step
  std::atomic<size_t> let_through_{0};  // frames since then
  std::atomic<long> first_kept_{-1};    // -1: none yet
  std::function<void()> open_gate_;     // set while the chain is in step
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
