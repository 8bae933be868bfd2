// The beauty worker's measure of itself: delay, jank, drops and frame rates.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "platform/datagram_socket.h"
#include "stats/sample_stream.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/stats/interval_figures.h"
#include "vanta_filter/stats/statistics_sample.h"

namespace vanta {

// Counters and streams of the present interval. A sample takes them away, logs what looks wrong and sends the figures
// as a datagram to a local monitor, if one listens. Times are milliseconds.
// Owns: a socket. Threads: the counting operations [video] and [worker]; MakeSample [tick-1s]; Reset, SetSize [worker];
// OnFrameOut from one thread at a time. Nothing on the frame path waits for a sample in the making.
class DelayStats {
 public:
  DelayStats();
  DelayStats(const DelayStats &) = delete;
  DelayStats &operator=(const DelayStats &) = delete;

  // Also empties the streams when the tick has stalled for more than 150 processed frames.
  void OnFrameArrived() VANTA_EXCLUDES(sample_mutex_);
  void OnEnqueueFailed() { ++enqueue_fail_count_; }  // no free pooled frame
  void OnSpuriousWake() { ++spurious_wake_count_; }  // the worker woke with nothing to do
  void OnEmptyDequeue();
  void OnFrameTaken() { ++taken_count_; }  // a dequeue found a frame
  void OnFrameOut(uint32_t pool_age_ms);   // the jank rule
  void OnFrameDataOut(uint32_t data_age_ms) { whole_delay_ms_.Add(static_cast<float>(data_age_ms)); }
  void OnFrameProcessed(float filter_ms, float tessera_ms, float beauty_ms, uint32_t faces);
  void OnDelayDrop() { ++drop_count_; }  // a frame dropped to reduce delay

  // Empties the interval. A run of empty dequeues in progress goes on.
  void Reset();
  void SetSize(uint32_t width, uint32_t height);
  // The samples' name becomes `id`, "_" and a number that is unique in the process.
  void SetSourceId(const char *id) VANTA_EXCLUDES(sample_mutex_);

  // The interval that ends now; the next one begins empty.
  StatisticsSample MakeSample() VANTA_EXCLUDES(sample_mutex_);
  // One record over several samples. Its maxima and minima are those of the samples' means.
  static StatisticsSample Aggregate(const std::vector<StatisticsSample> &samples);

 private:
  void OpenSocket() VANTA_REQUIRES(sample_mutex_);
  void FillSample() VANTA_REQUIRES(sample_mutex_);
  // The interval's values go into `sample_`; those that leave the process are returned.
  IntervalFigures TakeInterval() VANTA_REQUIRES(sample_mutex_);
  void LogWhatLooksWrong(const IntervalFigures &figures) VANTA_REQUIRES(sample_mutex_);
  void SendFigures(const IntervalFigures &figures) VANTA_REQUIRES(sample_mutex_);

  const int32_t frame_interval_ms_;  // 0 where the host's rate is above 1000 by numerator

  SampleStream tessera_ms_;
  SampleStream beauty_ms_;
  SampleStream filter_ms_;
  SampleStream async_delay_ms_;  // age of the pooled frame when taken out
  SampleStream whole_delay_ms_;  // age of the frame's data when taken out
  SampleStream face_count_;
  std::atomic<int32_t> arrived_count_{0};
  std::atomic<int32_t> render_count_{0};
  std::atomic<int32_t> enqueue_fail_count_{0};
  std::atomic<int32_t> spurious_wake_count_{0};
  std::atomic<int32_t> empty_dequeue_count_{0};
  std::atomic<int32_t> taken_count_{0};
  std::atomic<int32_t> drop_count_{0};
  std::atomic<int32_t> miss_count_{0};  // empty dequeues since the last frame came out
  std::atomic<int32_t> jank_count_{0};
  std::atomic<int32_t> big_jank_count_{0};
  std::atomic<int32_t> jank_time_ms_{0};
  std::atomic<int64_t> last_frame_ms_{-1};  // -1 before the first frame out
  std::atomic<uint32_t> width_{1920};
  std::atomic<uint32_t> height_{1080};

  Mutex sample_mutex_;
  DatagramSocket socket_ VANTA_GUARDED_BY(sample_mutex_);
  StatisticsSample sample_ VANTA_GUARDED_BY(sample_mutex_);  // the one being built; its vectors' memory is used again
  int64_t last_log_ms_ VANTA_GUARDED_BY(sample_mutex_) = 0;
};

}  // namespace vanta
