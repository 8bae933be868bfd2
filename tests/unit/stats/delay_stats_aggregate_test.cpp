#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "stats/delay_stats.h"

using vanta::DelayStats;

namespace {

// Two samples that differ in every field.
std::vector<StatisticsSample> TwoSamples() {
  StatisticsSample a, b;
  a.name = "first_1";
  a.resolution = "640x480";
  a.width = 640;
  a.height = 480;
  b.name = "second_2";
  b.resolution = "1280x720";
  b.width = 1280;
  b.height = 720;
  a.arrived_fps = 30.5f;
  b.arrived_fps = 20.25f;
  a.render_fps = 10.5f;
  b.render_fps = 29.75f;
  a.jank_seconds = 1;
  b.jank_seconds = 2;
  a.filter_avg = 4;
  b.filter_avg = 8;
  a.filter_max = 100;
  b.filter_min = 1;
  a.tessera_avg = 3;
  b.tessera_avg = 1;
  a.tessera_max = 100;
  a.beauty_avg = 5;
  b.beauty_avg = 6;
  b.beauty_max = 100;
  a.async_avg = 40;
  b.async_avg = 20;
  a.async_max = 100;
  a.whole_avg = 50;
  b.whole_avg = 70;
  a.face_avg = 1;
  b.face_avg = 2;
  a.face_max = 9;
  a.jank_count = 1;
  b.jank_count = 2;
  a.big_jank_count = 3;
  b.big_jank_count = 4;
  a.enqueue_fail_count = 5;
  b.enqueue_fail_count = 6;
  a.spurious_wake_count = 7;
  b.spurious_wake_count = 8;
  a.empty_dequeue_count = 9;
  b.empty_dequeue_count = 10;
  a.taken_count = 11;
  b.taken_count = 12;
  a.drop_count = 13;
  b.drop_count = 14;
  return {a, b};
}

StatisticsSample WithFilterTimes(std::vector<float> times) {
  StatisticsSample sample;
  sample.filter_samples = std::move(times);
  return sample;
}

TEST(DelayStatsAggregate, NoSamplesGiveTheDefaultRecord) {
  const StatisticsSample report = DelayStats::Aggregate({});
  EXPECT_EQ(report.name, "camera_");
  EXPECT_EQ(report.resolution, "1920x1080");
  EXPECT_EQ(report.filter_avg, 0.0f);
  EXPECT_EQ(report.filter_p95, 0.0f);
}

TEST(DelayStatsAggregate, NameAndSizeAreTheLastSamples) {
  const StatisticsSample report = DelayStats::Aggregate(TwoSamples());
  EXPECT_EQ(report.name, "second_2");
  EXPECT_EQ(report.resolution, "1280x720");
  EXPECT_EQ(report.width, 1280u);
  EXPECT_EQ(report.height, 720u);
}

TEST(DelayStatsAggregate, RatesAndTimesAreMeans) {
  const StatisticsSample report = DelayStats::Aggregate(TwoSamples());
  EXPECT_EQ(report.arrived_fps, 25.375f);
  EXPECT_EQ(report.render_fps, 20.125f);
  EXPECT_EQ(report.jank_seconds, 1.5f);
  EXPECT_EQ(report.filter_avg, 6.0f);
  EXPECT_EQ(report.tessera_avg, 2.0f);
  EXPECT_EQ(report.beauty_avg, 5.5f);
  EXPECT_EQ(report.async_avg, 30.0f);
  EXPECT_EQ(report.whole_avg, 60.0f);
  EXPECT_EQ(report.face_avg, 1.5f);
}

TEST(DelayStatsAggregate, CountsAreSums) {
  const StatisticsSample report = DelayStats::Aggregate(TwoSamples());
  EXPECT_EQ(report.jank_count, 3);
  EXPECT_EQ(report.big_jank_count, 7);
  EXPECT_EQ(report.enqueue_fail_count, 11);
  EXPECT_EQ(report.spurious_wake_count, 15);
  EXPECT_EQ(report.empty_dequeue_count, 19);
  EXPECT_EQ(report.taken_count, 23);
  EXPECT_EQ(report.drop_count, 27);
}

TEST(DelayStatsAggregate, CountsAreAddedUpInSinglePrecisionExceptDrops) {
  StatisticsSample sample;
  sample.jank_count = 16'777'217;  // the first whole number that a float lacks
  sample.drop_count = 16'777'217;
  const StatisticsSample report = DelayStats::Aggregate({sample});
  EXPECT_EQ(report.jank_count, 16'777'216);
  EXPECT_EQ(report.drop_count, 16'777'217);
}

TEST(DelayStatsAggregate, ExtremesAreThoseOfTheMeans) {
  const StatisticsSample report = DelayStats::Aggregate(TwoSamples());
  EXPECT_EQ(report.filter_max, 8.0f);
  EXPECT_EQ(report.filter_min, 4.0f);
  EXPECT_EQ(report.tessera_max, 3.0f);
  EXPECT_EQ(report.tessera_min, 1.0f);
  EXPECT_EQ(report.beauty_max, 6.0f);
  EXPECT_EQ(report.beauty_min, 5.0f);
  EXPECT_EQ(report.async_max, 40.0f);
  EXPECT_EQ(report.async_min, 20.0f);
  EXPECT_EQ(report.face_max, 2.0f);
  EXPECT_EQ(report.face_min, 1.0f);
}

TEST(DelayStatsAggregate, ExtremesOfRatesAreCutToWholeFrames) {
  const StatisticsSample report = DelayStats::Aggregate(TwoSamples());
  EXPECT_EQ(report.arrived_max, 30);
  EXPECT_EQ(report.arrived_min, 20);
  EXPECT_EQ(report.render_max, 29);
  EXPECT_EQ(report.render_min, 10);
}

TEST(DelayStatsAggregate, PercentileOfNoValuesIsZero) {
  EXPECT_EQ(DelayStats::Aggregate({WithFilterTimes({})}).filter_p95, 0.0f);
}

TEST(DelayStatsAggregate, PercentileOfOneValueIsThatValue) {
  EXPECT_EQ(DelayStats::Aggregate({WithFilterTimes({7})}).filter_p95, 7.0f);
}

TEST(DelayStatsAggregate, PercentileIsTheValueAtNineteenTwentieths) {
  std::vector<float> times(100);
  std::iota(times.begin(), times.end(), 0.0f);
  std::shuffle(times.begin(), times.end(), std::mt19937(1));
  EXPECT_EQ(DelayStats::Aggregate({WithFilterTimes(times)}).filter_p95, 95.0f);
}

TEST(DelayStatsAggregate, PercentilePositionIsCut) {
  std::vector<float> times(39);  // 39 * 0.95 = 37.05
  std::iota(times.rbegin(), times.rend(), 0.0f);
  EXPECT_EQ(DelayStats::Aggregate({WithFilterTimes(times)}).filter_p95, 37.0f);
}

TEST(DelayStatsAggregate, PercentilePositionIsWorkedOutInSinglePrecision) {
  std::vector<float> times(20);  // in single precision 20 * 0.95 is exactly 19
  std::iota(times.begin(), times.end(), 0.0f);
  EXPECT_EQ(DelayStats::Aggregate({WithFilterTimes(times)}).filter_p95, 19.0f);
}

TEST(DelayStatsAggregate, PercentileJoinsTheValuesOfAllSamples) {
  std::vector<float> low(95, 1.0f), high(5, 9.0f);
  const StatisticsSample report = DelayStats::Aggregate({WithFilterTimes(high), WithFilterTimes(low)});
  EXPECT_EQ(report.filter_p95, 9.0f);
  EXPECT_EQ(report.filter_samples.size(), 100u);
}

TEST(DelayStatsAggregate, EachOfTheFourTimesHasItsPercentile) {
  StatisticsSample sample;
  sample.filter_samples = {1};
  sample.tessera_samples = {2};
  sample.beauty_samples = {3};
  sample.async_samples = {4};
  const StatisticsSample report = DelayStats::Aggregate({sample});
  EXPECT_EQ(report.filter_p95, 1.0f);
  EXPECT_EQ(report.tessera_p95, 2.0f);
  EXPECT_EQ(report.beauty_p95, 3.0f);
  EXPECT_EQ(report.async_p95, 4.0f);
}

TEST(DelayStatsAggregate, SamplesAreLeftAsTheyWere) {
  const std::vector<StatisticsSample> samples = {WithFilterTimes({3, 1, 2})};
  DelayStats::Aggregate(samples);
  EXPECT_EQ(samples.front().filter_samples, (std::vector<float>{3, 1, 2}));
}

}  // namespace
