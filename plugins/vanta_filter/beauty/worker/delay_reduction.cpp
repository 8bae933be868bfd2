#include "beauty/worker/delay_reduction.h"

#include <util/base.h>

#include "frames/face_beauty_frame_factory.h"
#include "platform/clock.h"
#include "stats/delay_stats.h"

namespace vanta {
namespace {

constexpr int64_t kDelayTestPeriodMs = 60000;
constexpr uint32_t kDelayedFrames = 2;
constexpr int32_t kMaxDropsPerReduction = 4;

}  // namespace

void DelayReduction::TestDelay() {
  const int64_t now_ms = SystemTickMs();
  if (reduce_delay_) {
    DoReduceBeautyDelay();
    return;
  }
  if (last_delay_check_ms_ == 0) {
    last_delay_check_ms_ = now_ms;
    return;
  }
  if (now_ms - last_delay_check_ms_ <= kDelayTestPeriodMs) return;
  last_delay_check_ms_ = now_ms;
  if (frames_.OutputCount() < kDelayedFrames) return;
  reduce_delay_ = true;
  blog(LOG_INFO, "[beauty] ReduceBeautyDelay, reduce beauty delay start");
}

void DelayReduction::DoReduceBeautyDelay() {
  // No frame has size 0 by 0: the factory drops the oldest one as a misfit.
  frames_.TakeOutput(0, 0);
  stats_.OnDelayDrop();
  const uint32_t left = frames_.OutputCount();
  ++reduce_drop_count_;
  blog(LOG_INFO, "[beauty] DoReduceBeautyDelay, reduce beauty delay by drop one frame. left[%d] drop[%d]",
       static_cast<int>(left), reduce_drop_count_);
  if (left < kDelayedFrames || reduce_drop_count_ >= kMaxDropsPerReduction) DoneReduceBeautyDelay();
}

void DelayReduction::DoneReduceBeautyDelay() {
  reduce_delay_ = false;
  reduce_drop_count_ = 0;
  blog(LOG_INFO, "[beauty] DoneReduceBeautyDelay, reduce beauty delay done");
}

}  // namespace vanta
