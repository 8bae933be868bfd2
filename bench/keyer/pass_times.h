// Processor time of each pass of a drawn source, taken at the ends of its render targets.
#pragma once

#include <map>
#include <string>

namespace keyer_bench {

// Of the whole process, in milliseconds: the driver renders on threads of its own.
double ProcessMilliseconds();

// While it lives, the GPU is awaited at each end of a render target; what went by since the one before is counted for
// the technique that drew there, "" where no effect was looped over. One at a time, inside graphics.
class PassTimes {
 public:
  PassTimes();
  ~PassTimes();
  PassTimes(const PassTimes &) = delete;
  PassTimes &operator=(const PassTimes &) = delete;

  // Milliseconds by technique, summed over its draws.
  const std::map<std::string, double> &Result() const { return times_; }

  void Note(const char *technique) { technique_ = technique; }
  void EndTarget();

 private:
  std::map<std::string, double> times_;
  std::string technique_;
  double mark_ = 0;
};

}  // namespace keyer_bench
