// How far a key's alpha is from the truth over one take of a family. Errors are times 1000.
#pragma once

#include <cstddef>
#include <vector>

#include "family.h"

namespace keyer_bench {

struct FamilyMetrics {
  double mad = 0;      // mean absolute difference of alpha
  double moving = 0;   // the same, while the subject moves
  double backing = 0;  // the same, where the backing is clear
  double holes = 0;    // what is missing where the front is opaque
  double flicker = 0;  // temporal standard deviation of alpha at edges, while the subject rests
  double optical = 0;  // MAD against the alpha that made the picture
};

class FamilyMeter {
 public:
  explicit FamilyMeter(const FamilyTake &take) : take_(take) {}
  // In the take's order.
  void Add(const std::vector<float> &alpha);
  FamilyMetrics Result() const;

 private:
  const FamilyTake &take_;
  size_t frames_ = 0, moving_frames_ = 0, still_frames_ = 0;
  double mad_ = 0, moving_ = 0, optical_ = 0, backing_ = 0, holes_ = 0;
  double backing_count_ = 0, holes_count_ = 0;
  std::vector<double> sum_, squares_;
};

}  // namespace keyer_bench
