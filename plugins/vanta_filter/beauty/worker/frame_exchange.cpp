#include "beauty/worker/frame_exchange.h"

#include <util/base.h>

#include <utility>

#include "beauty/worker/worker_state.h"
#include "frames/face_beauty_frame_factory.h"
#include "platform/clock.h"
#include "stats/delay_stats.h"
#include "stats/stattistics.h"
#include "vanta_filter/module/host_frame.h"

namespace vanta {

bool FrameExchange::EnqueueFrame(obs_source_frame *frame) {
  if (tick_) ++tick_->in_count;
  stats_.OnFrameArrived();
  const uint32_t dump_id = vanta::GetDumpId(frame);
  PooledFramePtr pooled;
  if (dump_id != 0) {
    blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:%ld timestamp:%lld",
         static_cast<long>(dump_id), static_cast<long long>(frame->timestamp));
    pooled = frames_.TakeDumpFrame(dump_id, frame->width, frame->height, frame->timestamp);
  } else {
    pooled = frames_.TakeFreeFrame(frame->width, frame->height);
  }
  if (!pooled) {
    stats_.OnEnqueueFailed();
    state_.Wake();
    return false;
  }
  if (pooled->data && (static_cast<uint32_t>(pooled->data->width) != frame->width ||
                       static_cast<uint32_t>(pooled->data->height) != frame->height))
    blog(LOG_WARNING, "[beauty] intput frame size != need size!");
  pooled->created_ms = static_cast<uint64_t>(SystemTickMs());
  if (pooled->data) {
    pooled->data->timestamp = frame->timestamp;
    pooled->data->stamp = pooled->created_ms;
    pooled->data->color_code = LX::ColorCode::k709Full;
  }
  pooled->flip = frame->flip;
  frames_.PutInput(std::move(pooled), frame);
  state_.Wake();
  return true;
}

bool FrameExchange::DequeueFrame(obs_source_frame *frame, int32_t *type, std::shared_ptr<LX::FrameData> *bgra_frame) {
  PooledFramePtr pooled = frames_.TakeOutput(frame->width, frame->height);
  if (!pooled) {
    stats_.OnEmptyDequeue();
    return false;
  }
  stats_.OnFrameTaken();
  const std::shared_ptr<LX::FrameData> &data = pooled->data;
  const int32_t pixel_format = data ? data->pixel_format : LX::PixelFormat::kMemory;
  bool delivered;
  int32_t delivered_type = LX::PixelFormat::kMemory;
  if (pixel_format >= LX::PixelFormat::kPixelBuffer && pixel_format <= LX::PixelFormat::kSharedTexture) {
    *bgra_frame = data;
    delivered_type = pixel_format;
    delivered = true;
  } else {
    delivered = frames_.CopyToObsFrame(*pooled, frame);
  }
  uint64_t frame_age = 0;
  uint64_t data_age = 0;
  if (delivered) {
    *type = delivered_type;
    const auto now = static_cast<uint64_t>(SystemTickMs());
    frame_age = FrameAgeMs(*pooled, now);
    data_age = FrameDataAgeMs(*pooled, now);
  }
  if (tick_) ++tick_->out_count;
  stats_.OnFrameOut(static_cast<uint32_t>(frame_age));
  stats_.OnFrameDataOut(static_cast<uint32_t>(data_age));
  if (data && data->dump_flag != 0) KeepDump(*data, frame);
  frames_.Recycle(std::move(pooled));
  return delivered;
}

void FrameExchange::KeepDump(const LX::FrameData &data, obs_source_frame *frame) {
  blog(LOG_INFO, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:%lld ",
       static_cast<long long>(data.timestamp));
  const uint32_t id = frames_.GetDumpId(data.timestamp);
  SetDumpId(frame, id);
  if (id == 0) return;
  dump_id_ = static_cast<int32_t>(id);
  dump_json_ = data.dump_text;
}

std::string &FrameExchange::GetDumpJson(std::string &out, uint32_t id) const {
  if (static_cast<int32_t>(id) == dump_id_) {
    blog(LOG_WARNING, "[beauty][DumpImage] beauty_fiter, get dump json for %d", static_cast<int>(id));
    out = dump_json_;
  } else {
    blog(LOG_WARNING, "[beauty][DumpImage] beauty_fiter, can not get dump json for %d(%d)", static_cast<int>(id),
         dump_id_);
    out.clear();
  }
  return out;
}

}  // namespace vanta
