// Where the host's frames and the engine's frames meet.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include <obs.h>

#include "frames/frame_scaler.h"
#include "frames/pooled_frame.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Converts host frames into the engine's NV12 frames and back, and carries them between the host's threads and the
// worker. At most four ordinary frames are in flight; frames marked for dump come on top.
// Owns: two engine frame pools, two scalers, the carriers at rest or queued. Borrows: the host's frame, for the call.
// Threads: TakeFreeFrame, TakeDumpFrame, PutInput, CopyToObsFrame, GetDumpId [video]; TakeOutput [video], [worker];
// HasInput, TakeNextInput, TakeAllInput, PushOutput [worker]; OutputCount, Recycle [any].
class FaceBeautyFrameFactory {
 public:
  FaceBeautyFrameFactory();
  FaceBeautyFrameFactory(const FaceBeautyFrameFactory &) = delete;
  FaceBeautyFrameFactory &operator=(const FaceBeautyFrameFactory &) = delete;

  // An ordinary frame with pixels; null when all are in flight.
  PooledFramePtr TakeFreeFrame(uint32_t width, uint32_t height);
  // Always a new carrier, marked for dump; `timestamp` stands for `id` until it is recycled.
  PooledFramePtr TakeDumpFrame(uint32_t id, uint32_t width, uint32_t height, uint64_t timestamp);

  // Converts `obs_frame` into `frame` and appends it to the input, or recycles it.
  void PutInput(PooledFramePtr frame, const obs_source_frame *obs_frame);
  bool HasInput() const;
  PooledFramePtr TakeNextInput();  // the oldest, null when there is none
  PooledFrameQueue TakeAllInput();

  void PushOutput(PooledFramePtr frame);
  uint32_t OutputCount() const;
  // The oldest output; one of another size is recycled instead, so that one call never looks past one frame.
  PooledFramePtr TakeOutput(uint32_t width, uint32_t height);

  // Ends a frame's trip.
  void Recycle(PooledFramePtr frame);

  // Writes the engine's result into the host's frame, in the format that this has.
  bool CopyToObsFrame(const PooledFrame &frame, obs_source_frame *obs_frame);

  uint32_t GetDumpId(uint64_t timestamp) const;  // 0 when there is none

 private:
  bool PrepareFrameData(PooledFrame &frame, const obs_source_frame &obs_frame);
  bool ConvertToNv12(const obs_source_frame &obs_frame, LX::FrameData &data);

  // Constant after construction.
  std::shared_ptr<LX::FramePool> frame_pool_;
  std::shared_ptr<LX::FramePool> dump_frame_pool_;

  // [video] only: the enqueuing and the dequeuing thread.
  FrameScaler input_scaler_{ScaleDirection::kToNv12};
  FrameScaler output_scaler_{ScaleDirection::kFromNv12};

  // Guarded, each by a mutex of its own. Only `output_mutex_` then one of the last two nest.
  mutable Mutex input_mutex_;
  PooledFrameQueue input_queue_ VANTA_GUARDED_BY(input_mutex_);
  mutable Mutex output_mutex_ VANTA_ACQUIRED_BEFORE(free_mutex_, dump_mutex_);
  PooledFrameQueue output_queue_ VANTA_GUARDED_BY(output_mutex_);
  Mutex free_mutex_;
  PooledFrameQueue free_list_ VANTA_GUARDED_BY(free_mutex_);
  mutable Mutex dump_mutex_;
  std::map<int64_t, uint32_t> dump_ids_ VANTA_GUARDED_BY(dump_mutex_);  // timestamp to dump id, frames in flight
};

}  // namespace vanta
