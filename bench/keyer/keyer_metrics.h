// How far a key is from the truth. Errors are times 1000, of alpha and colour from 0 to 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "keyer_scene.h"

namespace keyer_bench {

struct Metrics {
  double mad = 0;             // mean absolute difference of alpha
  double moving_mad = 0;      // the same, while the subject moves
  double mse = 0;             // mean squared difference of alpha
  double grad = 0;            // mean squared difference of the alpha's gradient, over Gaussian derivatives
  double dtssd = 0;           // of the change from frame to frame, while the subject moves
  double edge_flicker = 0;    // temporal standard deviation of alpha at edges, while the subject rests
  double core_rmse = 0;       // colour, where alpha is 1
  double yellow = 0;          // colour of the yellow patch
  double edge_composite = 0;  // colour over grey, where alpha lies between
};

// Frames go in one after the other. Straight colour.
class Meter {
 public:
  explicit Meter(const Scene &scene) : scene_(scene) {}

  void Add(int frame, const Take &take, const std::vector<uint8_t> &straight_rgba);
  Metrics Result() const;

 private:
  void AddColours(const Take &take, const std::vector<float> &alpha, const std::vector<uint8_t> &rgba);

  const Scene &scene_;
  int frames_ = 0;
  int moving_frames_ = 0;
  double moving_mad_ = 0;
  double mad_ = 0, mse_ = 0, grad_ = 0;
  double dt_ = 0;
  size_t dt_count_ = 0;
  double core_ = 0, yellow_ = 0, edge_ = 0;
  size_t core_count_ = 0, yellow_count_ = 0, edge_count_ = 0;
  std::vector<float> last_alpha_, last_truth_;
  std::vector<double> sum_, squares_;  // of the still frames
  std::vector<float> still_truth_;
  int still_count_ = 0;
};

}  // namespace keyer_bench
