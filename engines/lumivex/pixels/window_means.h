// Means of maps over the square window around each of their cells.
#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

#include "pixels/row_bands.h"

namespace lumivex {

// Four maps at a time, by sums that slide over rows and then along them, so the window's size costs next to nothing.
// Beyond the edges of a map its outermost cells are repeated. The sums begin anew every few rows, at the same ones on
// any number of threads.
// Owns: scratch memory. Threads: one at a time.
class WindowMeans {
 public:
  static constexpr size_t kMaps = 4;
  struct Map {
    const cv::Mat *values = nullptr;  // CV_32F, all of one size; null: no map
    cv::Mat *mean = nullptr;          // is given that size; not one of the values
  };
  using Maps = std::array<Map, kMaps>;  // the first one is always there

  // What a cell counts: by `weights`, CV_8U, or all alike where they are null. `few`, from 0 to 1: the part of a window
  // full of weight that a cell's own value counts besides; where the window holds next to nothing, a cell stands for
  // itself. Rows outside of `rows` are read, but have no mean.
  void Measure(const Maps &maps, const cv::Mat *weights, int radius, float few, const cv::Range &rows,
               const RowBands &bands);

 private:
  struct Work {
    const Maps &maps;
    const cv::Mat *weights;
    int radius;
    float few;
    int columns;
    int padded;  // columns, to whole steps
    int rows;
  };
  // What one thread needs. A row of sums has for each column those of the maps beside each other, and then for each
  // column that of the weights.
  struct Scratch {
    std::vector<float> loaded;         // the rows in the window and the one above it
    std::vector<float> sums;           // of the window's rows, with a margin at both ends
    std::vector<float> weight_sums;    // likewise
    std::vector<float> window;         // of the whole window
    std::vector<float> window_weight;  // likewise
    int next = 0;                      // row to be loaded
  };

  static void Slide(const Work &work, int first, int end, Scratch &scratch);
  static const float *Row(const Work &work, int row, Scratch &scratch);
  static void Load(const Work &work, int row, float *to);
  static void AddRow(const Work &work, const float *row, const float *gone, Scratch &scratch);
  static void SumAlong(const Work &work, Scratch &scratch);
  static void Divide(const Work &work, int row, const Scratch &scratch);

  std::vector<Scratch> scratch_;
};

}  // namespace lumivex
