// The figure of every benchmark here: a ratio of two times taken turn by turn in one run, against a bar. These machines
// are shared, so a time alone says little.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace vanta_bench {

struct Row {
  std::string name;
  double ours_ms = 0;   // median
  double other_ms = 0;  // median
  double ratio = 0;     // median of the ratios, turn by turn
  double bar = 0;       // the ratio that must not be passed, or kNoBar
};
inline constexpr double kNoBar = 0;

inline bool Passes(const Row &row) {
  return row.bar == kNoBar || row.ratio <= row.bar;
}

// Collects the two times of each turn.
class Turns {
 public:
  void Add(double ours_ms, double other_ms);
  size_t Count() const { return ratios_.size(); }
  Row Result(const std::string &name, double bar) const;

 private:
  std::vector<double> ours_;
  std::vector<double> others_;
  std::vector<double> ratios_;
};

double Median(std::vector<double> values);  // 0 of nothing

// Processor time of the calling thread: what others do on the machine in between does not count.
double ThreadMilliseconds();

template <typename Work>
double ProcessorMilliseconds(Work &&work) {
  const double start = ThreadMilliseconds();
  work();
  return ThreadMilliseconds() - start;
}

template <typename Work>
double Milliseconds(Work &&work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

// One line for each row: "name | ours ms | other ms | ratio | bar", the first one with headings above it.
void PrintRow(const Row &row);
// An array of objects. False when the file cannot be written.
bool WriteJson(const std::string &path, const std::vector<Row> &rows);
// The argument behind "--out", empty without one.
std::string OutPath(int argc, char **argv);
// Writes where "--out" says; the exit status of a benchmark program: 1 when a bar is missed, 2 when the file cannot be
// written.
int Finish(const std::vector<Row> &rows, const std::string &out_path);

}  // namespace vanta_bench
