#include "comparison.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "ratio.h"

namespace vanta_bench {

namespace {

constexpr int kWarmUps = 3;
constexpr double kTurnMs = 4;  // a piece shorter than this is repeated within its turn
// Where a piece's memory lies decides up to a fifth of a plane copy's time, for or against it: both are made anew after
// so many turns, while the former ones still hold their place.
constexpr int kTurnsPerPlacement = 6;

std::vector<Row> &Rows() {
  static std::vector<Row> rows;
  return rows;
}

void RunTurns(benchmark::State &state, const std::string &name, double bar, const std::function<Pair()> &make) {
  Pair pair = make();
  double warm_ms = kTurnMs;
  for (int i = 0; i < kWarmUps; ++i) {
    warm_ms = std::min(warm_ms, ProcessorMilliseconds(pair.ours));
    pair.other();
  }
  const int repeats = std::max(1, static_cast<int>(kTurnMs / std::max(warm_ms, 0.001)));
  const auto timed = [repeats](const std::function<void()> &piece) {
    return ProcessorMilliseconds([&] {
             for (int i = 0; i < repeats; ++i) piece();
           }) /
           repeats;
  };
  Turns turns;
  for ([[maybe_unused]] auto turn : state) {
    if (turns.Count() > 0 && turns.Count() % kTurnsPerPlacement == 0) {
      pair = make();
      for (int i = 0; i < kWarmUps; ++i) {
        pair.ours();
        pair.other();
      }
    }
    // Ours, other, other, ours: whatever favours the first or the second of two cancels out.
    const double ours_before = timed(pair.ours);
    const double others = timed(pair.other) + timed(pair.other);
    const double ours = (ours_before + timed(pair.ours)) / 2;
    turns.Add(ours, others / 2);
    state.SetIterationTime(ours / 1000);
  }
  const Row row = turns.Result(name, bar);
  state.counters["ours_ms"] = row.ours_ms;
  state.counters["other_ms"] = row.other_ms;
  state.counters["ratio"] = row.ratio;
  state.counters["bar"] = row.bar;
  Rows().push_back(row);
}

// Prints the table of ratios in place of Google Benchmark's own.
class RatioReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context &) override { return true; }
  void ReportRuns(const std::vector<Run> &) override {
    for (; printed_ < Rows().size(); ++printed_) PrintRow(Rows()[printed_]);
  }

 private:
  size_t printed_ = 0;
};

}  // namespace

void Compare(const std::string &name, double bar, int turns, std::function<Pair()> make) {
  benchmark::RegisterBenchmark(
      name.c_str(), [name, bar, make = std::move(make)](benchmark::State &state) { RunTurns(state, name, bar, make); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond)
      ->Iterations(turns);
}

int RunComparisons(int argc, char **argv) {
  const std::string out_path = OutPath(argc, argv);
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return Finish(Rows(), out_path);
}

}  // namespace vanta_bench
