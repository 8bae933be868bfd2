// The monitor's picture, as text.
#include "monitor/board_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "monitor/clipped.h"

namespace vanta_test {
namespace {

using vanta_run::Arrival;
using vanta_run::BoardText;
using vanta_run::Chart;
using vanta_run::WorkerBoard;

Arrival Sample(uint16_t port, uint16_t sender, int32_t in, float delay, int32_t janks) {
  Arrival arrival{port, sender, {}};
  arrival.figures.arrived_count = arrival.figures.render_count = in;
  arrival.figures.filter_avg = delay;
  arrival.figures.filter_min = delay / 2;
  arrival.figures.filter_max = delay * 2;
  arrival.figures.tessera_avg = 0.5f;
  arrival.figures.beauty_avg = delay - 0.5f;
  arrival.figures.jank_count = janks;
  arrival.figures.jank_time_ms = static_cast<int32_t>(std::min(int64_t{janks} * 33, int64_t{INT32_MAX}));
  return arrival;
}

TEST(Chart, NewestValueStandsAtTheRight) {
  EXPECT_EQ(Chart({0, 7}, 4, 1, false), "  _#");
}

TEST(Chart, OldestValuesFallOutOnTheLeft) {
  EXPECT_EQ(Chart({7, 7, 0, 0}, 2, 7, false), "__");
}

TEST(Chart, ZeroIsTheLowestLevelAndWhatIsThereShows) {
  EXPECT_EQ(Chart({0, 0.001, 100}, 3, 1, false), "_.#");
}

TEST(Chart, SmallValuesDoNotFillIt) {
  EXPECT_EQ(Chart({1, 1}, 2, 7, false), "..");
}

TEST(Chart, LevelsRiseFromZeroToTheTop) {
  EXPECT_EQ(Chart({0, 1, 2, 3, 4, 5, 6, 7}, 8, 7, true), "▁▂▃▄▅▆▇█");
  EXPECT_EQ(Chart({0, 1, 2, 3, 4, 5, 6, 7}, 8, 7, false), "_.:-=+*#");
}

TEST(BoardText, WorkerIsAHeadingAndFourRows) {
  WorkerBoard board;
  board.Add(Sample(12345, 40000, 30, 10, 0), 0);
  board.Add(Sample(12345, 40000, 15, 20, 2), 1);
  const std::vector<std::string> expected = {
      "port 12345 from 40000, vision 0.5 ms, beauty 19.5 ms",
      "  in         15 /s          #=",
      "  out        15 /s          #=",
      "  delay    20.0 ms          =#  10.0 to 40.0",
      "  jank           2          _-  all 2, big 0, 66 ms",
  };
  EXPECT_EQ(BoardText(board, 1.5, {60, false}), expected);
}

TEST(BoardText, TwoProcessesOnOnePortAreTwoWorkers) {
  WorkerBoard board;
  board.Add(Sample(12345, 40000, 30, 10, 0), 0);
  board.Add(Sample(12345, 40001, 60, 10, 0), 0);
  const auto lines = BoardText(board, 0, {80, true});
  ASSERT_EQ(lines.size(), 11u);
  EXPECT_EQ(lines[0].rfind("port 12345 from 40000", 0), 0u);
  EXPECT_EQ(lines[6].rfind("port 12345 from 40001", 0), 0u);
}

TEST(BoardText, NoLineIsWiderThanTheTerminal) {
  WorkerBoard board;
  for (int i = 0; i < 80; ++i) board.Add(Sample(65535, 65535, 2000000000, 1e9f, 2000000000), i);
  for (size_t columns = 1; columns < 140; ++columns) {
    for (const std::string &line : BoardText(board, 200, {columns, true})) {
      EXPECT_EQ(vanta_run::Clipped(line, columns), line) << columns;
    }
  }
}

TEST(BoardText, NarrowTerminalKeepsTheChartAndLosesTheNotes) {
  WorkerBoard board;
  board.Add(Sample(12345, 40000, 30, 10, 0), 0);
  EXPECT_EQ(BoardText(board, 0, {30, false})[3], "  delay    10.0 ms           #");
}

TEST(BoardText, SilentWorkerIsSaidToBeSilent) {
  WorkerBoard board;
  board.Add(Sample(12345, 40000, 30, 10, 0), 0);
  EXPECT_EQ(BoardText(board, 12, {80, true})[0], "port 12345 from 40000, silent for 12 s");
}

TEST(WorkerBoard, LongSilentWorkerIsForgotten) {
  WorkerBoard board;
  board.Add(Sample(12345, 40000, 30, 10, 0), 0);
  board.Add(Sample(12346, 40001, 30, 10, 0), 30);
  board.Tidy(61);
  ASSERT_EQ(board.workers().size(), 1u);
  EXPECT_EQ(board.workers().begin()->first.first, 12346);
}

TEST(WorkerBoard, KeepsTheLastMinuteAndSumsJanksOverAll) {
  WorkerBoard board;
  for (int i = 0; i < 100; ++i) board.Add(Sample(12345, 40000, i, 10, 1), i);
  const vanta_run::WorkerHistory &worker = board.workers().begin()->second;
  EXPECT_EQ(worker.samples.size(), 60u);
  EXPECT_EQ(worker.samples.front().arrived_count, 40);
  EXPECT_EQ(worker.janks, 100u);
  EXPECT_EQ(worker.jank_ms, 3300u);
}

TEST(WorkerBoard, FloodOfSendersDoesNotFillTheMemory) {
  WorkerBoard board;
  for (int i = 1; i < 5000; ++i) board.Add(Sample(12345, static_cast<uint16_t>(i), 1, 1, 0), 0);
  EXPECT_EQ(board.workers().size(), WorkerBoard::kMostWorkers);
}

TEST(ArrivalLine, TellsAllOfOneDatagram) {
  EXPECT_EQ(
      ArrivalLine(Sample(12346, 40000, 30, 10, 2), 12.34),
      "12.3 s port 12346 from 40000: in 30/s, out 30/s, delay 10.0 ms (5.0 to 20.0), vision 0.5 ms, beauty 9.5 ms, "
      "jank 2, big 0, 66 ms");
}

TEST(Clipped, CutsBetweenCharacters) {
  EXPECT_EQ(vanta_run::Clipped("a▁█b", 3), "a▁█");
  EXPECT_EQ(vanta_run::Clipped("ab", 5), "ab");
}

}  // namespace
}  // namespace vanta_test
