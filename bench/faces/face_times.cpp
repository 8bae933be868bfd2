#include "face_times.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <thread>

namespace vanta_bench {
namespace {

// p99 of the frame's thread to the median of the shrinking.
constexpr double kMostRatio = 20;

}  // namespace

double Percentile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, static_cast<size_t>(part * static_cast<double>(values.size())))];
}

Row Figure(const std::string &name, const char *unit, double value, double bar) {
  Row row{name, value, bar, value / bar, 1};
  std::printf("%-58s   %.3f %s (at most %.3f)%s\n", name.c_str(), value, unit, bar, Passes(row) ? "" : "  MISSED");
  std::fflush(stdout);
  return row;
}

Feed::Feed(double rate)
    : rate_(rate),
      period_(
          std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(1 / rate))) {
  finder_.SetParams({{"max_face_num", "3"}});
  finder_.AwaitModels(true);
}

Shot Feed::Give(const Nv12 &picture) {
  SleepUntilNext();
  is_due_ = false;
  time_ += static_cast<uint64_t>(1e9 / rate_);
  Shot shot;
  shot.ms = ProcessorMilliseconds([&] { finder_.Find(picture.View(), {}, time_, lumivex::FaceNeed::kPicture); });
  shot.faces = finder_.Found();
  return shot;
}

void Feed::SleepUntilNext() {
  if (is_due_) return;
  next_ = std::max(next_ + period_, std::chrono::steady_clock::now() - period_);
  std::this_thread::sleep_until(next_);
  is_due_ = true;
}

void Feed::SleepHalf() const {
  std::this_thread::sleep_until(next_ + period_ / 2);
}

Shrinking::Shrinking(const std::vector<Nv12> &pictures) {
  for (size_t i = 0; i < std::min(pictures.size(), kMostPlanes); ++i) planes_.push_back(pictures[i].luma.clone());
}

double Shrinking::Milliseconds(size_t picture) {
  const cv::Mat &luma = planes_[picture % planes_.size()];
  return ProcessorMilliseconds(
      [&] { cv::resize(luma, small_, cv::Size(640, luma.rows * 640 / luma.cols), 0, 0, cv::INTER_LINEAR); });
}

double Shrinking::MillisecondsInCache() {
  std::vector<double> times;
  for (int i = 0; i < 25; ++i) times.push_back(Milliseconds(0));
  return Median(times);
}

Shot Times::Show(bool counts) {
  const auto at = static_cast<size_t>(shown_);
  feed_.SleepUntilNext();
  rusage before{};
  getrusage(RUSAGE_THREAD, &before);
  Shot shot = feed_.Give(pictures_[at % pictures_.size()]);
  rusage after{};
  getrusage(RUSAGE_THREAD, &after);
  if (counts) {
    times_.push_back(shot.ms);
    if (shot.ms > slowest_.ms) {
      slowest_ = {shot.ms, shown_, after.ru_minflt - before.ru_minflt, after.ru_nivcsw - before.ru_nivcsw};
    }
    feed_.SleepHalf();
    others_.push_back(shrinking_.Milliseconds(at));
  }
  ++shown_;
  return shot;
}

Row Times::Print(const std::string &name) {
  const double other = Median(others_);
  const double p99 = Percentile(times_, 0.99);
  const double in_cache = shrinking_.MillisecondsInCache();
  Row row{name + ", p99", p99, other, p99 / other, kMostRatio};
  PrintRow(row);
  std::printf("    p50 %.2f  p99 %.2f  max %.2f ms (picture %d, %ld page faults, preempted %ld times)\n",
              Percentile(times_, 0.5), p99, slowest_.ms, slowest_.picture, slowest_.page_faults, slowest_.preemptions);
  std::printf("    search thread %.0f %% of a core; shrinking in the cache %.3f ms, p99 is %.0f of those\n",
              100 * feed_.SearchShare(), in_cache, p99 / in_cache);
  std::fflush(stdout);
  return row;
}

}  // namespace vanta_bench
