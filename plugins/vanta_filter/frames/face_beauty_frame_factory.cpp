#include "frames/face_beauty_frame_factory.h"

#include <utility>

#include "frames/conversion/frame_fields.h"
#include "frames/plane_copy.h"

namespace vanta {

namespace {

constexpr int kCarriers = 4;  // the limit of ordinary frames in flight

// Null only when the engine has no memory left.
std::shared_ptr<LX::FrameData> TakeFrom(LX::FramePool &pool, uint32_t width, uint32_t height) {
  auto data = pool.takeFrameDataNV12(static_cast<int>(width), static_cast<int>(height), 0, 0);
  if (data) SetFreshFields(*data);
  return data;
}

bool HasSize(const LX::FrameData &data, uint32_t width, uint32_t height) {
  return data.width >= 0 && data.height >= 0 && static_cast<uint32_t>(data.width) == width &&
         static_cast<uint32_t>(data.height) == height;
}

int64_t DumpKey(uint64_t timestamp) {
  return static_cast<int64_t>(timestamp);
}

}  // namespace

FaceBeautyFrameFactory::FaceBeautyFrameFactory() {
  blog(LOG_INFO, "[beauty] FaceBeautyFrameFactory cache_size=%d", kCarriers);
  frame_pool_ = std::make_shared<LX::FramePool>();
  dump_frame_pool_ = std::make_shared<LX::FramePool>();
  frame_pool_->setMaxCachedFrameSize(kCarriers);
  for (int i = 0; i < kCarriers; ++i) Recycle(std::make_unique<PooledFrame>());
}

PooledFramePtr FaceBeautyFrameFactory::TakeFreeFrame(uint32_t width, uint32_t height) {
  MutexLock lock(free_mutex_);
  if (free_list_.Empty()) return nullptr;
  auto data = TakeFrom(*frame_pool_, width, height);
  if (!data) return nullptr;
  data->dump_flag = 0;
  PooledFramePtr frame = free_list_.PopFront();
  frame->data = std::move(data);
  return frame;
}

PooledFramePtr FaceBeautyFrameFactory::TakeDumpFrame(uint32_t id, uint32_t width, uint32_t height, uint64_t timestamp) {
  auto frame = std::make_unique<PooledFrame>();
  frame->data = TakeFrom(*dump_frame_pool_, width, height);
  if (!frame->data) return nullptr;
  frame->data->timestamp = timestamp;
  frame->data->dump_flag = 1;
  MutexLock lock(dump_mutex_);
  dump_ids_[DumpKey(timestamp)] = id;
  return frame;
}

void FaceBeautyFrameFactory::PutInput(PooledFramePtr frame, const obs_source_frame *obs_frame) {
  if (!frame || !obs_frame) return Recycle(std::move(frame));
  const bool prepared = PrepareFrameData(*frame, *obs_frame);
  const ScalerParameters wanted = ScalerParametersOf(*obs_frame);
  if (!input_scaler_.Check(wanted) && !input_scaler_.Rebuild(wanted)) {
    blog(LOG_WARNING, "[beauty] create ffmpeg scaler failed");
    return Recycle(std::move(frame));
  }
  if (!prepared || !ConvertToNv12(*obs_frame, *frame->data)) {
    blog(LOG_WARNING, "[beauty] ffmpeg format nv12 failed");
    return Recycle(std::move(frame));
  }
  frame->data->color_code = ColorCode(wanted.colorspace, wanted.range);
  frame->data->layout_code = LX::LayoutCode::kNv12;
  frame->data->word = kPreparedWord;
  MutexLock lock(input_mutex_);
  input_queue_.PushBack(std::move(frame));
}

// Replaces frame data that does not fit the host's frame. False when there is none to be had.
bool FaceBeautyFrameFactory::PrepareFrameData(PooledFrame &frame, const obs_source_frame &obs_frame) {
  if (frame.data && HasSize(*frame.data, obs_frame.width, obs_frame.height) &&
      frame.data->pixel_format == LX::PixelFormat::kFresh) {
    return true;
  }
  auto fresh = TakeFrom(*frame_pool_, obs_frame.width, obs_frame.height);
  if (!fresh) return false;
  fresh->stamp = frame.created_ms;
  // A mark for dump moves over: without it the carrier would join the free list, and its dump id would stay for good.
  fresh->timestamp = frame.data ? frame.data->timestamp : obs_frame.timestamp;
  fresh->dump_flag = frame.data ? frame.data->dump_flag : 0;
  frame.data = std::move(fresh);
  return true;
}

bool FaceBeautyFrameFactory::ConvertToNv12(const obs_source_frame &obs_frame, LX::FrameData &data) {
  if (!HasSize(data, obs_frame.width, obs_frame.height)) return false;
  const Nv12Planes target = Nv12PlanesOf(data);
  if (obs_frame.format == VIDEO_FORMAT_NV12) return CopyNv12(target, Nv12PlanesOf(obs_frame));
  return input_scaler_.ToNv12(obs_frame, target);
}

bool FaceBeautyFrameFactory::HasInput() const {
  MutexLock lock(input_mutex_);
  return !input_queue_.Empty();
}

PooledFramePtr FaceBeautyFrameFactory::TakeNextInput() {
  MutexLock lock(input_mutex_);
  return input_queue_.PopFront();
}

PooledFrameQueue FaceBeautyFrameFactory::TakeAllInput() {
  PooledFrameQueue taken;
  MutexLock lock(input_mutex_);
  taken.Swap(input_queue_);
  return taken;
}

void FaceBeautyFrameFactory::PushOutput(PooledFramePtr frame) {
  MutexLock lock(output_mutex_);
  output_queue_.PushBack(std::move(frame));
}

uint32_t FaceBeautyFrameFactory::OutputCount() const {
  MutexLock lock(output_mutex_);
  return static_cast<uint32_t>(output_queue_.Size());
}

PooledFramePtr FaceBeautyFrameFactory::TakeOutput(uint32_t width, uint32_t height) {
  MutexLock lock(output_mutex_);
  PooledFramePtr frame = output_queue_.PopFront();
  if (!frame) return nullptr;
  if (frame->data && HasSize(*frame->data, width, height)) return frame;
  blog(LOG_WARNING, frame->data ? "[beauty] intput frame size != need size!" : "[beauty] render frame is nullptr");
  Recycle(std::move(frame));
  return nullptr;
}

void FaceBeautyFrameFactory::Recycle(PooledFramePtr frame) {
  if (!frame) return;
  if (frame->data && frame->data->dump_flag) {
    MutexLock lock(dump_mutex_);
    dump_ids_.erase(DumpKey(frame->data->timestamp));
    return;
  }
  MutexLock lock(free_mutex_);
  frame->data.reset();
  free_list_.PushBack(std::move(frame));
}

bool FaceBeautyFrameFactory::CopyToObsFrame(const PooledFrame &frame, obs_source_frame *obs_frame) {
  if (!frame.data || !obs_frame || !HasSize(*frame.data, obs_frame->width, obs_frame->height)) return false;
  const ScalerParameters wanted = ScalerParametersOf(*obs_frame);
  if (!output_scaler_.Check(wanted) && !output_scaler_.Rebuild(wanted)) return false;
  const Nv12Planes result = Nv12PlanesOf(*frame.data);
  if (obs_frame->format == VIDEO_FORMAT_NV12) return CopyNv12(Nv12PlanesOf(*obs_frame), result);
  return output_scaler_.FromNv12(result, *obs_frame);
}

uint32_t FaceBeautyFrameFactory::GetDumpId(uint64_t timestamp) const {
  MutexLock lock(dump_mutex_);
  const auto found = dump_ids_.find(DumpKey(timestamp));
  return found == dump_ids_.end() ? 0 : found->second;
}

}  // namespace vanta
