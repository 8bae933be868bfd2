// An animated picture or a short video from anywhere: each picture that is taken fits the limits and has its time, and
// what is refused has a reason.
#include <atomic>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

#include "files/moving_picture.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  av_log_set_level(AV_LOG_QUIET);
  const lumivex::MovingKind kind = lumivex::MovingKindOf({data, size});
  if (kind == lumivex::MovingKind::kNone) return 0;
  const lumivex::MovingLimits limits{256, 1 << 20, 64};
  const std::atomic<bool> cancelled{false};
  volatile uint8_t touched = 0;
  size_t count = 0;
  int64_t pixels = 0;
  const lumivex::MovingFile file =
      lumivex::ReadMoving(kind, {data, size}, limits, cancelled, [&](const cv::Mat &picture) {
        Require(picture.type() == CV_8UC4 && picture.cols <= limits.side && picture.rows <= limits.side, "too large");
        for (int y = 0; y < picture.rows; ++y) touched = picture.ptr(y)[picture.cols * 4 - 1];  // is there
        pixels += picture.size().area();
        ++count;
      });
  Require(pixels <= limits.pixels && count <= limits.pictures, "too many");
  if (!file.reason.empty()) return 0;
  Require(count > 0 && file.ends_ms.size() == count, "a picture without a time");
  int64_t last = 0;
  for (const int64_t end : file.ends_ms) {
    Require(end > last, "a time that goes back");
    last = end;
  }
  return 0;
}
