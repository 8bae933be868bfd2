#include "registration/frame_gate.h"

#include <algorithm>

#include "vanta_filter/module/host_frame.h"

namespace vanta_host {
namespace {

constexpr int kMostUnderWay = 4;      // frames that a worker has at a time
constexpr int kFramesForAChange = 2;  // the first one may find no free place
constexpr long kNeverReleased = 0x7fffffff;

}  // namespace

obs_source_frame *FrameGate::Filter(bool idle, uint64_t changes, FilterVideo filter_video, void *data,
                                    obs_source_frame *frame) {
  if (!frame) return filter_video(data, frame);
  if (idle) {
    passes_by_ = comes_back_ = true;
    if (changes != changes_) owed_ = kFramesForAChange;
    changes_ = changes;
    if (owed_ > 0) {
      --owed_;
      Discard(filter_video, data, *frame);
    }
    stale_ = under_way_;
    return frame;
  }
  changes_ = changes;
  owed_ = 0;
  if (comes_back_) {
    if (Discard(filter_video, data, *frame) && stale_ > 0) --stale_;
    comes_back_ = stale_ > 0;
    return frame;
  }
  obs_source_frame *given = Give(filter_video, data, frame);
  if (given) passes_by_ = false;
  return given;
}

obs_source_frame *FrameGate::Give(FilterVideo filter_video, void *data, obs_source_frame *frame) {
  obs_source_frame *given = filter_video(data, frame);
  if (given != frame) under_way_ = std::min(under_way_ + 1, kMostUnderWay);
  return given;
}

// The module gives a frame back to libobs when it has no result: the copy belongs to nobody there, and stays ours.
bool FrameGate::Discard(FilterVideo filter_video, void *data, const obs_source_frame &frame) {
  obs_source_frame *copy = obs_source_frame_create(frame.format, frame.width, frame.height);
  if (!copy) return false;
  obs_source_frame_copy(copy, &frame);
  vanta::SetDumpId(copy, 0);
  copy->refs = kNeverReleased;
  const bool delivered = Give(filter_video, data, copy) == copy;
  copy->refs = 0;
  obs_source_frame_destroy(copy);
  return delivered;
}

}  // namespace vanta_host
