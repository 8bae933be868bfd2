#include "stats/delay_stats.h"

#include <cstdio>
#include <string>

#include <obs.h>

#include "platform/clock.h"
#include "stats/report_line.h"

namespace vanta {

namespace {

constexpr int32_t kStalledTickFrames = 150;
constexpr int32_t kBigJankMisses = 3;
constexpr int64_t kLogPeriodMs = 30'000;
constexpr float kLongDelayMs = 200.0f;
constexpr int32_t kManyDrops = 4;
constexpr int32_t kUnprocessedFrames = 5;
constexpr int32_t kMsPerSecond = 1'000;
constexpr uint16_t kFirstPort = 12345;

// Process-wide; neither ports nor numbers are given back.
std::atomic<uint16_t> next_port{kFirstPort};
std::atomic<uint32_t> last_source_number{0};

// The denominator stays out on purpose: a rate such as 30000/1001 counts no jank time.
int32_t FrameIntervalMs() {
  obs_video_info info{};
  if (!obs_get_video_info(&info) || info.fps_num == 0) return 0;
  return static_cast<int32_t>(1000.0 / info.fps_num);
}

void ReserveSampleVectors(StatisticsSample &sample) {
  for (std::vector<float> *values : {&sample.filter_samples, &sample.tessera_samples, &sample.beauty_samples,
                                     &sample.async_samples, &sample.whole_samples, &sample.face_samples}) {
    values->reserve(SampleStream::kReserved);
  }
}

}  // namespace

DelayStats::DelayStats() : frame_interval_ms_(FrameIntervalMs()) {
  const MutexLock held(sample_mutex_);
  ReserveSampleVectors(sample_);
  OpenSocket();
}

void DelayStats::OpenSocket() {
  if (!socket_.Open()) return;
  socket_.SetLoopbackDestination(next_port.fetch_add(1));
}

void DelayStats::OnFrameArrived() {
  ++arrived_count_;
  if (render_count_ <= kStalledTickFrames) return;
  // The tick may be making a sample at this moment, which empties the streams as well.
  if (!sample_mutex_.TryLock()) return;
  FillSample();
  sample_mutex_.Unlock();
}

void DelayStats::OnEmptyDequeue() {
  ++empty_dequeue_count_;
  ++miss_count_;
}

void DelayStats::OnFrameOut(uint32_t pool_age_ms) {
  async_delay_ms_.Add(static_cast<float>(pool_age_ms));
  const int64_t now = SystemTickMs();
  const int32_t misses = miss_count_;
  if (misses >= 1) {
    if (misses < kBigJankMisses) {
      ++jank_count_;
    } else {
      ++big_jank_count_;
    }
    jank_time_ms_ += misses * frame_interval_ms_;
  }
  last_frame_ms_ = now;
  miss_count_ = 0;
}

void DelayStats::OnFrameProcessed(float filter_ms, float tessera_ms, float beauty_ms, uint32_t faces) {
  filter_ms_.Add(filter_ms);
  tessera_ms_.Add(tessera_ms);
  beauty_ms_.Add(beauty_ms);
  face_count_.Add(static_cast<float>(faces));
  ++render_count_;
}

void DelayStats::Reset() {
  for (SampleStream *stream :
       {&tessera_ms_, &beauty_ms_, &filter_ms_, &async_delay_ms_, &whole_delay_ms_, &face_count_}) {
    stream->Clear();
  }
  for (std::atomic<int32_t> *counter :
       {&arrived_count_, &render_count_, &enqueue_fail_count_, &spurious_wake_count_, &empty_dequeue_count_,
        &taken_count_, &drop_count_, &jank_count_, &big_jank_count_, &jank_time_ms_}) {
    *counter = 0;
  }
}

void DelayStats::SetSize(uint32_t width, uint32_t height) {
  width_ = width;
  height_ = height;
}

void DelayStats::SetSourceId(const char *id) {
  std::string name = id ? id : "";
  name += "_" + std::to_string(++last_source_number);
  const MutexLock held(sample_mutex_);
  sample_.name = std::move(name);
}

StatisticsSample DelayStats::MakeSample() {
  const MutexLock held(sample_mutex_);
  FillSample();
  return sample_;
}

void DelayStats::FillSample() {
  const IntervalFigures figures = TakeInterval();
  LogWhatLooksWrong(figures);
  Reset();
  SendFigures(figures);
}

IntervalFigures DelayStats::TakeInterval() {
  StatisticsSample &s = sample_;
  for (std::vector<float> *values : {&s.filter_samples, &s.tessera_samples, &s.beauty_samples, &s.async_samples,
                                     &s.whole_samples, &s.face_samples}) {
    values->clear();
  }
  const StreamSummary filter = filter_ms_.Take(s.filter_samples);
  const StreamSummary tessera = tessera_ms_.Take(s.tessera_samples);
  const StreamSummary beauty = beauty_ms_.Take(s.beauty_samples);
  const IntervalFigures figures = {filter.avg,    filter.max,  filter.min,      tessera.avg,  tessera.max,
                                   tessera.min,   beauty.avg,  beauty.max,      beauty.min,   arrived_count_,
                                   render_count_, jank_count_, big_jank_count_, jank_time_ms_};
  const StreamSummary async = async_delay_ms_.Take(s.async_samples);
  const StreamSummary whole = whole_delay_ms_.Take(s.whole_samples);
  const StreamSummary faces = face_count_.Take(s.face_samples);

  s.width = width_;
  s.height = height_;
  char resolution[32];
  std::snprintf(resolution, sizeof(resolution), "%ux%u", s.width, s.height);
  s.resolution = resolution;
  s.arrived_fps = static_cast<float>(figures.arrived_count);
  s.render_fps = static_cast<float>(figures.render_count);
  s.jank_count = figures.jank_count;
  s.big_jank_count = figures.big_jank_count;
  const int32_t whole_seconds = figures.jank_time_ms / kMsPerSecond;
  s.jank_seconds = static_cast<float>(whole_seconds);
  s.enqueue_fail_count = enqueue_fail_count_;
  s.spurious_wake_count = spurious_wake_count_;
  s.empty_dequeue_count = empty_dequeue_count_;
  s.taken_count = taken_count_;
  s.filter_avg = filter.avg;
  s.tessera_avg = tessera.avg;
  s.beauty_avg = beauty.avg;
  s.async_avg = async.avg;
  s.whole_avg = whole.avg;
  s.filter_max = filter.max;
  s.tessera_max = tessera.max;
  s.beauty_max = beauty.max;
  s.async_max = async.max;
  s.arrived_max = figures.arrived_count;
  s.render_max = figures.render_count;
  s.filter_min = filter.min;
  s.tessera_min = tessera.min;
  s.beauty_min = beauty.min;
  s.async_min = async.min;
  s.arrived_min = figures.arrived_count;
  s.render_min = figures.render_count;
  s.face_avg = faces.avg;
  s.face_max = faces.max;
  s.face_min = faces.min;
  s.drop_count = drop_count_;
  return figures;
}

void DelayStats::LogWhatLooksWrong(const IntervalFigures &figures) {
  const int64_t now = SystemTickMs();
  if (now - last_log_ms_ <= kLogPeriodMs && sample_.drop_count == 0) return;
  last_log_ms_ = now;
  if (sample_.async_avg > kLongDelayMs || sample_.drop_count >= kManyDrops) {
    blog(LOG_INFO, "beauty process whole delay[%.2f] asyn delay[%.2f] beauty delay[%.2f]  drop[%d]", sample_.whole_avg,
         sample_.async_avg, sample_.whole_avg - sample_.async_avg, sample_.drop_count);
  }
  if (figures.arrived_count >= kUnprocessedFrames &&
      figures.render_count < figures.arrived_count - kUnprocessedFrames) {
    ReportLine line;
    FormatReportLine(figures, line);
    blog(LOG_WARNING, "beauty process exception(jank) [%s]", line);
  }
}

void DelayStats::SendFigures(const IntervalFigures &figures) {
  // A monitor that cannot be reached ends the datagrams, never the statistics.
  if (!socket_.Send(&figures, sizeof(figures))) socket_.Close();
}

}  // namespace vanta
