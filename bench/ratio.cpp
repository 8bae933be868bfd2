#include "ratio.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <nlohmann/json.hpp>

namespace vanta_bench {

void Turns::Add(double ours_ms, double other_ms) {
  ours_.push_back(ours_ms);
  others_.push_back(other_ms);
  ratios_.push_back(ours_ms / other_ms);
}

Row Turns::Result(const std::string &name, double bar) const {
  return {name, Median(ours_), Median(others_), Median(ratios_), bar};
}

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double ThreadMilliseconds() {
  timespec now = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void PrintRow(const Row &row) {
  // scripts/bench runs several programs into one table and prints the headings itself.
  static bool headed = std::getenv("VANTA_BENCH_NO_HEADINGS") != nullptr;
  if (!headed) std::printf("%-58s | %9s | %9s | %6s | %5s\n", "name", "ours ms", "other ms", "ratio", "bar");
  headed = true;
  char bar[32] = "-";
  if (row.bar != kNoBar) std::snprintf(bar, sizeof(bar), "%.2f", row.bar);
  std::printf("%-58s | %9.3f | %9.3f | %6.3f | %5s%s\n", row.name.c_str(), row.ours_ms, row.other_ms, row.ratio, bar,
              Passes(row) ? "" : "  MISSED");
  std::fflush(stdout);
}

bool WriteJson(const std::string &path, const std::vector<Row> &rows) {
  nlohmann::ordered_json json = nlohmann::ordered_json::array();
  for (const Row &row : rows) {
    json.push_back({{"name", row.name},
                    {"ours_ms", row.ours_ms},
                    {"other_ms", row.other_ms},
                    {"ratio", row.ratio},
                    {"bar", row.bar != kNoBar ? nlohmann::ordered_json(row.bar) : nlohmann::ordered_json()},
                    {"passes", Passes(row)}});
  }
  std::ofstream file(path);
  file << json.dump(2) << '\n';
  file.close();
  return !file.fail();
}

std::string OutPath(int argc, char **argv) {
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::strcmp(argv[i], "--out") == 0) return argv[i + 1];
  }
  return {};
}

int Finish(const std::vector<Row> &rows, const std::string &out_path) {
  if (!out_path.empty() && !WriteJson(out_path, rows)) {
    std::fprintf(stderr, "cannot write '%s': check that its folder is there and may be written\n", out_path.c_str());
    return 2;
  }
  return std::all_of(rows.begin(), rows.end(), Passes) ? 0 : 1;
}

}  // namespace vanta_bench
