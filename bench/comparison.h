// Comparisons of two pieces of work as Google Benchmark programs.
#pragma once

#include <functional>
#include <string>

namespace vanta_bench {

// Two pieces of work on the same input. What they use lives in their captures.
struct Pair {
  std::function<void()> ours;
  std::function<void()> other;
};

// Registers a comparison of `turns` turns: each times both pieces, ours first and then the other first, in processor
// time of this thread, so both must do their work on it. `make` is called when its turn comes, so that one comparison's
// memory is gone before the next begins.
void Compare(const std::string &name, double bar, int turns, std::function<Pair()> make);

// Runs what is registered, prints the table of ratios and, with "--out FILE", writes it as JSON. Google Benchmark's own
// options work too (--benchmark_filter=...). Returns the exit status.
int RunComparisons(int argc, char **argv);

}  // namespace vanta_bench
