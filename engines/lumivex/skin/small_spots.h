// Small spots within skin of which no more is known than its colour.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// A spot is darker or redder than the skin on every side of it. Eyes, brows and lips are that too, but they are longer
// than wide, larger or much darker: a ring around a place within them meets them again, or falls deep.
// Owns: maps of one frame size. Threads: one at a time.
class SmallSpots {
 public:
  // `luma`, `u` and `v` are the means of cells, CV_32F codes. `radius` is that of the widest ring, in cells. `weight`
  // says where skin is, CV_8U, and takes in the spots that were found, which may have lost its colour.
  void Find(const cv::Mat &luma, const cv::Mat &u, const cv::Mat &v, const YuvSpace &space, int radius, cv::Mat &weight,
            const RowBands &bands);
  // Forgets them.
  void Clear() { any_ = false; }

  // False: there is none, and the maps below say nothing.
  bool Any() const { return any_; }
  const cv::Mat &Drawn() const { return part_; }  // CV_8U: 255 on a spot
  bool InRow(int row) const { return rows_[static_cast<size_t>(row)] != 0; }
  // CV_32FC3: what luma, U and V lack to the skin around, in codes. Says nothing where there is no spot.
  const cv::Mat &Shift() const { return shift_; }

 private:
  // The cells at one distance around a cell.
  struct Ring {
    int radius = 0;
    std::vector<cv::Point> places;
  };
  struct Cells {
    const cv::Mat &luma;
    const cv::Mat &u;
    const cv::Mat &v;
    float black;
  };

  void SetRings(int radius);
  void MeasureGreen(const Cells &cells, const YuvSpace &space, const RowBands &bands);
  void LookAround(const cv::Mat &weight, const RowBands &bands);
  void Draw(const Cells &cells, const cv::Mat &weight, const Ring &ring, int row, int column);
  void Finish(const Cells &cells, cv::Mat &weight);

  std::vector<Ring> rings_;  // the wider one first
  int margin_ = 0;           // cells around `green_`, which repeat its edges
  cv::Mat green_;            // CV_16S: luma less redness, parts of white
  cv::Mat found_;            // CV_8U: a bit for each ring that is lighter all round
  cv::Mat part_;
  cv::Mat skin_sum_;  // CV_32FC4: luma, U and V of the skin around, weighted, and the weights
  cv::Mat skin_;      // CV_8U: of the skin around, its weight
  cv::Mat shift_;
  std::vector<uint8_t> rows_;  // that hold any of a spot
  bool any_ = false;
};

}  // namespace lumivex
